// os/trust_posix.cpp: looks at a path step by step on POSIX systems. Access lists need no look of
// their own: whoever they let write, the group's bits show it.
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "os/calls_posix.h"
#include "os/environment.h"
#include "os/trust.h"

namespace os {
namespace {

constexpr int kMostLinks = 40;

bool isOurs(const struct stat& status, Trusted whom) {
  const bool isUsers = status.st_uid == ::geteuid() && whom != Trusted::kRoot && heedsUser();
  if (status.st_uid != 0 && !isUsers) return false;
  const bool isShared = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
  const bool keepsOthersOff = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
  return S_ISLNK(status.st_mode) || !isShared || keepsOthersOff;
}

bool readState(const std::string& path, struct stat* status) {
  return uninterrupted([&] { return ::lstat(path.c_str(), status); }) == 0;
}

// "" on failure.
std::string targetOf(const std::string& link) {
  std::string target(PATH_MAX, '\0');
  const ssize_t length =
      uninterrupted([&] { return ::readlink(link.c_str(), target.data(), target.size()); });
  target.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return target;
}

}  // namespace

bool isOurs(const FileStatus& entry) {
  return entry.owner == 0 || (entry.owner == ::geteuid() && heedsUser());
}

bool isOursAlone(const std::string& path, Trusted whom) {
  char start[PATH_MAX] = "";
  if (!path.starts_with('/') && ::getcwd(start, sizeof start) == nullptr) return false;
  std::string rest = start + ("/" + path);
  std::string done;  // No link leads through it; "" for the root.
  struct stat status;
  if (!readState("/", &status) || !isOurs(status, whom)) return false;
  for (int links = 0; !rest.empty();) {
    const size_t end = std::min(rest.find('/'), rest.size());
    const std::string name = rest.substr(0, end);
    rest.erase(0, end + 1);
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      done.resize(done.empty() ? 0 : done.rfind('/'));
      continue;
    }
    const std::string step = done + "/" + name;
    if (!readState(step, &status) || !isOurs(status, whom)) return false;
    if (!S_ISLNK(status.st_mode)) {
      done = step;
      continue;
    }
    const std::string target = targetOf(step);
    if (target.empty() || ++links > kMostLinks) return false;
    if (target.starts_with('/')) done.clear();
    rest = target + "/" + rest;
  }
  return S_ISREG(status.st_mode);
}

}  // namespace os
