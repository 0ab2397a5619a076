// os/file.cpp: what can be said of files in terms of what any system offers.
#include "os/file.h"

#include <utility>

#include "os/calls.h"

namespace os {

File::File(File&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      failure_(other.failure_),
      status_(other.status_),
      place_(std::move(other.place_)) {}

File& File::operator=(File&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(failure_, other.failure_);
  std::swap(status_, other.status_);
  std::swap(place_, other.place_);
  return *this;
}

FileResult File::openToLock(const Place& place, Access access) {
  FileResult result = open(place, access);
  if (result == FileResult::kDone) result = tryLock(Lock::kExclusive);
  if (result != FileResult::kDone) close();
  return result;
}

// Hardly any path leads to a link, which is refused.
FileResult File::openLocked(const char* path) {
  Place place;
  FileResult result = Place::of(path, &place);
  if (result == FileResult::kDone) result = openLocked(place);
  if (result != FileResult::kRefused) return result;
  result = Place::find(path, &place);
  return result == FileResult::kDone ? openLocked(place) : result;
}

FileResult File::openLocked(const Place& place) {
  for (int tries = 0; tries < kTries; ++tries) {
    const FileResult result = openToLock(place, Access::kUpdate);
    if (result == FileResult::kStale) continue;
    if (result != FileResult::kDone || confirm()) return result;
  }
  close();
  return FileResult::kBusy;
}

bool File::confirm() { return isAt(place_, status_.identity, &status_); }

bool File::readAt(uint64_t offset, void* buffer, size_t size) const {
  const int64_t count = readUpTo(descriptor_, offset, buffer, size);
  const bool isWhole = count == static_cast<int64_t>(size);
  if (count < 0) {
    failure_ = failureOfOpenFile();
  } else if (!isWhole && offset + size <= status_.size) {
    failure_ = FileResult::kFailed;
  }
  return isWhole;
}

FileResult File::readAll(uint64_t largest, std::string* bytes) {
  std::string text;
  for (int tries = 0; tries < kTries && size() <= largest; ++tries) {
    text.resize(static_cast<size_t>(size()) + 1);  // More than that means that it has grown.
    const int64_t count = readUpTo(descriptor_, 0, text.data(), text.size());
    if (count == static_cast<int64_t>(size())) {
      text.pop_back();
      *bytes = std::move(text);
      return FileResult::kDone;
    }
    if (count < 0) return failureOfOpenFile();
    if (!refresh()) return failure();
  }
  return size() > largest ? FileResult::kTooLarge : FileResult::kFailed;
}

FileResult readFile(const char* path, uint64_t largest, std::string* bytes, FileStatus* status) {
  File file;
  FileResult result = FileResult::kStale;
  for (int tries = 0; tries < kTries && result == FileResult::kStale; ++tries) {
    result = file.open(path, File::Access::kRead);
    if (result == FileResult::kDone) result = file.readAll(largest, bytes);
  }
  if (result == FileResult::kDone && status != nullptr) *status = file.status();
  return result;
}

FileResult makeFile(const std::string& path) {
  const FileResult result = makeNewFile(path);
  FileStatus status;
  const bool isThere = result == FileResult::kExists &&
                       readStatus(path.c_str(), &status) == FileResult::kDone && status.isRegular;
  return isThere ? FileResult::kDone : result;
}

FileResult checkAccess(const char* path, File::Access access) {
  FileStatus status;
  const FileResult result = readStatus(path, &status);
  if (result != FileResult::kDone) return result;
  const bool isRefused = access == File::Access::kUpdate && !status.ownerMayWrite;
  return isRefused ? FileResult::kRefused : askAccess(path, access);
}

FileResult setWritable(const char* path, bool isWritable) {
  File file;  // Another one may take the path at any time, and has a mode of its own.
  const FileResult result = file.open(path, File::Access::kRead);
  return result == FileResult::kDone ? file.setWritable(isWritable) : result;
}

}  // namespace os
