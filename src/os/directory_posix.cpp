// os/directory_posix.cpp: directories on Linux.
#include <fcntl.h>
#include <grp.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "os/calls_posix.h"
#include "os/directory.h"
#include "os/entries.h"

namespace os {
namespace {

constexpr mode_t kAllMayEnter = 0777;  // Less the umask.

int64_t nanosecondsOf(const timespec& time) {
  return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

bool hasDrives() { return false; }

std::string foldedPath(std::string_view path) { return std::string(path); }

bool isSamePath(std::string_view first, std::string_view second) { return first == second; }

std::string parentOf(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return ".";
  return slash == 0 ? "/" : std::string(path.substr(0, slash));
}

std::string currentDirectory() {
  std::string result(PATH_MAX, '\0');
  if (::getcwd(result.data(), result.size()) == nullptr) return "";
  result.resize(result.find('\0'));
  return result;
}

bool changeDirectory(const std::string& path) {
  return uninterrupted([&] { return ::chdir(path.c_str()); }) == 0;
}

std::string realPath(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), ::free);
  return real == nullptr ? path : real.get();
}

bool isSameFile(const std::string& first, const std::string& second) {
  FileStatus one, other;
  const FileResult found = readStatus(first.c_str(), &one);
  if (readStatus(second.c_str(), &other) != found) return false;
  if (found == FileResult::kDone) return one.identity == other.identity;
  const auto directory = directoryState(parentOf(first).c_str());
  const auto otherDirectory = directoryState(parentOf(second).c_str());
  return directory && otherDirectory && directory->identity == otherDirectory->identity &&
         first.substr(first.rfind('/') + 1) == second.substr(second.rfind('/') + 1);
}

bool hasEntry(const char* path) {
  struct stat status;
  return uninterrupted([&] { return ::lstat(path, &status); }) == 0;
}

bool makeDirectory(const std::string& path) {
  if (uninterrupted([&] { return ::mkdir(path.c_str(), kAllMayEnter); }) == 0) {
    Place place;
    if (Place::of(path, &place) == FileResult::kDone) place.sync(-1);
    return true;
  }
  return errno == EEXIST && directoryState(path.c_str()).has_value();
}

bool makeDirectories(const std::string& path) {
  if (makeDirectory(path)) return true;
  const std::string parent = parentOf(path);
  return errno == ENOENT && parent != path && makeDirectories(parent) && makeDirectory(path);
}

std::string shareWithGroup(const std::string& path) {
  struct stat above;
  struct stat status;
  if (::stat(parentOf(path).c_str(), &above) != 0 || (above.st_mode & S_IWGRP) == 0) return "";
  if (::lstat(path.c_str(), &status) != 0 || S_ISLNK(status.st_mode)) return "";
  const bool isChanged = status.st_gid != above.st_gid;
  if (isChanged && ::chown(path.c_str(), static_cast<uid_t>(-1), above.st_gid) != 0) return "";
  const mode_t more = S_ISDIR(status.st_mode) ? S_ISGID | S_IRWXG : S_IRGRP | S_IWGRP;
  if (::chmod(path.c_str(), (status.st_mode & 07777U) | more) != 0) return "";
  const group* const found = ::getgrgid(above.st_gid);
  return found == nullptr ? std::to_string(above.st_gid) : found->gr_name;
}

bool removeDirectory(const std::string& path) { return ::rmdir(path.c_str()) == 0; }

FileResult moveFile(const std::string& from, const std::string& to) {
  return renameToFree(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str());
}

std::optional<DirectoryState> directoryState(const char* path) {
  struct stat raw;
  if (uninterrupted([&] { return ::stat(path, &raw); }) != 0 || !S_ISDIR(raw.st_mode)) return {};
  return DirectoryState{
      {raw.st_dev, raw.st_ino}, nanosecondsOf(raw.st_mtim), nanosecondsOf(raw.st_ctim)};
}

bool forEachEntry(const char* path, const std::function<void(const char* name)>& take) {
  return forEachEntryOfKind(path, [&](const char* name, EntryKind /*kind*/) { take(name); });
}

}  // namespace os
