// os/environment_posix.cpp: accounts and variables on POSIX systems.
#include <pwd.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "os/environment.h"

namespace os {
namespace {

constexpr size_t kFirstRecord = 1024;
constexpr size_t kLargestRecord = 1 << 20;

// A text of the effective user's account, "" if there is none.
std::string accountText(char* passwd::*field) {
  for (size_t size = kFirstRecord; size <= kLargestRecord; size *= 4) {
    std::string buffer(size, '\0');
    passwd entry{};
    passwd* found = nullptr;
    const int failure = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found);
    if (failure == ERANGE || failure == EINTR) continue;
    const char* const text = failure == 0 && found != nullptr ? found->*field : nullptr;
    return text == nullptr ? "" : text;
  }
  return "";
}

// A relative directory would be another one in each working directory: it counts as none.
std::string absoluteFrom(const char* variable) {
  const std::string value = environmentVariable(variable).value_or("");
  return value.starts_with('/') ? value : "";
}

std::string userDirectory(const char* variable, const char* belowHome) {
  const std::string directory = absoluteFrom(variable);
  if (!directory.empty()) return directory;
  const std::string home = homeDirectory();
  return home.empty() ? "" : home + belowHome;
}

}  // namespace

bool hasRaisedRights() { return ::getauxval(AT_SECURE) != 0; }

bool heedsUser() { return !hasRaisedRights() || ::geteuid() != ::getuid(); }

std::optional<std::string> environmentVariable(const char* name) {
  const char* const value = ::secure_getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

// Each question reads the list of accounts, so a name is remembered. A number is not: the account
// may just be out of reach.
std::string accountName() {
  struct Account {
    uid_t user = 0;
    std::string name = {};
  };
  thread_local Account known;
  const uid_t user = ::geteuid();
  if (known.name.empty() || known.user != user) known = {user, accountText(&passwd::pw_name)};
  return known.name.empty() ? std::to_string(user) : known.name;
}

std::string homeDirectory() {
  const std::string directory = absoluteFrom("HOME");
  return directory.empty() && heedsUser() ? accountText(&passwd::pw_dir) : directory;
}

bool hidesSettingsByDots() { return true; }

std::string configurationDirectory() { return userDirectory("XDG_CONFIG_HOME", "/.config"); }

std::string dataDirectory() { return userDirectory("XDG_DATA_HOME", "/.local/share"); }

}  // namespace os
