// os/program_posix.cpp: starts programs on POSIX systems.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "os/calls_posix.h"
#include "os/environment.h"
#include "os/program.h"

extern char** environ;

namespace os {
namespace {

constexpr const char* kSystemPath = "/usr/bin:/bin";

// The first file of that name along PATH that may be run, "" without one. Not left to execvp(),
// which hands a file that is no program to the shell.
std::string findAlongPath(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  const std::string variable =
      hasRaisedRights() ? kSystemPath : environmentVariable("PATH").value_or("");
  std::string_view left = variable;
  while (!left.empty()) {
    const size_t end = std::min(left.find(':'), left.size());
    const std::string directory(end == 0 ? "." : left.substr(0, end));
    std::string candidate = directory + '/' + name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
    left.remove_prefix(std::min(end + 1, left.size()));
  }
  return "";
}

StartResult startResultOf(int error) {
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
[[noreturn]] void becomeProgram(const char* path, char* const* arguments, char* const* variables,
                                int report) {
  const pid_t grandchild = ::fork();
  if (grandchild > 0) ::_exit(0);
  if (grandchild == 0) {
    ::setsid();
    ::execve(path, arguments, variables);
  }
  const int error = errno;
  if (::write(report, &error, sizeof error) < 0) ::_exit(1);
  ::_exit(0);
}

// Waits for the end of a child: what waitpid() tells, nothing if that fails.
std::optional<int> waitFor(pid_t child) {
  int status = 0;
  if (uninterrupted([&] { return ::waitpid(child, &status, 0); }) < 0) return {};
  return status;
}

// What programs find as their environment: the process's own, with `replacements`, "NAME=value", in
// the place of what it says.
std::vector<char*> environmentWith(std::vector<std::string>* replacements) {
  static std::string systemPath = std::string("PATH=") + kSystemPath;
  static char* systemsOwn[] = {systemPath.data(), nullptr};
  std::vector<char*> result;
  for (char** entry = hasRaisedRights() ? systemsOwn : environ; *entry != nullptr; ++entry) {
    const bool isReplaced = std::any_of(replacements->begin(), replacements->end(),
                                        [entry](std::string_view replacement) {
                                          return std::string_view(*entry).starts_with(
                                              replacement.substr(0, replacement.find('=') + 1));
                                        });
    if (!isReplaced) result.push_back(*entry);
  }
  for (std::string& replacement : *replacements) result.push_back(replacement.data());
  result.push_back(nullptr);
  return result;
}

// Where this process has no standard error either, there is no place for the output.
bool sendOutputToErrors(posix_spawn_file_actions_t* actions) {
  const int failed =
      ::fcntl(STDERR_FILENO, F_GETFD) < 0
          ? ::posix_spawn_file_actions_addopen(actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0)
          : ::posix_spawn_file_actions_adddup2(actions, STDERR_FILENO, STDOUT_FILENO);
  return failed == 0;
}

}  // namespace

StartResult startProgram(const std::string& name) {
  std::string path = findAlongPath(name);
  if (path.empty()) return StartResult::kNotFound;
  char* const arguments[] = {path.data(), nullptr};
  std::vector<std::string> none;
  const std::vector<char*> variables = environmentWith(&none);
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return StartResult::kFailed;
  const pid_t child = ::fork();
  if (child == 0) becomeProgram(path.c_str(), arguments, variables.data(), ends[1]);
  int error = child < 0 ? errno : 0;
  ::close(ends[1]);
  if (child > 0) {
    waitFor(child);
    if (uninterrupted([&] { return ::read(ends[0], &error, sizeof error); }) < 0) error = errno;
  }
  ::close(ends[0]);
  return startResultOf(error);
}

std::optional<int> runCommand(const std::string& command,
                              const std::vector<std::pair<std::string, std::string>>& variables) {
  std::vector<std::string> replacements;
  for (const auto& [name, value] : variables) replacements.push_back(name + "=" + value);
  std::string shell = "sh";
  std::string option = "-fc";             // No names of files in the place of patterns,
  std::string line = "IFS=\n" + command;  // and no character at which words are split.
  char* const arguments[] = {shell.data(), option.data(), line.data(), nullptr};
  posix_spawn_file_actions_t actions;
  if (::posix_spawn_file_actions_init(&actions) != 0) return {};
  pid_t child = 0;
  const bool isStarted =
      sendOutputToErrors(&actions) && ::posix_spawn(&child, "/bin/sh", &actions, nullptr, arguments,
                                                    environmentWith(&replacements).data()) == 0;
  ::posix_spawn_file_actions_destroy(&actions);
  if (!isStarted) return {};
  const std::optional<int> status = waitFor(child);
  if (!status) return {};
  return WIFEXITED(*status) ? WEXITSTATUS(*status) : 128 + WTERMSIG(*status);
}

}  // namespace os
