// support/files.cpp: the file helpers, over the standard library.
#include "support/files.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "support/system.h"

namespace support {

TemporaryDirectory::TemporaryDirectory() : path_(makeTemporaryDirectory()) {}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::operator/(std::string_view relative) const {
  return (std::filesystem::path(path_) / relative).generic_string();
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("can't read " + path);
  return {std::istreambuf_iterator<char>(in), {}};
}

void writeFile(const std::string& path, std::string_view bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) throw std::runtime_error("can't write " + path);
}

bool isWritable(const std::string& path) {
  using std::filesystem::perms;
  std::error_code missing;
  const perms all = std::filesystem::status(path, missing).permissions();
  return !missing && (all & perms::owner_write) != perms::none;
}

void setWritable(const std::string& path, bool isWritable) {
  using std::filesystem::perms, std::filesystem::perm_options;
  const perms all = perms::owner_write | perms::group_write | perms::others_write;
  std::error_code missing;
  std::filesystem::permissions(path, isWritable ? perms::owner_write : all,
                               isWritable ? perm_options::add : perm_options::remove, missing);
}

void removeFile(const std::string& path) {
  setWritable(path, true);
  std::error_code missing;
  std::filesystem::remove(path, missing);
}

std::string escaped(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    if (c == '\r') {
      text += "\\r";
    } else if (c == '\n') {
      text += "\\n";
    } else if (c < ' ' || c > '~') {  // Bytes above 0x7f are negative or above "~".
      char hex[5];
      std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(c));
      text += hex;
    } else {
      text += c;
    }
  }
  return text;
}

int entryCount(const std::string& directory) {
  const std::filesystem::directory_iterator entries(directory);
  return static_cast<int>(std::distance(begin(entries), end(entries)));
}

ScopedEnvironment::ScopedEnvironment(const char* name, const std::string& value) : name_(name) {
  const char* old = std::getenv(name);
  wasSet_ = old != nullptr;
  if (old) old_ = old;
  setVariable(name, &value);
}

ScopedEnvironment::~ScopedEnvironment() { setVariable(name_.c_str(), wasSet_ ? &old_ : nullptr); }

}  // namespace support
