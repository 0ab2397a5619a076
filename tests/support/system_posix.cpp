// support/system_posix.cpp: the helpers' side of POSIX systems.
#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "support/files.h"
#include "support/system.h"

namespace support {

std::string makeTemporaryDirectory() {
  std::string path = (std::filesystem::temp_directory_path() / "foldapi-test-XXXXXX").string();
  if (!::mkdtemp(path.data())) throw std::runtime_error("no temporary directory " + path);
  return path;
}

std::string currentUser() {
  const passwd* entry = ::getpwuid(::geteuid());
  if (!entry) throw std::runtime_error("the effective user has no name");
  return entry->pw_name;
}

void setVariable(const char* name, const std::string* value) {
  if (value == nullptr) {
    ::unsetenv(name);
  } else {
    ::setenv(name, value->c_str(), 1);
  }
}

void* functionOfToolkit(const char* name) { return ::dlsym(RTLD_NEXT, name); }

}  // namespace support
