// runtime/platform_bytefile.cpp: open files and file status on POSIX systems.
//
// Sharing uses flock(): fcntl() locks would let a second open of this process in, and its close
// would drop the first one's lock.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "runtime/bytefile.h"
#include "runtime/platform_file.h"
#include "runtime/platform_path.h"
#include "runtime/zone.h"

namespace foldapi {
namespace {

constexpr mode_t kAllMayUse = 0666;  // Less the umask.
constexpr mode_t kAllMayEnter = 0777;

// Never waits for the other end of a pipe, and is not handed on to programs that the client starts.
constexpr int kOpenAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

FileStatus statusFrom(const struct stat& raw) {
  FileStatus status;
  status.isDirectory = S_ISDIR(raw.st_mode);
  status.isRegular = S_ISREG(raw.st_mode);
  status.ownerMayWrite = (raw.st_mode & S_IWUSR) != 0;
  status.device = raw.st_dev;
  status.inode = raw.st_ino;
  status.size = static_cast<uint64_t>(raw.st_size);
  status.nanoseconds =
      static_cast<int64_t>(raw.st_mtim.tv_sec) * 1'000'000'000 + raw.st_mtim.tv_nsec;
  return status;
}

FileResult resultOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return FileResult::kMissing;
    case EWOULDBLOCK:
      return FileResult::kBusy;
    case ENOMEM:
      return FileResult::kNoMemory;
    default:
      return FileResult::kRefused;
  }
}

template <typename Call>
auto untilNotInterrupted(Call call) {
  decltype(call()) result;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

}  // namespace

ByteFile& ByteFile::operator=(ByteFile&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
  }
  return *this;
}

FileResult ByteFile::open(std::string_view path, Mode mode) {
  close();
  const int flags = (mode == Mode::kRead ? O_RDONLY : O_RDWR) | kOpenAlways;
  const bool isOpened = withNativePath(path, [this, flags](const char* native) {
    descriptor_ = untilNotInterrupted([&] { return ::open(native, flags); });
    return descriptor_ >= 0;
  });
  return isOpened ? FileResult::kOk : resultOf(errno);
}

bool ByteFile::close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0; }

bool ByteFile::readStatus(FileStatus* status) const {
  struct stat raw;
  if (::fstat(descriptor_, &raw) != 0) return false;
  *status = statusFrom(raw);
  return true;
}

FileStamp ByteFile::stamp() const {
  FileStatus status;
  return readStatus(&status) ? status.stamp() : FileStamp{};
}

int64_t ByteFile::readAt(uint64_t offset, void* buffer, size_t size) const {
  size_t done = 0;
  while (done < size) {
    const ssize_t count = untilNotInterrupted([&] {
      return ::pread(descriptor_, static_cast<char*>(buffer) + done, size - done,
                     static_cast<off_t>(offset + done));
    });
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  return static_cast<int64_t>(done);
}

bool ByteFile::writeAt(uint64_t offset, std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = untilNotInterrupted([&] {
      return ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    });
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(count));
    offset += static_cast<uint64_t>(count);
  }
  return true;
}

bool ByteFile::append(std::string_view bytes) const {
  FileStatus before;
  if (!readStatus(&before)) return false;
  const ssize_t count = untilNotInterrupted([&] {
    return ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(before.size));
  });
  if (count == static_cast<ssize_t>(bytes.size())) return true;
  if (count > 0) setSize(before.size);
  return false;
}

bool ByteFile::setSize(uint64_t size) const {
  return untilNotInterrupted([&] { return ::ftruncate(descriptor_, static_cast<off_t>(size)); }) ==
         0;
}

bool ByteFile::sync() const {
  return untilNotInterrupted([&] { return ::fsync(descriptor_); }) == 0;
}

FileResult ByteFile::tryLock(Lock lock) const {
  const int operation = (lock == Lock::kShared ? LOCK_SH : LOCK_EX) | LOCK_NB;
  const int result = untilNotInterrupted([&] { return ::flock(descriptor_, operation); });
  return result == 0 ? FileResult::kOk : resultOf(errno);
}

bool readStat(std::string_view path, FileStatus* status) {
  struct stat raw;
  if (!withNativePath(path, [&raw](const char* native) { return ::stat(native, &raw) == 0; })) {
    return false;
  }
  *status = statusFrom(raw);
  return true;
}

int setFileTime(std::string_view path, uint32_t packed) {
  int64_t nanoseconds = 0;
  if (!unpackNanoseconds(packed, &nanoseconds)) return -1;
  const timespec times[] = {{0, UTIME_OMIT}, {static_cast<time_t>(nanoseconds / 1'000'000'000), 0}};
  const bool isSet = withNativePath(
      path, [&times](const char* native) { return ::utimensat(AT_FDCWD, native, times, 0) == 0; });
  return isSet ? 0 : -1;
}

int checkAccess(std::string_view path, int mode) {
  constexpr int kWrite = 0x2;
  const bool forWriting = (mode & kWrite) != 0;
  const bool isAllowed = withNativePath(path, [forWriting](const char* native) {
    struct stat raw;
    if (::stat(native, &raw) != 0) return false;
    if (forWriting && (raw.st_mode & S_IWUSR) == 0) {
      errno = EACCES;
      return false;
    }
    return ::faccessat(AT_FDCWD, native, forWriting ? W_OK : R_OK, AT_EACCESS) == 0;
  });
  return isAllowed ? 0 : -1;
}

bool makeDirectory(std::string_view path) {
  const std::string native = nativePath(path);
  if (native.empty()) return false;
  if (::mkdir(native.c_str(), kAllMayEnter) == 0) {
    syncDirectoryOf(native);
    return true;
  }
  struct stat raw;
  return errno == EEXIST && ::stat(native.c_str(), &raw) == 0 && S_ISDIR(raw.st_mode);
}

bool createFile(std::string_view path) {
  const std::string native = nativePath(path);
  if (native.empty()) return false;
  const int descriptor = untilNotInterrupted([&] {
    return ::open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | kOpenAlways, kAllMayUse);
  });
  if (descriptor >= 0) {
    syncDirectoryOf(native);
    return ::close(descriptor) == 0;
  }
  struct stat raw;
  return errno == EEXIST && ::stat(native.c_str(), &raw) == 0 && S_ISREG(raw.st_mode);
}

bool removeFile(std::string_view path) {
  return withNativePath(path, [](const char* native) { return ::unlink(native) == 0; });
}

}  // namespace foldapi
