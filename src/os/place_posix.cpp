// os/place_posix.cpp: looks up places on Linux.
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <mutex>
#include <utility>

#include "os/calls_posix.h"
#include "os/directory.h"
#include "os/environment.h"
#include "os/place.h"

namespace os {
namespace {

constexpr int kMostLinks = 40;

}  // namespace

class Place::Entry {
 public:
  Entry() = default;
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;
  ~Entry() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  // Relative to the open directory `start`. False with errno set.
  bool open(int start, const char* path, int flags) {
    descriptor_ = openDescriptor(start, path, flags);
    return descriptor_ >= 0;
  }
  int descriptor() const { return descriptor_; }

  // A directory. Null with errno set.
  static std::shared_ptr<const Entry> directory(int start, const std::string& path);

 private:
  bool isAt(const std::string& path) const {
    struct stat own, named;
    return askStatus(descriptor_, &own) &&
           uninterrupted([&] { return ::stat(path.c_str(), &named); }) == 0 &&
           own.st_dev == named.st_dev && own.st_ino == named.st_ino;
  }

  int descriptor_ = -1;
};

// The directory that was opened last is used again as long as a place has it and its path leads to
// it: so many files that wait in one directory take one open directory.
std::shared_ptr<const Place::Entry> Place::Entry::directory(int start, const std::string& path) {
  struct Last {
    std::mutex mutex;
    std::string path;
    std::weak_ptr<const Entry> entry;
  };
  static auto* const last = new Last;  // Never destroyed: calls late in a process's life find it.
  if (start == AT_FDCWD) {
    const std::lock_guard<std::mutex> lock(last->mutex);
    const auto entry = last->path == path ? last->entry.lock() : nullptr;
    if (entry != nullptr && entry->isAt(path)) return entry;
  }
  const auto entry = std::make_shared<Entry>();
  // One that may not be read can't be synced, but names can be looked up there.
  if (!entry->open(start, path.c_str(), O_RDONLY | O_DIRECTORY) &&
      (errno != EACCES || !entry->open(start, path.c_str(), O_PATH | O_DIRECTORY))) {
    return nullptr;
  }
  if (start == AT_FDCWD) {
    const std::lock_guard<std::mutex> lock(last->mutex);
    last->path = path;
    last->entry = entry;
  }
  return entry;
}

int Place::directory() const { return directory_ ? directory_->descriptor() : -1; }

// `path` is relative to the directory `start`, unless it says where it begins.
FileResult Place::enter(int start, const std::string& path) {
  if (path.empty()) return FileResult::kMissing;
  auto directory = Entry::directory(start, path.ends_with('/') ? path : parentOf(path));
  if (directory == nullptr) return resultOf(errno);
  name_ = path.ends_with('/') ? "." : path.substr(path.rfind('/') + 1);
  directory_ = std::move(directory);
  return FileResult::kDone;
}

// Goes where the entry leads if it is a link. Its owner and its text are of one and the same link,
// whatever takes the name meanwhile.
FileResult Place::follow(bool* isLink) {
  *isLink = false;
  Entry entry;
  struct stat status;
  if (!entry.open(directory(), name_.c_str(), O_PATH | O_NOFOLLOW)) {
    return FileResult::kDone;  // Whoever opens it to change it learns why.
  }
  if (!askStatus(entry.descriptor(), &status)) return resultOf(errno);
  *isLink = S_ISLNK(status.st_mode);
  if (!*isLink) return FileResult::kDone;
  std::string target(PATH_MAX, '\0');
  const ssize_t length = ::readlinkat(entry.descriptor(), "", target.data(), target.size());
  if (length < 0) return resultOf(errno);
  target.resize(static_cast<size_t>(length));
  const bool isTrusted = status.st_uid == 0 || (status.st_uid == ::geteuid() && heedsUser());
  if (!isTrusted && owner_.value_or(status.st_uid) != status.st_uid) {
    return FileResult::kForeignLink;
  }
  if (!isTrusted) owner_ = status.st_uid;
  return enter(directory(), target);
}

FileResult Place::of(const std::string& path, Place* place) {
  *place = {};
  return place->enter(AT_FDCWD, path);
}

FileResult Place::find(const std::string& path, Place* place) {
  FileResult result = of(path, place);
  bool isLink = true;
  for (int links = 0; result == FileResult::kDone && isLink; ++links) {
    if (links > kMostLinks) return FileResult::kRefused;
    result = place->follow(&isLink);
  }
  if (result != FileResult::kDone || !place->owner_) return result;
  struct stat status;
  const bool isThere =
      ::fstatat(place->directory(), place->name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  return isThere && status.st_uid == *place->owner_ ? result : FileResult::kForeignLink;
}

Place Place::beside(std::string name) const {
  Place other = *this;
  other.name_ = std::move(name);
  other.owner_.reset();
  return other;
}

bool Place::sync(int file) const noexcept {
  return uninterrupted([this] { return ::fsync(directory()); }) == 0 ||
         (file >= 0 && ::syncfs(file) == 0);
}

}  // namespace os
