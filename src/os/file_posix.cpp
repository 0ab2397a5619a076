// os/file_posix.cpp: files on Linux.
//
// Locks are flock's: fcntl's would let a second open of this process in, and its close would drop
// the first one's lock.
#include <fcntl.h>
#include <linux/magic.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "os/calls_posix.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/file.h"

namespace os {
namespace {

constexpr int kOpenAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr mode_t kAllReaders = S_IRUSR | S_IRGRP | S_IROTH;
constexpr mode_t kAllWriters = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr unsigned kPause = 2;  // Milliseconds between two looks at a name that leads nowhere.

int64_t nanosecondsOf(const struct timespec& time) {
  return time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
}

int64_t nanosecondsOf(const struct statx_timestamp& time) {
  return time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
}

FileStatus statusOf(const struct stat& raw) {
  FileStatus status;
  status.isDirectory = S_ISDIR(raw.st_mode);
  status.isRegular = S_ISREG(raw.st_mode);
  status.isLink = S_ISLNK(raw.st_mode);
  status.ownerMayWrite = (raw.st_mode & S_IWUSR) != 0;
  status.ownerMayRun = (raw.st_mode & S_IXUSR) != 0;
  status.identity = {raw.st_dev, raw.st_ino};
  status.owner = raw.st_uid;
  status.size = static_cast<uint64_t>(raw.st_size);
  status.nanoseconds = nanosecondsOf(raw.st_mtim);
  status.changed = nanosecondsOf(raw.st_ctim);
  return status;
}

FileStatus statusOf(const struct statx& raw) {
  FileStatus status;
  status.isDirectory = S_ISDIR(raw.stx_mode);
  status.isRegular = S_ISREG(raw.stx_mode);
  status.ownerMayWrite = (raw.stx_mode & S_IWUSR) != 0;
  status.ownerMayRun = (raw.stx_mode & S_IXUSR) != 0;
  status.identity = {makedev(raw.stx_dev_major, raw.stx_dev_minor), raw.stx_ino};
  status.owner = raw.stx_uid;
  status.size = raw.stx_size;
  status.nanoseconds = nanosecondsOf(raw.stx_mtime);
  status.changed = nanosecondsOf(raw.stx_ctime);
  return status;
}

// Takes what a network mount remembers for nothing. False with errno set.
bool askServer(int directory, const char* path, int flags, FileStatus* status) {
  struct statx raw;
  if (uninterrupted([&] {
        return ::statx(directory, path, flags | AT_STATX_FORCE_SYNC, STATX_BASIC_STATS, &raw);
      }) == 0) {
    *status = statusOf(raw);
    return true;
  }
  if (errno != ENOSYS && errno != EPERM && errno != EINVAL) return false;
  struct stat known;  // A system that doesn't have, or doesn't allow, that question.
  if (uninterrupted([&] { return ::fstatat(directory, path, &known, flags); }) != 0) return false;
  *status = statusOf(known);
  return true;
}

// Whether the last call failed because another machine is replacing the file at `path`.
bool isBeingReplaced(int directory, const char* path, int flags) {
  const int error = errno;
  FileStatus status;
  const bool wasMissed = error == ENOENT && (flags & O_CREAT) == 0 &&
                         askServer(directory, path, AT_SYMLINK_NOFOLLOW, &status) &&
                         (status.isRegular || status.isDirectory);
  errno = error;
  return error == ESTALE || wasMissed;
}

// Whether `path`, in an open directory, names that file. Where others may change the directory the
// file is opened anew: a network mount answers a mere question about a name from what it remembers.
bool isFileAt(int directory, const char* path, int linkFlags, const FileIdentity& file,
              FileStatus* now) {
  const bool isFollowed = linkFlags == 0;  // Else AT_SYMLINK_NOFOLLOW.
  const bool isLocal = !isFollowed && isOnThisMachine(directory);
  const int named =
      isLocal ? -1 : openDescriptor(directory, path, O_RDONLY | (isFollowed ? 0 : O_NOFOLLOW));
  FileStatus status;
  bool isKnown = false;
  if (isLocal) {
    isKnown = askServer(directory, path, linkFlags, &status);
  } else if (named >= 0) {
    isKnown = askServer(named, "", AT_EMPTY_PATH, &status);
    ::close(named);
  } else if (errno == EACCES) {  // One that may be written only.
    isKnown = askServer(directory, path, linkFlags, &status);
  }
  if (!isKnown || status.identity != file) return false;
  if (now != nullptr) *now = status;
  return true;
}

FileResult readStatusBy(int (*call)(const char*, struct stat*), const char* path,
                        FileStatus* status) {
  struct stat raw;
  FileResult result = FileResult::kStale;
  for (int tries = 0; tries < kTries && result == FileResult::kStale; ++tries) {
    if (tries > 1) sleepMilliseconds(kPause);
    result = resultOfCall(uninterrupted([&] { return call(path, &raw); }));
  }
  if (result == FileResult::kDone) *status = statusOf(raw);
  return result;
}

}  // namespace

bool isOnThisMachine(int file) {
  constexpr unsigned long kXfs = 0x58465342;
  constexpr unsigned long kKnown[] = {EXT4_SUPER_MAGIC, kXfs,        BTRFS_SUPER_MAGIC,
                                      F2FS_SUPER_MAGIC, TMPFS_MAGIC, RAMFS_MAGIC};
  struct statfs status;
  return uninterrupted([&] { return ::fstatfs(file, &status); }) == 0 &&
         std::find(std::begin(kKnown), std::end(kKnown),
                   static_cast<unsigned long>(status.f_type)) != std::end(kKnown);
}

FileResult resultOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return FileResult::kMissing;
    case EEXIST:
      return FileResult::kExists;
    case EWOULDBLOCK:
      return FileResult::kBusy;
    case ESTALE:
      return FileResult::kStale;
    case EACCES:
    case EBADF:
    case EBUSY:
    case EINVAL:
    case EISDIR:
    case ELOOP:
    case ENAMETOOLONG:
    case ENXIO:
    case EPERM:
    case EROFS:
    case ETXTBSY:
    case EXDEV:
      return FileResult::kRefused;
    default:
      return FileResult::kFailed;
  }
}

