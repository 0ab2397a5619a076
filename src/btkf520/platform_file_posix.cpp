// btkf520/platform_file_posix.cpp: files that are read, mapped, locked and replaced, on Linux.
//
// Locks are flock's: they belong to the open file, so they go with the process that dies, and two
// objects of one process exclude each other too.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "btkf520/platform_file.h"

namespace btkf {
namespace {

constexpr size_t kWideFile = 1 << 20;     // From here on contents are mapped.
constexpr size_t kWideWrite = 64 << 10;   // Up to it pieces are collected.
constexpr uint64_t kWideCopy = 32 << 10;  // From here on the kernel copies, and shares if it can.
constexpr size_t kLargestTransfer = 1 << 30;
constexpr int kTries = 100;  // While others rename and remove the file that is being opened.
constexpr mode_t kModeBits = 07777;

FileResult resultOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return FileResult::kMissing;
    case EEXIST:
      return FileResult::kExists;
    case EWOULDBLOCK:
      return FileResult::kBusy;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ELOOP:
    case ENXIO:
      return FileResult::kRefused;
    default:
      return FileResult::kFailed;
  }
}

FileResult lock(int descriptor) {
  return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0 ? FileResult::kDone : resultOf(errno);
}

// Whether `path` itself, not what a link there points to, is the open file.
bool isAt(int descriptor, const std::string& path) {
  struct stat open {};
  struct stat named {};
  return ::fstat(descriptor, &open) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

std::string directoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Where a file is written that will have the name `path`.
std::string siblingOf(const std::string& path) {
  constexpr std::string_view kSuffix = ".trvs-new";
  constexpr size_t kLongestName = 255;
  const size_t name = path.rfind('/') + 1;  // 0 with none.
  return path.substr(0, name + std::min(path.size() - name, kLongestName - kSuffix.size())) +
         std::string(kSuffix);
}

// What the directory now says about the open file `path` stays said after a power cut. A directory
// that may not be read is synced with all of its disk. Where neither works there is nothing more to
// do, and nothing that could be taken back.
void syncDirectory(const std::string& path, int file) {
  const int directory = ::open(directoryOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0 || ::fsync(directory) != 0) ::syncfs(file);
  if (directory >= 0) ::close(directory);
}

bool cannotCopyThere(int error) {
  return error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ||
         error == EBADF;
}

}  // namespace

InputFile::InputFile(InputFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      size_(other.size_),
      hasFailed_(other.hasFailed_) {}

InputFile& InputFile::operator=(InputFile&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(size_, other.size_);
  std::swap(hasFailed_, other.hasFailed_);
  return *this;
}

InputFile::~InputFile() { close(); }

void InputFile::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

// Owns `descriptor` from now on, which may be -1 with errno set.
FileResult InputFile::take(int descriptor) {
  close();
  if (descriptor < 0) return resultOf(errno);
  descriptor_ = descriptor;
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return FileResult::kFailed;
  if (!S_ISREG(status.st_mode)) {
    close();
    return FileResult::kRefused;
  }
  size_ = static_cast<uint64_t>(status.st_size);
  return FileResult::kDone;
}

FileResult InputFile::open(const std::string& path) {
  return take(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
}

FileResult InputFile::openLocked(const std::string& path) {
  for (int tries = 0; tries < kTries; ++tries) {
    // Network file systems grant locks to files that are open for writing only.
    int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0 && errno != ENOENT) {
      descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    }
    FileResult result = take(descriptor);
    if (result == FileResult::kDone) result = lock(descriptor_);
    if (result != FileResult::kDone) {
      close();
      return result;
    }
    if (isAt(descriptor_, path)) return FileResult::kDone;
  }
  close();
  return FileResult::kBusy;
}

bool InputFile::readAt(uint64_t offset, char* buffer, size_t size) const {
  while (size > 0) {
    const ssize_t count =
        ::pread(descriptor_, buffer, std::min(size, kLargestTransfer), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) hasFailed_ = true;
    if (count <= 0) return false;
    buffer += count;
    offset += static_cast<uint64_t>(count);
    size -= static_cast<size_t>(count);
  }
  return true;
}

MappedFile::~MappedFile() {
  if (data_ != nullptr && data_ != small_.data()) ::munmap(const_cast<char*>(data_), size_);
}

FileResult MappedFile::open(const std::string& path) {
  InputFile file;
  const FileResult result = file.open(path);
  if (result != FileResult::kDone) return result;
  const auto size = static_cast<size_t>(file.size());
  if (size < kWideFile) {
    small_.resize(size);
    if (!file.readAt(0, small_.data(), size)) return FileResult::kFailed;
    data_ = small_.data();
  } else {
    void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.descriptor_, 0);
    if (memory == MAP_FAILED) return FileResult::kFailed;
    data_ = static_cast<const char*>(memory);
  }
  size_ = size;
  return FileResult::kDone;
}

SiblingFile::~SiblingFile() {
  if (descriptor_ < 0) return;
  ::unlink(ownPath_.c_str());  // While it is locked: nobody else can have taken the name.
  ::close(descriptor_);
}

FileResult SiblingFile::open(const std::string& path, Others others) {
  path_ = path;
  ownPath_ = siblingOf(path);
  others_ = others;
  for (int tries = 0; tries < kTries; ++tries) {
    FileResult result = create();
    if (result == FileResult::kExists) result = removeLeftover();
    if (result != FileResult::kDone) return result;
    if (descriptor_ >= 0) return FileResult::kDone;
  }
  return FileResult::kBusy;
}

