// runtime/platform_process.cpp: starts programs on POSIX systems.
#include "runtime/platform_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace foldapi {
namespace {

// The first file of that name along PATH that may be run, "" without one. Not left to execvp(),
// which hands a file that is no program to the shell.
std::string findAlongPath(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  const char* variable = std::getenv("PATH");
  std::string_view left = variable == nullptr ? "" : variable;
  while (!left.empty()) {
    const size_t end = std::min(left.find(':'), left.size());
    const std::string directory(end == 0 ? "." : left.substr(0, end));
    std::string candidate = directory + '/' + name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
    left.remove_prefix(std::min(end + 1, left.size()));
  }
  return "";
}

StartResult resultOf(int error) {
  switch (error) {
    case 0:
      return StartResult::kStarted;
    case ENOMEM:
    case EAGAIN:
      return StartResult::kNoMemory;
    case ENOENT:
    case ENOTDIR:
      return StartResult::kNotFound;
    case ENOEXEC:
    case ELIBBAD:
      return StartResult::kCorrupt;
    default:
      return StartResult::kFailed;
  }
}

// In the child: makes the program a grandchild, so that nobody has to wait for it. `report` closes
// by itself when the program runs; otherwise it receives why not.
[[noreturn]] void becomeProgram(const char* path, char* const* arguments, int report) {
  const pid_t grandchild = ::fork();
  if (grandchild > 0) ::_exit(0);
  if (grandchild == 0) {
    ::setsid();
    ::execv(path, arguments);
  }
  const int error = errno;
  if (::write(report, &error, sizeof error) < 0) ::_exit(1);
  ::_exit(0);
}

}  // namespace

StartResult startProgram(const std::string& name) {
  std::string path = findAlongPath(name);
  if (path.empty()) return StartResult::kNotFound;
  char* const arguments[] = {path.data(), nullptr};
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return StartResult::kFailed;
  const pid_t child = ::fork();
  if (child == 0) becomeProgram(path.c_str(), arguments, ends[1]);
  int error = child < 0 ? errno : 0;
  ::close(ends[1]);
  if (child > 0) {
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) continue;
    ssize_t count;
    do {
      count = ::read(ends[0], &error, sizeof error);
    } while (count < 0 && errno == EINTR);
  }
  ::close(ends[0]);
  return resultOf(error);
}

}  // namespace foldapi