mode_t modeFor(mode_t old, bool isWritable, Running running) {
  if (running == Running::kAllowed) old |= (old & kAllReaders) >> 2;
  return (isWritable ? old | S_IWUSR : old & ~kAllWriters) & kModeBits;
}

int openDescriptor(int directory, const char* path, int flags, mode_t mode) {
  for (int tries = 1;; ++tries) {
    const int descriptor =
        uninterrupted([=] { return ::openat(directory, path, flags | kOpenAlways, mode); });
    if (descriptor >= 0 || tries == kTries || !isBeingReplaced(directory, path, flags)) {
      return descriptor;
    }
    if (tries > 1) sleepMilliseconds(kPause);
  }
}

int openDescriptor(const char* path, int flags, mode_t mode) {
  return openDescriptor(AT_FDCWD, path, flags, mode);
}

int openDescriptor(const Place& place, int flags, mode_t mode) {
  return openDescriptor(place.directory(), place.name().c_str(), flags | O_NOFOLLOW, mode);
}

FileResult failureOfOpenFile() {
  return errno == ESTALE ? FileResult::kStale : FileResult::kFailed;
}

int64_t readUpTo(int file, uint64_t offset, void* buffer, size_t size) {
  size_t done = 0;
  while (done < size) {
    const ssize_t count = uninterrupted([&] {
      return ::pread(file, static_cast<char*>(buffer) + done,
                     std::min(size - done, kLargestTransfer), static_cast<off_t>(offset + done));
    });
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  return static_cast<int64_t>(done);
}

bool isAt(const Place& place, const FileIdentity& file, FileStatus* now) {
  return isFileAt(place.directory(), place.name().c_str(), AT_SYMLINK_NOFOLLOW, file, now);
}

int makeForOwner(const Place& place) {
  return openDescriptor(place, O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
}

FileResult removeAt(const Place& place) {
  return resultOfCall(
      uninterrupted([&] { return ::unlinkat(place.directory(), place.name().c_str(), 0); }));
}

FileResult renameToFree(int from, const char* old, int to, const char* name) {
  const int renamed =
      uninterrupted([=] { return ::renameat2(from, old, to, name, RENAME_NOREPLACE); });
  if (renamed == 0 || (errno != EINVAL && errno != ENOSYS)) return resultOfCall(renamed);
  const FileResult result =
      resultOfCall(uninterrupted([=] { return ::linkat(from, old, to, name, 0); }));
  if (result == FileResult::kDone) {
    static_cast<void>(uninterrupted([=] { return ::unlinkat(from, old, 0); }));
  }
  return result;
}

FileResult readStatus(const char* path, FileStatus* status) {
  return readStatusBy(::stat, path, status);
}

FileResult readEntryStatus(const char* path, FileStatus* status) {
  return readStatusBy(::lstat, path, status);
}

StatusReader::~StatusReader() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

// False for what can't be told like that: then it is asked in the usual way.
bool StatusReader::look(const std::string& path, int linkFlags, FileStatus* status) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash == 0 || slash + 1 == path.size()) return false;
  if (path.compare(0, slash, directory_) != 0) {
    if (descriptor_ >= 0) ::close(descriptor_);
    directory_.assign(path, 0, slash);
    descriptor_ = ::open(directory_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  }
  struct stat raw;
  if (descriptor_ < 0 || ::fstatat(descriptor_, path.c_str() + slash + 1, &raw, linkFlags) != 0) {
    return false;
  }
  *status = statusOf(raw);
  return true;
}

FileResult StatusReader::readStatus(const std::string& path, FileStatus* status) {
  return look(path, 0, status) ? FileResult::kDone : os::readStatus(path.c_str(), status);
}

FileResult StatusReader::readEntryStatus(const std::string& path, FileStatus* status) {
  return look(path, AT_SYMLINK_NOFOLLOW, status) ? FileResult::kDone
                                                 : os::readEntryStatus(path.c_str(), status);
}

std::optional<FileMark> fileMark(const char* path) {
  FileStatus status;
  if (!askServer(AT_FDCWD, path, 0, &status)) return {};
  return FileMark{status.identity, status.size, status.nanoseconds, status.changed};
}

FileResult File::open(const char* path, Access access) {
  close();
  if (access == Access::kUpdate) {
    Place place;
    const FileResult result = Place::find(path, &place);
    return result == FileResult::kDone ? open(place, access) : result;
  }
  place_ = {};
  return take(openDescriptor(path, O_RDONLY));
}

FileResult File::open(const Place& place, Access access) {
  place_ = place;
  return take(openDescriptor(place, access == Access::kRead ? O_RDONLY : O_RDWR));
}

// Owns `descriptor` from now on, which may be -1 with errno set.
FileResult File::take(int descriptor) {
  close();
  if (descriptor < 0) return errno == ESTALE ? FileResult::kFailed : resultOf(errno);
  descriptor_ = descriptor;
  failure_ = FileResult::kDone;
  struct stat raw;
  if (!askStatus(descriptor, &raw)) {
    const FileResult result = failureOfOpenFile();
    close();
    return result;
  }
  status_ = statusOf(raw);
  const bool isForeign = place_.owner().value_or(raw.st_uid) != raw.st_uid;
  if (status_.isRegular && !isForeign) return FileResult::kDone;
  close();
  return isForeign ? FileResult::kForeignLink : FileResult::kRefused;
}

bool File::close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0; }

