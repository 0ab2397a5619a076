// os/directory_posix.cpp: directories on Linux.
#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <new>

#include "os/calls_posix.h"
#include "os/directory.h"

namespace os {
namespace {

constexpr mode_t kAllMayEnter = 0777;  // Less the umask.
constexpr int kMostLinks = 100;

int64_t nanosecondsOf(const timespec& time) {
  return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

std::string parentOf(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return ".";
  return slash == 0 ? "/" : std::string(path.substr(0, slash));
}

std::string linkTarget(const std::string& path) {
  std::string result = path;
  for (int links = 0; links < kMostLinks; ++links) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length =
        uninterrupted([&] { return ::readlink(result.c_str(), target.data(), target.size()); });
    if (length <= 0) break;
    target.resize(static_cast<size_t>(length));
    result = target.front() == '/' ? target : parentOf(result) + '/' + target;
  }
  return result;
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
    syncParentOf(path);
    return true;
  }
  return errno == EEXIST && directoryState(path.c_str()).has_value();
}

bool makeDirectories(const std::string& path) {
  if (makeDirectory(path)) return true;
  const std::string parent = parentOf(path);
  return errno == ENOENT && parent != path && makeDirectories(parent) && makeDirectory(path);
}

void syncParentOf(const std::string& path, int file) noexcept {
  int directory = -1;
  try {
    directory = openDescriptor(parentOf(path).c_str(), O_RDONLY | O_DIRECTORY);
  } catch (const std::bad_alloc&) {
    // As for one that may not be read.
  }
  const bool isSynced = directory >= 0 && uninterrupted([=] { return ::fsync(directory); }) == 0;
  if (!isSynced && file >= 0) ::syncfs(file);
  if (directory >= 0) ::close(directory);
}

std::optional<DirectoryState> directoryState(const char* path) {
  struct stat raw;
  if (uninterrupted([&] { return ::stat(path, &raw); }) != 0 || !S_ISDIR(raw.st_mode)) return {};
  return DirectoryState{
      {raw.st_dev, raw.st_ino}, nanosecondsOf(raw.st_mtim), nanosecondsOf(raw.st_ctim)};
}

void forEachEntry(const char* path, const std::function<void(const char* name)>& take) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(path), ::closedir);
  if (stream == nullptr) return;
  while (const dirent* entry = ::readdir(stream.get())) take(entry->d_name);
}

}  // namespace os
