// os/terminal_posix.cpp: streams and terminals on Linux.
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <initializer_list>
#include <utility>

#include "os/calls_posix.h"
#include "os/environment.h"
#include "os/program.h"
#include "os/stop.h"
#include "os/terminal.h"

namespace os {
namespace {

int theOutput = STDOUT_FILENO;
pid_t thePager = -1;
int theTerminal = -1;  // The output while a pager has it.

int descriptorOf(Stream stream) {
  switch (stream) {
    case Stream::kInput:
      return STDIN_FILENO;
    case Stream::kOutput:
      return theOutput;
    default:
      return STDERR_FILENO;
  }
}

Written writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count =
        uninterrupted([&] { return ::write(descriptor, text.data(), text.size()); });
    // A terminal that was closed gives the second one.
    const bool hasLeft = count < 0 && (errno == EPIPE || errno == EIO);
    if (count <= 0) return hasLeft ? Written::kNobodyReads : Written::kFailed;
    text.remove_prefix(static_cast<size_t>(count));
  }
  return Written::kAll;
}

// False if a stop is wanted before there is something to read.
bool waitForInput(int descriptor) {
  sigset_t stops;
  sigset_t before;
  sigemptyset(&stops);
  for (int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&stops, number);
  ::sigprocmask(SIG_BLOCK, &stops, &before);
  pollfd source = {descriptor, POLLIN, 0};
  int ready = -1;
  errno = EINTR;
  while (ready < 0 && errno == EINTR && !isStopWanted()) {
    ready = ::ppoll(&source, 1, nullptr, &before);
  }
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  return ready > 0;
}

}  // namespace

bool isTerminal(Stream stream) { return ::isatty(descriptorOf(stream)) != 0; }

bool takesColours() {
  return isTerminal(Stream::kOutput) && environmentVariable("TERM").value_or("") != "dumb";
}

bool showsUtf8() {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const std::string locale = environmentVariable(name).value_or("");
    if (locale.empty()) continue;
    return locale.find("UTF-8") != std::string::npos || locale.find("utf8") != std::string::npos;
  }
  return false;
}

int terminalWidth() {
  constexpr int kUsual = 80;
  winsize size = {};
  const bool isKnown = ::ioctl(theOutput, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUsual;
}

int terminalHeight() {
  constexpr int kUsual = 24;
  winsize size = {};
  const bool isKnown = ::ioctl(theOutput, TIOCGWINSZ, &size) == 0 && size.ws_row > 0;
  return isKnown ? size.ws_row : kUsual;
}

bool startPager(const std::string& command) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  thePager = ::fork();
  if (thePager == 0) {
    ::dup2(ends[0], STDIN_FILENO);
    ::dup2(theOutput, STDOUT_FILENO);
    ::setenv("LESS", "FRX", 0);
    ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(ends[0]);
  if (thePager < 0) {
    ::close(ends[1]);
    return false;
  }
  theTerminal = std::exchange(theOutput, ends[1]);
  std::signal(SIGINT, SIG_IGN);  // It is the pager's while that has the terminal.
  return true;
}

bool endPager() {
  constexpr int kNotFound = 127;
  ::close(std::exchange(theOutput, theTerminal));
  int status = 0;
  const pid_t ended = uninterrupted([&] { return ::waitpid(thePager, &status, 0); });
  return ended == thePager && !(WIFEXITED(status) && WEXITSTATUS(status) == kNotFound);
}

bool showManual(const std::string& page) {
  return runCommand("man -w " + page + " >/dev/null 2>&1 && man " + page, {}) == 0;
}

Written writeTo(Stream stream, std::string_view text) {
  return writeAll(descriptorOf(stream), text);
}

std::optional<std::string> readInput() {
  std::string text;
  char piece[4096];
  for (;;) {
    const ssize_t count = uninterrupted([&] { return ::read(STDIN_FILENO, piece, sizeof piece); });
    if (count < 0) return {};
    if (count == 0) return text;
    text.append(piece, static_cast<size_t>(count));
  }
}

std::optional<std::string> readFromTerminal(std::string_view question) {
  const int terminal = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
  if (terminal < 0) return {};
  std::string line;
  bool isWhole = false;
  if (writeAll(terminal, question) == Written::kAll) {
    char byte;
    while (waitForInput(terminal) && ::read(terminal, &byte, 1) == 1) {
      isWhole = byte == '\n';
      if (isWhole) break;
      line += byte;
    }
    if (!isWhole) static_cast<void>(writeAll(terminal, "\n"));
  }
  ::close(terminal);
  if (!isWhole) return {};
  return line;
}

std::optional<int> runOnTerminal(const std::string& command, const std::string& file) {
  const pid_t child = ::fork();
  if (child == 0) {
    const std::string line = command + " \"$@\"";
    ::execl("/bin/sh", "sh", "-c", line.c_str(), command.c_str(), file.c_str(),
            static_cast<char*>(nullptr));
    ::_exit(127);
  }
  if (child < 0) return {};
  const auto before = std::signal(SIGINT, SIG_IGN);  // It is the command's meanwhile.
  int status = 0;
  const pid_t ended = uninterrupted([&] { return ::waitpid(child, &status, 0); });
  std::signal(SIGINT, before);
  if (ended != child) return {};
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string usualEditor() { return "vi"; }

std::vector<std::string> commandLine(int count, char** words) {
  return {words + std::min(1, count), words + count};
}

void keepOutputForResults() {
  const int kept = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (kept < 0) return;
  theOutput = kept;
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

}  // namespace os