// The system gives the lowest number that is free. Half of them are for the rest of the process.
bool File::isAmongLast() const {
  constexpr rlim_t kLeft = 16;  // For an operation, at least.
  rlimit most;
  return ::getrlimit(RLIMIT_NOFILE, &most) == 0 && most.rlim_cur != RLIM_INFINITY &&
         static_cast<rlim_t>(descriptor_) + std::max(kLeft, most.rlim_cur / 2) >= most.rlim_cur;
}

bool File::refresh() {
  const bool isKnown = askServer(descriptor_, "", AT_EMPTY_PATH, &status_);
  if (!isKnown) failure_ = failureOfOpenFile();
  return isKnown;
}

FileResult File::tryLock(Lock lock) const {
  const int operation = (lock == Lock::kShared ? LOCK_SH : LOCK_EX) | LOCK_NB;
  if (uninterrupted([=, this] { return ::flock(descriptor_, operation); }) == 0) {
    return FileResult::kDone;
  }
  const bool knowsNone = errno == ENOLCK || errno == ENOSYS || errno == EOPNOTSUPP;
  return knowsNone ? FileResult::kNoLocks : resultOf(errno);
}

bool File::confirm(const char* path) {
  return isFileAt(AT_FDCWD, path, 0, status_.identity, &status_);
}

