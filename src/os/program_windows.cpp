// os/program_windows.cpp: starts programs on Windows.
#include "os/program_windows.h"

#include <algorithm>
#include <cwchar>

#include "os/calls_windows.h"
#include "os/environment.h"
#include "os/program.h"

namespace os {
namespace {

// "%NAME%" in a command becomes the text itself before the shell looks for the end of a word or of
// the command. So nothing that means something to the shell may be in it.
bool isHarmless(std::string_view value) {
  return std::none_of(value.begin(), value.end(), [](char c) {
    return (c >= 0 && c < ' ') || std::string_view("&|<>^\"%").find(c) != std::string_view::npos;
  });
}

// The process's own environment, with `variables` in the place of what it says.
std::optional<std::wstring> environmentWith(
    const std::vector<std::pair<std::string, std::string>>& variables) {
  std::wstring result;
  std::vector<std::wstring> names;
  for (const auto& [name, value] : variables) {
    const auto wideName = toWide(name);
    const auto wideValue = toWide(value);
    if (!wideName || !wideValue || !isHarmless(value)) return {};
    names.push_back(*wideName + L"=");
    result += names.back() + *wideValue + L'\0';
  }
  wchar_t* const own = ::GetEnvironmentStringsW();
  for (const wchar_t* entry = own; *entry != L'\0'; entry += std::wcslen(entry) + 1) {
    const bool isReplaced = std::any_of(names.begin(), names.end(), [&](const std::wstring& name) {
      return ::_wcsnicmp(entry, name.c_str(), name.size()) == 0;
    });
    if (!isReplaced) (result += entry) += L'\0';
  }
  ::FreeEnvironmentStringsW(own);
  return result += L'\0';
}

StartResult startResultOf(DWORD error) {
  switch (error) {
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return StartResult::kNoMemory;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return StartResult::kNotFound;
    case ERROR_BAD_EXE_FORMAT:
      return StartResult::kCorrupt;
    default:
      return StartResult::kFailed;
  }
}

// One that programs that are started get as well.
Handle inheritable(DWORD stream) {
  HANDLE copy = nullptr;
  const HANDLE self = ::GetCurrentProcess();
  ::DuplicateHandle(self, ::GetStdHandle(stream), self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS);
  return Handle(copy);
}

}  // namespace

std::optional<int> runShell(std::wstring line, std::wstring* environment, DWORD output) {
  const Handle input = inheritable(STD_INPUT_HANDLE);
  const Handle results = inheritable(output);
  const Handle errors = inheritable(STD_ERROR_HANDLE);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input.get();
  start.hStdOutput = results.get();
  start.hStdError = errors.get();
  line = L"cmd.exe /d /s /c \"" + line + L"\"";
  wchar_t system[MAX_PATH];
  ::GetSystemDirectoryW(system, MAX_PATH);
  const std::wstring shell = std::wstring(system) + L"\\cmd.exe";
  PROCESS_INFORMATION made{};
  if (!::CreateProcessW(
          shell.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT,
          environment == nullptr ? nullptr : environment->data(), nullptr, &start, &made)) {
    return {};
  }
  const Handle process(made.hProcess);
  const Handle thread(made.hThread);
  DWORD code = 0;
  if (::WaitForSingleObject(process.get(), INFINITE) != WAIT_OBJECT_0 ||
      !::GetExitCodeProcess(process.get(), &code)) {
    return {};
  }
  return static_cast<int>(code);
}

StartResult startProgram(const std::string& name) {
  const auto wide = toWide(name);
  if (!wide) return StartResult::kNotFound;
  wchar_t path[32768];
  const std::wstring along =
      toWide(environmentVariable("PATH").value_or("")).value_or(std::wstring());
  const DWORD length = ::SearchPathW(along.c_str(), wide->c_str(), L".exe", 32768, path, nullptr);
  if (length == 0 || length >= 32768) return StartResult::kNotFound;
  std::wstring line = L"\"" + std::wstring(path) + L"\"";
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION made{};
  if (!::CreateProcessW(path, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                        &made)) {
    return startResultOf(::GetLastError());
  }
  ::CloseHandle(made.hProcess);
  ::CloseHandle(made.hThread);
  return StartResult::kStarted;
}

std::optional<int> runCommand(const std::string& command,
                              const std::vector<std::pair<std::string, std::string>>& variables) {
  const auto line = toWide(command);
  auto environment = environmentWith(variables);
  if (!line || !environment) return {};
  return runShell(*line, &*environment, STD_ERROR_HANDLE);
}

}  // namespace os
