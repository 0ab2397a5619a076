// runtime/files.cpp: what storage code asks and does by path text, in terms of the system's files.
#include "runtime/files.h"

#include <new>

#include "os/clock.h"
#include "os/directory.h"
#include "os/sibling.h"
#include "runtime/mbstring.h"
#include "runtime/nativepath.h"
#include "runtime/pathmap.h"
#include "runtime/paths.h"
#include "runtime/zone.h"

namespace foldapi {

namespace {

using os::FileResult;
using os::FileStatus;

// How long a replacement waits for somebody who is replacing the same file: that takes one write
// and one sync.
constexpr int kReplaceAttempts = 200;
constexpr unsigned kReplacePause = 5;  // Milliseconds.
constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;

FileResult tryReplace(const std::string& native, std::string_view bytes) {
  os::Place place;
  const FileResult found = os::Place::find(native, &place);
  if (found != FileResult::kDone) return found;
  os::File old;
  const FileResult opened = old.open(place, os::File::Access::kUpdate);
  if (opened != FileResult::kDone && opened != FileResult::kMissing) return opened;
  if (old.isOpen() && !old.status().ownerMayWrite) return FileResult::kRefused;
  os::File placed;
  return os::replaceFile(place, old.isOpen() ? &old : nullptr, bytes, &placed);
}

}  // namespace

FileStamp stampOf(const FileStatus& status) {
  return {packNanoseconds(status.nanoseconds), status.identity.device, status.identity.inode,
          status.size, status.nanoseconds};
}

bool readStat(std::string_view path, FileStatus* status) {
  return withNativePath(path, [status](const char* native) {
           return os::readStatus(native, status);
         }) == FileResult::kDone;
}

FileStamp fileStamp(std::string_view path) {
  FileStatus status;
  return readStat(path, &status) ? stampOf(status) : FileStamp{};
}

uint32_t fileTime(std::string_view path, uint32_t* out) {
  FileStatus status;
  const uint32_t packed = readStat(path, &status) ? packNanoseconds(status.nanoseconds) : 0;
  if (out != nullptr) *out = packed;
  return packed;
}

bool fileExists(std::string_view path) {
  FileStatus status;
  return readStat(path, &status) && (status.isRegular || status.isDirectory);
}

bool isDirectory(std::string_view path) {
  if (!path.empty() && (path.back() == '\\' || path.back() == '/') &&
      mbTrailOffset(path, path.size() - 1) == 0) {
    path.remove_suffix(1);
  }
  if (path.empty() || (path.size() == 2 && hasDrive(path))) return true;
  const int32_t attributes = getAttributes(path);
  return attributes != -1 && (attributes & kAttributeDirectory) != 0;
}

int32_t getAttributes(std::string_view path) {
  FileStatus status;
  if (!readStat(path, &status)) return -1;
  return (status.isDirectory ? kAttributeDirectory : 0) |
         (status.ownerMayWrite ? 0 : kAttributeReadOnly);
}

char driveLetter(std::string_view path) {
  return path.size() >= 2 && path[1] == ':' ? path[0] : '\0';
}

bool driveNotReady(char letter) {
  const std::string* const place = mappedDrive(letter);
  if (place != nullptr) return !isDirectory(*place);
  const bool isLetter = (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
  return !isLetter || !os::hasDrives() || !os::directoryState((std::string{letter} + ":/").c_str());
}

int setFileTime(std::string_view path, uint32_t packed) {
  int64_t nanoseconds = 0;
  if (!unpackNanoseconds(packed, &nanoseconds)) return -1;
  const FileResult result = withNativePath(path, [nanoseconds](const char* native) {
    return os::setModificationTime(native, nanoseconds / kNanosecondsPerSecond);
  });
  return result == FileResult::kDone ? 0 : -1;
}

FileResult checkAccess(std::string_view path, os::File::Access access) {
  return withNativePath(path,
                        [access](const char* native) { return os::checkAccess(native, access); });
}

FileResult openFile(std::string_view path, os::File::Access access, os::File* file) {
  return withNativePath(path, [=](const char* native) { return file->open(native, access); });
}

bool confirmFile(std::string_view path, os::File* file) {
  return withNativePath(path, [file](const char* native) {
           return file->confirm(native) ? FileResult::kDone : FileResult::kMissing;
         }) == FileResult::kDone;
}

bool readFile(std::string_view path, std::string* bytes) {
  try {
    return withNativePath(path, [bytes](const char* native) {
             return os::readFile(native, bytes->max_size() - 1, bytes);
           }) == FileResult::kDone;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool replaceFile(std::string_view path, std::string_view bytes) {
  const std::string native = nativePath(path);
  FileResult result = native.empty() ? FileResult::kRefused : FileResult::kBusy;
  for (int attempt = 0; attempt < kReplaceAttempts && result == FileResult::kBusy; ++attempt) {
    if (attempt > 0) os::sleepMilliseconds(kReplacePause);
    result = tryReplace(native, bytes);
    if (result == FileResult::kExists) result = FileResult::kBusy;  // It came meanwhile.
  }
  return result == FileResult::kDone;
}

bool createFile(std::string_view path) {
  const std::string native = nativePath(path);
  return !native.empty() && os::makeFile(native) == FileResult::kDone;
}

bool removeFile(std::string_view path) {
  return withNativePath(path, os::removeFile) == FileResult::kDone;
}

}  // namespace foldapi
