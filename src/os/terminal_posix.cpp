// os/terminal_posix.cpp: streams and terminals on Linux.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "os/calls_posix.h"
#include "os/terminal.h"

namespace os {
namespace {

int theOutput = STDOUT_FILENO;

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

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count =
        uninterrupted([&] { return ::write(descriptor, text.data(), text.size()); });
    if (count <= 0) return false;
    text.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

}  // namespace

bool isTerminal(Stream stream) { return ::isatty(descriptorOf(stream)) != 0; }

int terminalWidth() {
  constexpr int kUsual = 80;
  winsize size = {};
  const bool isKnown = ::ioctl(theOutput, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUsual;
}

bool writeTo(Stream stream, std::string_view text) { return writeAll(descriptorOf(stream), text); }

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
  if (writeAll(terminal, question)) {
    char byte;
    while (uninterrupted([&] { return ::read(terminal, &byte, 1); }) == 1) {
      isWhole = byte == '\n';
      if (isWhole) break;
      line += byte;
    }
  }
  ::close(terminal);
  if (!isWhole) return {};
  return line;
}

void keepOutputForResults() {
  const int kept = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (kept < 0) return;
  theOutput = kept;
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

}  // namespace os
