// base/vfile.cpp: appends at once, replaces at the end.
//
// Configuration files are shared and only ever appended to, so an append must not carry away what
// another program has written since the file was opened. Archives of objects are written whole.
#include "base/vfile.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "os/clock.h"
#include "runtime/files.h"

namespace foldapi {
namespace {

constexpr int kLockAttempts = 500;
constexpr unsigned kLockPause = 2;  // Milliseconds.

std::FILE* standardStream(int mode) {
  switch (mode) {
    case VFile::kStandardInput:
      return stdin;
    case VFile::kStandardOutput:
      return stdout;
    case VFile::kStandardError:
      return stderr;
    default:
      return nullptr;
  }
}

}  // namespace

VFile::~VFile() {
  try {
    static_cast<void>(close());
  } catch (...) {  // Out of memory: the file stays as it was.
  }
}

VBool VFile::open(int mode) {
  if (!close()) return false;
  position_ = 0;
  content_.clear();
  isAppended_ = isReplaced_ = false;
  failure_ = os::FileResult::kDone;
  const bool isOpened = mode >= kPrinter ? standardStream(mode) != nullptr : openFile(mode);
  if (isOpened) mode_ = mode;
  return isOpened;
}

bool VFile::openFile(int mode) {
  if (mode != kCreate && mode != kRead && mode != kWrite && mode != kReadWrite) return false;
  if (mode == kCreate && !createFile(path_.view())) return false;
  const auto access = mode == kRead ? os::File::Access::kRead : os::File::Access::kUpdate;
  failure_ = foldapi::openFile(path_.view(), access, &file_);
  if (failure_ != os::FileResult::kDone) return false;
  isReplaced_ = mode == kCreate;
  if (mode == kCreate || readFile(path_.view(), &content_)) return true;
  file_.close();
  return false;
}

VBool VFile::close() {
  if (mode_ == kClosed) return true;
  bool isDone = true;
  if (isStandard()) {
    std::FILE* const stream = standardStream(mode_);
    isDone = stream == stdin || std::fflush(stream) == 0;
  }
  if (isReplaced_) isDone = replaceFile(path_.view(), content_);
  if (isAppended_) isDone = file_.sync() && isDone;
  isDone = file_.close() && isDone;
  mode_ = kClosed;
  content_.clear();
  return isDone;
}

VBool VFile::seek(int64_t position) {
  if (mode_ == kClosed || isStandard() || position < 0) return false;
  const bool isEnd = position >= kEnd || static_cast<uint64_t>(position) > content_.size();
  position_ = isEnd ? content_.size() : static_cast<size_t>(position);
  return true;
}

// Another program may have replaced the file since it was opened: what is locked must be what the
// path names.
bool VFile::lockToAppend() {
  for (int attempt = 0; attempt < kLockAttempts; ++attempt) {
    failure_ = file_.tryLock(os::File::Lock::kExclusive);
    if (failure_ == os::FileResult::kBusy) {
      os::sleepMilliseconds(kLockPause);
      continue;
    }
    if (failure_ == os::FileResult::kDone && file_.confirm()) return true;
    if (failure_ != os::FileResult::kDone && failure_ != os::FileResult::kStale) return false;
    failure_ = foldapi::openFile(path_.view(), os::File::Access::kUpdate, &file_);
    if (failure_ != os::FileResult::kDone) return false;
  }
  return false;
}

int32_t VFile::writeBytes(std::string_view bytes) {
  if (isStandard()) {
    std::FILE* const stream = standardStream(mode_);
    const bool isDone =
        stream != stdin && std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size();
    return isDone ? static_cast<int32_t>(bytes.size()) : -1;
  }
  if (!isWritable() || bytes.size() > INT32_MAX) return -1;
  const bool isAppend = !isReplaced_ && position_ == content_.size();
  if (isAppend) {
    if (!isAppended_ && !lockToAppend()) return -1;
    isAppended_ = true;
    if (!file_.append(bytes)) return -1;
  } else {
    isReplaced_ = true;
  }
  try {
    content_.replace(position_, std::min(bytes.size(), content_.size() - position_), bytes);
  } catch (const std::bad_alloc&) {
    return -1;
  }
  position_ += bytes.size();
  return static_cast<int32_t>(bytes.size());
}

std::string_view VFile::readBytes(size_t size) {
  if (isStandard()) return {};
  const std::string_view bytes = std::string_view(content_).substr(position_, size);
  position_ += bytes.size();
  return bytes;
}

}  // namespace foldapi
