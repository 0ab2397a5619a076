// btkf520/platform_workfile_posix.cpp: clock, workfiles and commands on POSIX systems.
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "btkf520/platform_workfile.h"
#include "dates/packedtime.h"

extern char** environ;

namespace btkf {
namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;

PackedTime packed(time_t moment) {
  tm local{};
  ::localtime_r(&moment, &local);
  return dates::packTime({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                          local.tm_min, local.tm_sec});
}

std::string directoryOf(const std::string& path) {
  const size_t end = path.rfind('/');
  return end == std::string::npos ? "." : path.substr(0, end + 1);
}

}  // namespace

std::optional<int64_t> secondsOf(PackedTime time) {
  const dates::LocalTime fields = dates::unpackTime(time);
  tm local{};
  local.tm_year = fields.year - 1900;
  local.tm_mon = fields.month - 1;
  local.tm_mday = fields.day;
  local.tm_hour = fields.hours;
  local.tm_min = fields.minutes;
  local.tm_sec = fields.seconds;
  local.tm_isdst = -1;
  const time_t moment = ::mktime(&local);
  return moment == -1 ? std::nullopt : std::optional<int64_t>(moment);
}

PackedTime presentTime() { return packed(::time(nullptr)); }

std::optional<WorkfileState> workfileState(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  WorkfileState state;
  state.isRegular = S_ISREG(status.st_mode);
  state.isWritable = (status.st_mode & S_IWUSR) != 0;
  state.changeTime = packed(status.st_mtim.tv_sec);
  state.size = static_cast<uint64_t>(status.st_size);
  state.changeNanoseconds = status.st_mtim.tv_sec * kNanosecondsPerSecond + status.st_mtim.tv_nsec;
  state.identity = {static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino)};
  return state;
}

bool hasDirectory(const std::string& path) {
  struct stat status {};
  return ::stat(directoryOf(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isSameFile(const std::string& first, const std::string& second) {
  const auto one = workfileState(first);
  const auto other = workfileState(second);
  if (one && other) return one->identity == other->identity;
  if (one || other) return false;
  const auto directory = workfileState(directoryOf(first));
  const auto otherDirectory = workfileState(directoryOf(second));
  return directory && otherDirectory && directory->identity == otherDirectory->identity &&
         first.substr(first.rfind('/') + 1) == second.substr(second.rfind('/') + 1);
}

bool setWritable(const std::string& path, bool isWritable) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  const mode_t others = status.st_mode & 07777 & ~mode_t{S_IWUSR | S_IWGRP | S_IWOTH};
  const mode_t mode = isWritable ? (status.st_mode & 07777) | S_IWUSR : others;
  return ::chmod(path.c_str(), mode) == 0;
}

bool removeFile(const std::string& path) { return ::unlink(path.c_str()) == 0; }

bool appendToFile(const std::string& path, std::string_view text) {
  const int file =
      ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
  if (file < 0) return false;
  const ssize_t written = ::write(file, text.data(), text.size());
  const bool isClosed = ::close(file) == 0;
  return isClosed && written == static_cast<ssize_t>(text.size());
}

void waitAMoment() {
  const timespec tenth{0, kNanosecondsPerSecond / 10};
  ::nanosleep(&tenth, nullptr);
}

std::optional<int> runCommand(const std::string& command,
                              const std::vector<std::pair<std::string, std::string>>& variables) {
  std::vector<std::string> texts;
  for (const auto& [name, value] : variables) texts.push_back(name + "=" + value);
  std::vector<char*> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const bool isReplaced =
        std::any_of(variables.begin(), variables.end(), [entry](const auto& variable) {
          return std::string_view(*entry).starts_with(variable.first + "=");
        });
    if (!isReplaced) environment.push_back(*entry);
  }
  for (std::string& text : texts) environment.push_back(text.data());
  environment.push_back(nullptr);

  std::string shell = "sh";
  std::string option = "-c";
  std::string line = command;
  char* arguments[] = {shell.data(), option.data(), line.data(), nullptr};
  pid_t child = 0;
  if (::posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments, environment.data()) != 0) {
    return {};
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return {};
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace btkf
