// os/environment_windows.cpp: accounts and variables on Windows, where no program has rights of its
// own that its user has not.
#include <algorithm>

#include "os/calls_windows.h"
#include "os/environment.h"

namespace os {
namespace {

// What the system keeps for the user, with "/" for "\". "" for none and for a relative one.
std::string directoryFrom(const char* variable) {
  std::string path = environmentVariable(variable).value_or("");
  std::replace(path.begin(), path.end(), '\\', '/');
  const bool isWhole = path.starts_with("//") || (path.size() > 2 && path[1] == ':');
  return isWhole ? path : "";
}

}  // namespace

bool hasRaisedRights() { return false; }

bool heedsUser() { return true; }

std::optional<std::string> environmentVariable(const char* name) {
  const auto wideName = toWide(name);
  if (!wideName) return {};
  ::SetLastError(ERROR_SUCCESS);
  std::wstring value(::GetEnvironmentVariableW(wideName->c_str(), nullptr, 0), L'\0');
  if (value.empty() && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return {};
  value.resize(
      ::GetEnvironmentVariableW(wideName->c_str(), value.data(), static_cast<DWORD>(value.size())));
  return toTextAnyway(value);
}

std::string accountName() {
  wchar_t name[257];
  DWORD size = 257;
  return ::GetUserNameW(name, &size) && size > 0 ? toTextAnyway({name, size - 1}) : "";
}

std::string homeDirectory() { return directoryFrom("USERPROFILE"); }

bool hidesSettingsByDots() { return false; }

std::string configurationDirectory() { return directoryFrom("APPDATA"); }

std::string dataDirectory() { return directoryFrom("LOCALAPPDATA"); }

}  // namespace os
