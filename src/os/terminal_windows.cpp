// os/terminal_windows.cpp: streams and consoles on Windows.
#include <fcntl.h>
#include <io.h>

// The first one is needed by the second.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include <cstdio>
#include <utility>

#include "os/calls_windows.h"
#include "os/program_windows.h"
#include "os/terminal.h"

namespace os {
namespace {

HANDLE theOutput = nullptr;  // Null for the process's own.

HANDLE handleOf(Stream stream) {
  switch (stream) {
    case Stream::kInput:
      return ::GetStdHandle(STD_INPUT_HANDLE);
    case Stream::kOutput:
      return theOutput != nullptr ? theOutput : ::GetStdHandle(STD_OUTPUT_HANDLE);
    default:
      return ::GetStdHandle(STD_ERROR_HANDLE);
  }
}

bool isConsole(HANDLE stream) {
  DWORD mode = 0;
  return ::GetConsoleMode(stream, &mode) != FALSE;
}

// Lines until Ctrl-Z is typed, as characters: the bytes are in another code page than all texts.
std::optional<std::string> readConsole(HANDLE console) {
  std::string text;
  wchar_t piece[1024];
  for (;;) {
    DWORD count = 0;
    if (!::ReadConsoleW(console, piece, 1024, &count, nullptr)) return {};
    const std::wstring_view line(piece, count);
    if (line.empty() || line.front() == L'\x1A') return text;
    text += toTextAnyway(line);
  }
}

std::pair<int, int> sizeOfConsole() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!::GetConsoleScreenBufferInfo(handleOf(Stream::kOutput), &info)) return {80, 24};
  return {info.srWindow.Right - info.srWindow.Left + 1,
          info.srWindow.Bottom - info.srWindow.Top + 1};
}

Written writeAll(HANDLE stream, std::string_view text) {
  const auto wide = isConsole(stream) ? toWide(text) : std::nullopt;
  DWORD count = 0;
  if (wide) {
    const auto size = static_cast<DWORD>(wide->size());
    return ::WriteConsoleW(stream, wide->data(), size, &count, nullptr) ? Written::kAll
                                                                        : Written::kFailed;
  }
  while (!text.empty()) {
    if (!::WriteFile(stream, text.data(), static_cast<DWORD>(text.size()), &count, nullptr)) {
      const DWORD error = ::GetLastError();
      const bool hasLeft = error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA;
      return hasLeft ? Written::kNobodyReads : Written::kFailed;
    }
    text.remove_prefix(count);
  }
  return Written::kAll;
}

}  // namespace

bool isTerminal(Stream stream) { return isConsole(handleOf(stream)); }

bool takesColours() {
  const HANDLE console = handleOf(Stream::kOutput);
  DWORD mode = 0;
  return ::GetConsoleMode(console, &mode) &&
         ::SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

bool showsUtf8() { return codePage() == CP_UTF8; }

int terminalWidth() { return sizeOfConsole().first; }

int terminalHeight() { return sizeOfConsole().second; }

// A console can be scrolled, and the system has no pager that goes back.
bool startPager(const std::string& /*command*/) { return false; }

bool endPager() { return true; }

Written writeTo(Stream stream, std::string_view text) { return writeAll(handleOf(stream), text); }

bool showManual(const std::string& /*page*/) { return false; }

std::optional<std::string> readInput() {
  if (isTerminal(Stream::kInput)) return readConsole(handleOf(Stream::kInput));
  std::string text;
  char piece[4096];
  for (;;) {
    DWORD count = 0;
    if (!::ReadFile(handleOf(Stream::kInput), piece, sizeof piece, &count, nullptr)) {
      if (::GetLastError() != ERROR_BROKEN_PIPE) return {};
      return text;
    }
    if (count == 0) return text;
    text.append(piece, count);
  }
}

std::optional<std::string> readFromTerminal(std::string_view question) {
  constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE;
  constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE;
  const Handle input(::CreateFileW(L"CONIN$", kAccess, kShare, nullptr, OPEN_EXISTING, 0, nullptr));
  const Handle output(
      ::CreateFileW(L"CONOUT$", kAccess, kShare, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!input.isOpen() || !output.isOpen() || writeAll(output.get(), question) != Written::kAll) {
    return {};
  }
  wchar_t line[4096];
  DWORD count = 0;
  if (!::ReadConsoleW(input.get(), line, 4096, &count, nullptr) || count == 0) return {};
  std::wstring_view text(line, count);
  if (!text.ends_with(L'\n')) return {};
  text.remove_suffix(text.ends_with(L"\r\n") ? 2 : 1);
  return toTextAnyway(text);
}

std::optional<int> runOnTerminal(const std::string& command, const std::string& file) {
  const auto line = toWide(command + " \"" + file + "\"");
  if (!line || file.find_first_of("\"%") != std::string::npos) return {};
  return runShell(*line, nullptr, STD_OUTPUT_HANDLE);
}

std::string usualEditor() { return "notepad"; }

// The C runtime's words are in the system's code page, whatever ours is.
std::vector<std::string> commandLine(int /*count*/, char** /*words*/) {
  std::vector<std::string> typed;
  int count = 0;
  wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  for (int i = 1; i < count; ++i) typed.push_back(toTextAnyway(words[i]));
  ::LocalFree(words);
  return typed;
}

void keepOutputForResults() {
  const HANDLE self = ::GetCurrentProcess();
  HANDLE kept = nullptr;
  if (!::DuplicateHandle(self, ::GetStdHandle(STD_OUTPUT_HANDLE), self, &kept, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
    return;
  }
  theOutput = kept;
  ::SetStdHandle(STD_OUTPUT_HANDLE, ::GetStdHandle(STD_ERROR_HANDLE));
  ::_dup2(::_fileno(stderr), ::_fileno(stdout));
}

}  // namespace os
