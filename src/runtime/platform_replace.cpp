// runtime/platform_replace.cpp: how a whole file changes at one instant.
//
// The new content goes into a sibling, which is synced and then renamed over the file. The sibling
// has one name for each file and is locked while it is written: one that nobody has locked was left
// by a writer that was killed, and is removed. The lock is taken before the rename, so nobody finds
// the new file free while its writer still holds the old one.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "runtime/platform_file.h"
#include "runtime/platform_path.h"

namespace foldapi {
namespace {

constexpr char kSiblingSuffix[] = ".trvs-new";
constexpr int kSiblingAttempts = 100;

bool isOutOfSpace(int error) {
  return error == ENOSPC || error == EDQUOT || error == EFBIG || error == EIO || error == ENOMEM ||
         error == EMFILE || error == ENFILE;
}

// What a failed step says: the file must be written where it stands, or nothing can be done.
FileResult siblingFailure(int error) {
  return isOutOfSpace(error) ? FileResult::kRefused : FileResult::kMissing;
}

// The file that a path means, behind all symbolic links; the path itself if there is no file.
std::string resolveLinks(const std::string& native) {
  char* const real = ::realpath(native.c_str(), nullptr);
  if (real == nullptr) return native;
  std::string result(real);
  std::free(real);
  return result;
}

}  // namespace

// Some file systems can't sync a directory; what was done to it can't be taken back either way.
void syncDirectoryOf(const std::string& native) {
  const size_t slash = native.find_last_of('/', native.find_last_not_of('/'));
  const std::string parent = slash == std::string::npos ? "." : native.substr(0, slash + 1);
  const int descriptor = ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

// The sibling of a file from its making to its rename; removed if it doesn't come to that.
class SiblingFile {
 public:
  explicit SiblingFile(std::string target)
      : target_(std::move(target)), path_(target_ + kSiblingSuffix) {}
  SiblingFile(const SiblingFile&) = delete;
  SiblingFile& operator=(const SiblingFile&) = delete;
  ~SiblingFile() {
    if (file_.isOpen()) ::unlink(path_.c_str());
  }

  // Makes an empty sibling, locked.
  FileResult make() {
    for (int attempt = 0; attempt < kSiblingAttempts; ++attempt) {
      const int descriptor =
          ::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
      if (descriptor < 0 && errno != EEXIST) return siblingFailure(errno);
      if (descriptor < 0) {
        const FileResult cleared = clearLeftover();
        if (cleared != FileResult::kOk) return cleared;
        continue;
      }
      ByteFile file;
      file.descriptor_ = descriptor;
      // If that fails somebody took it for a leftover just now: make it again.
      if (file.tryLock(ByteFile::Lock::kExclusive) != FileResult::kOk || !isSibling(file)) continue;
      file_ = std::move(file);
      return FileResult::kOk;
    }
    return FileResult::kBusy;
  }

  // Gives the sibling the mode and, where allowed, the owner of the file that it will replace.
  // False if that would shut out the group that shares the file.
  bool takeOverRights() {
    struct stat old, own;
    if (::stat(target_.c_str(), &old) != 0 || ::fstat(file_.descriptor_, &own) != 0) return false;
    const bool isOwnerKept = ::fchown(file_.descriptor_, old.st_uid, old.st_gid) == 0;
    const bool isGroupKept = isOwnerKept || old.st_gid == own.st_gid ||
                             ::fchown(file_.descriptor_, static_cast<uid_t>(-1), old.st_gid) == 0;
    return isGroupKept && ::fchmod(file_.descriptor_, old.st_mode & 07777) == 0;
  }

  FileResult write(std::string_view bytes) {
    return file_.writeAt(0, bytes) && file_.sync() ? FileResult::kOk : FileResult::kRefused;
  }

  FileResult takePlace(ByteFile* placed) {
    if (::rename(path_.c_str(), target_.c_str()) != 0) return siblingFailure(errno);
    syncDirectoryOf(target_);
    *placed = std::move(file_);
    return FileResult::kOk;
  }

 private:
  // Whether `file` is what the sibling's path names.
  bool isSibling(const ByteFile& file) const {
    struct stat named, own;
    return ::lstat(path_.c_str(), &named) == 0 && ::fstat(file.descriptor_, &own) == 0 &&
           named.st_dev == own.st_dev && named.st_ino == own.st_ino;
  }

  // Removes a sibling that no living writer holds.
  FileResult clearLeftover() {
    ByteFile leftover;
    constexpr int kAlways = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    // Network mounts give exclusive locks to those only who may write.
    leftover.descriptor_ = ::open(path_.c_str(), O_RDWR | kAlways);
    if (!leftover.isOpen() && errno == EACCES) {
      leftover.descriptor_ = ::open(path_.c_str(), O_RDONLY | kAlways);
    }
    if (!leftover.isOpen()) {
      return errno == ENOENT ? FileResult::kOk : siblingFailure(errno);
    }
    const FileResult lock = leftover.tryLock(ByteFile::Lock::kExclusive);
    if (lock != FileResult::kOk) return lock;
    if (!isSibling(leftover)) return FileResult::kOk;
    const bool isGone = ::unlink(path_.c_str()) == 0 || errno == ENOENT;
    return isGone ? FileResult::kOk : siblingFailure(errno);
  }

  std::string target_;
  std::string path_;
  ByteFile file_;
};

FileResult placeNewFile(std::string_view path, const FileStatus* old, std::string_view bytes,
                        ByteFile* placed) {
  const std::string native = nativePath(path);
  if (native.empty()) return FileResult::kRefused;
  SiblingFile sibling(resolveLinks(native));
  FileResult result = sibling.make();
  if (result != FileResult::kOk) return result;
  if (old != nullptr && !sibling.takeOverRights()) return FileResult::kMissing;
  result = sibling.write(bytes);
  return result == FileResult::kOk ? sibling.takePlace(placed) : result;
}

bool overwriteInPlace(const ByteFile& file, uint64_t oldSize, std::string_view bytes) {
  const std::string_view start = bytes.substr(0, oldSize);
  const std::string_view growth = bytes.substr(start.size());
  if (!growth.empty() && !(file.writeAt(oldSize, growth) && file.sync())) {
    file.setSize(oldSize);
    return false;
  }
  return file.writeAt(0, start) && (start.size() == oldSize || file.setSize(start.size())) &&
         file.sync();
}

}  // namespace foldapi