bool File::writeAt(uint64_t offset, std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = uninterrupted([&] {
      return ::pwrite(descriptor_, bytes.data(), std::min(bytes.size(), kLargestTransfer),
                      static_cast<off_t>(offset));
    });
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(count));
    offset += static_cast<uint64_t>(count);
  }
  return true;
}

bool File::append(std::string_view bytes) {
  if (!refresh()) return false;
  const ssize_t count = uninterrupted([&] {
    return ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(size()));
  });
  if (count == static_cast<ssize_t>(bytes.size())) return true;
  if (count > 0) setSize(size());
  return false;
}

bool File::setSize(uint64_t size) const {
  return uninterrupted([=, this] { return ::ftruncate(descriptor_, static_cast<off_t>(size)); }) ==
         0;
}

FileResult File::setWritable(bool isWritable, Running running) const {
  struct stat status;
  if (!askStatus(descriptor_, &status)) return FileResult::kFailed;
  return resultOfCall(uninterrupted(
      [&] { return ::fchmod(descriptor_, modeFor(status.st_mode, isWritable, running)); }));
}

FileResult File::setModificationTime(int64_t seconds) const {
  const timespec times[] = {{0, UTIME_OMIT}, {static_cast<time_t>(seconds), 0}};
  return resultOfCall(uninterrupted([&] { return ::futimens(descriptor_, times); }));
}

bool File::sync() const {
  return uninterrupted([this] { return ::fsync(descriptor_); }) == 0;
}

bool File::syncContent() const {
  return uninterrupted([this] { return ::fdatasync(descriptor_); }) == 0;
}

FileResult appendToFile(const char* path, std::string_view text,
                        bool (*isExpected)(std::string_view start)) {
  const int file = openDescriptor(path, O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW);
  if (file < 0) return resultOf(errno);
  struct stat status;
  char start[64];
  const bool isRegular = askStatus(file, &status) && S_ISREG(status.st_mode);
  const int64_t count = isRegular ? readUpTo(file, 0, start, sizeof start) : -1;
  FileResult result = FileResult::kRefused;
  if (count == 0 || (count > 0 && isExpected({start, static_cast<size_t>(count)}))) {
    const ssize_t written = uninterrupted([&] { return ::write(file, text.data(), text.size()); });
    const bool isWritten = written == static_cast<ssize_t>(text.size());
    result = isWritten ? FileResult::kDone : FileResult::kFailed;
  }
  return ::close(file) == 0 ? result : FileResult::kFailed;
}

FileResult makeNewFile(const std::string& path) {
  const int made = openDescriptor(path.c_str(), O_WRONLY | O_CREAT | O_EXCL);
  if (made < 0) return resultOf(errno);
  Place place;
  if (Place::of(path, &place) == FileResult::kDone) place.sync(made);
  return resultOfCall(::close(made));
}

FileResult askAccess(const char* path, File::Access access) {
  const int wanted = access == File::Access::kUpdate ? W_OK : R_OK;
  return resultOfCall(
      uninterrupted([=] { return ::faccessat(AT_FDCWD, path, wanted, AT_EACCESS); }));
}

FileResult writeToDescriptor(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = uninterrupted([&] {
      return ::write(descriptor, bytes.data(), std::min(bytes.size(), kLargestTransfer));
    });
    if (count <= 0) return FileResult::kFailed;
    bytes.remove_prefix(static_cast<size_t>(count));
  }
  return FileResult::kDone;
}

FileResult removeFile(const char* path) {
  return resultOfCall(uninterrupted([=] { return ::unlink(path); }));
}

FileResult setModificationTime(const char* path, int64_t seconds) {
  const timespec times[] = {{0, UTIME_OMIT}, {static_cast<time_t>(seconds), 0}};
  return resultOfCall(uninterrupted([&] { return ::utimensat(AT_FDCWD, path, times, 0); }));
}

}  // namespace os
