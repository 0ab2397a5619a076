// btkf520/platform_posix.cpp: the toolkit's files, variables and users on POSIX systems.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "btkf520/platform.h"

namespace btkf {
namespace {

constexpr size_t kLargestAccountRecord = 1 << 20;

// A descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  int get() const { return value_; }
  bool isOpen() const { return value_ >= 0; }

 private:
  int value_;
};

// Reads to the end. False if that fails or if there are more than `largest` bytes: the file may
// have grown since its size was asked for.
bool readAll(int file, size_t largest, std::string* text) {
  char block[8192];
  for (;;) {
    const ssize_t count = ::read(file, block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    if (count == 0) return true;
    if (static_cast<size_t>(count) > largest - text->size()) return false;
    text->append(block, static_cast<size_t>(count));
  }
}

}  // namespace

std::optional<FileText> readFile(const std::string& path, size_t largest) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  FileText result;
  result.identity = {static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino)};
  if (!readAll(file.get(), largest, &result.text)) return {};
  return result;
}

std::optional<std::string> environmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::string accountName() {
  const uid_t user = ::geteuid();
  for (size_t size = 1024; size <= kLargestAccountRecord; size *= 4) {
    std::string buffer(size, '\0');
    passwd entry{};
    passwd* found = nullptr;
    const int failure = ::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found);
    if (failure == ERANGE || failure == EINTR) continue;
    if (failure == 0 && found != nullptr && found->pw_name != nullptr && *found->pw_name != '\0') {
      return found->pw_name;
    }
    break;
  }
  return std::to_string(user);
}

}  // namespace btkf