// Makes and locks the file. kDone without a descriptor: another took it for a leftover before it
// was locked.
FileResult SiblingFile::create() {
  const int descriptor = ::open(ownPath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor < 0) return resultOf(errno);
  const FileResult result = lock(descriptor);
  if (result == FileResult::kDone && isAt(descriptor, ownPath_)) {
    descriptor_ = descriptor;
  } else {
    ::close(descriptor);
  }
  return result;
}

FileResult SiblingFile::removeLeftover() const {
  if (others_ == Others::kPossible) return removeUnlocked();
  const bool isGone = ::unlink(ownPath_.c_str()) == 0 || errno == ENOENT;
  return isGone ? FileResult::kDone : resultOf(errno);
}

FileResult SiblingFile::removeUnlocked() const {
  const int descriptor = ::open(ownPath_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (descriptor < 0) {
    const FileResult result = resultOf(errno);
    return result == FileResult::kMissing ? FileResult::kDone : result;
  }
  FileResult result = lock(descriptor);
  if (result == FileResult::kDone && isAt(descriptor, ownPath_) &&
      ::unlink(ownPath_.c_str()) != 0) {
    result = resultOf(errno);
  }
  ::close(descriptor);
  return result;
}

void SiblingFile::imitate(const InputFile& model) {
  struct stat status {};
  if (::fstat(model.descriptor_, &status) != 0) return;
  // The owner first: a change of owner may take bits from the mode. It may well be refused.
  if (::fchown(descriptor_, status.st_uid, status.st_gid) != 0 && errno == EPERM) {
    if (::fchown(descriptor_, static_cast<uid_t>(-1), status.st_gid) != 0) errno = 0;
  }
  ::fchmod(descriptor_, status.st_mode & kModeBits);
}

FileResult SiblingFile::write(std::string_view bytes) {
  if (pending_.size() + bytes.size() <= kWideWrite) {
    pending_ += bytes;
    return FileResult::kDone;
  }
  const FileResult result = flush();
  return result == FileResult::kDone ? writeOut(bytes) : result;
}

FileResult SiblingFile::flush() {
  const FileResult result = writeOut(pending_);
  pending_.clear();
  return result;
}

bool SiblingFile::setWritable(bool isWritable) const {
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0) return false;
  const mode_t mode = status.st_mode & kModeBits;
  return ::fchmod(descriptor_,
                  isWritable ? mode | S_IWUSR : mode & ~mode_t{S_IWUSR | S_IWGRP | S_IWOTH}) == 0;
}

bool SiblingFile::setChangeTime(int64_t seconds) const {
  const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(seconds), 0}};
  return ::futimens(descriptor_, times) == 0;
}

FileResult SiblingFile::writeOut(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count =
        ::write(descriptor_, bytes.data(), std::min(bytes.size(), kLargestTransfer));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return resultOf(errno);
    bytes.remove_prefix(static_cast<size_t>(count));
  }
  return FileResult::kDone;
}

FileResult SiblingFile::copy(const InputFile& from, uint64_t offset, uint64_t size) {
  if (size >= kWideCopy) {
    if (const FileResult result = flush(); result != FileResult::kDone) return result;
    auto place = static_cast<off_t>(offset);
    while (size > 0) {
      const ssize_t count =
          ::copy_file_range(from.descriptor_, &place, descriptor_, nullptr,
                            static_cast<size_t>(std::min<uint64_t>(size, kLargestTransfer)), 0);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0 && !cannotCopyThere(errno)) return resultOf(errno);
      if (count <= 0) break;
      size -= static_cast<uint64_t>(count);
    }
    offset = static_cast<uint64_t>(place);
  }
  // By hand: little pieces, and where the kernel could not.
  while (size > 0) {
    const auto count = static_cast<size_t>(std::min<uint64_t>(size, kWideWrite));
    std::string piece(count, '\0');
    if (!from.readAt(offset, piece.data(), count)) return FileResult::kFailed;
    if (const FileResult result = write(piece); result != FileResult::kDone) return result;
    offset += count;
    size -= count;
  }
  return FileResult::kDone;
}

FileResult SiblingFile::takeName(Naming naming) const {
  if (naming == Naming::kReplace) {
    return ::rename(ownPath_.c_str(), path_.c_str()) == 0 ? FileResult::kDone : resultOf(errno);
  }
  if (::renameat2(AT_FDCWD, ownPath_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0) {
    return FileResult::kDone;
  }
  if (errno != EINVAL && errno != ENOSYS) return resultOf(errno);
  // A file system that can't do that in one step: for a moment the file has both names.
  if (::link(ownPath_.c_str(), path_.c_str()) != 0) return resultOf(errno);
  ::unlink(ownPath_.c_str());
  return FileResult::kDone;
}

FileResult SiblingFile::finish(Naming naming, Safety safety, InputFile* finished) {
  FileResult result = flush();
  if (result == FileResult::kDone && safety == Safety::kOnDisk && ::fsync(descriptor_) != 0) {
    result = resultOf(errno);
  }
  if (result == FileResult::kDone) result = takeName(naming);
  if (result != FileResult::kDone) return result;
  if (safety == Safety::kOnDisk) syncDirectory(path_, descriptor_);
  const int descriptor = std::exchange(descriptor_, -1);
  if (finished == nullptr) {
    ::close(descriptor);
    return FileResult::kDone;
  }
  return finished->take(descriptor);
}

std::string linkTarget(const std::string& path) {
  std::string result = path;
  for (int links = 0; links < kTries; ++links) {
    std::string target(4096, '\0');
    const ssize_t length = ::readlink(result.c_str(), target.data(), target.size());
    if (length <= 0) break;
    target.resize(static_cast<size_t>(length));
    result = target.front() == '/' ? target : directoryOf(result) + '/' + target;
  }
  return result;
}

}  // namespace btkf
