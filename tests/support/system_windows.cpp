// support/system_windows.cpp: the helpers' side of Windows.
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "support/files.h"
#include "support/system.h"

namespace support {

// With "/", as all paths of the library's own.
std::string makeTemporaryDirectory() {
  static std::atomic<int> count = 0;
  const std::string start = "foldapi-test-" + std::to_string(::GetTickCount64()) + "-" +
                            std::to_string(::GetCurrentProcessId()) + "-";
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / (start + std::to_string(++count));
  if (!std::filesystem::create_directory(path)) throw std::runtime_error("no temporary directory");
  return path.generic_string();
}

std::string currentUser() {
  char name[257];
  DWORD size = sizeof name;
  if (!::GetUserNameA(name, &size)) throw std::runtime_error("the user has no name");
  return name;
}

void setVariable(const char* name, const std::string* value) {
  ::_putenv_s(name, value == nullptr ? "" : value->c_str());
}

void* functionOfToolkit(const char* name) {
  return reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("btkf520.dll"), name));
}

}  // namespace support
