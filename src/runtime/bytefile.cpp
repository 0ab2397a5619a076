// runtime/bytefile.cpp: whole files, read at once or replaced at once.
#include "runtime/bytefile.h"

#include <new>
#include <stdexcept>

#include "runtime/files.h"
#include "runtime/platform_file.h"

namespace foldapi {
namespace {

// How long a replacement waits for somebody who is replacing the same file: that takes one write
// and one sync.
constexpr int kReplaceAttempts = 200;
constexpr unsigned kReplacePause = 5;  // Milliseconds.

FileResult tryReplace(std::string_view path, std::string_view bytes) {
  FileStatus old;
  const bool isThere = readStat(path, &old);
  if (isThere && (!old.isRegular || checkAccess(path, 0x2) != 0)) return FileResult::kRefused;
  ByteFile placed;
  const FileResult result = placeNewFile(path, isThere ? &old : nullptr, bytes, &placed);
  if (result != FileResult::kMissing || !isThere) return result;
  ByteFile file;
  if (file.open(path, ByteFile::Mode::kUpdate) != FileResult::kOk) return FileResult::kRefused;
  return overwriteInPlace(file, old.size, bytes) ? FileResult::kOk : FileResult::kRefused;
}

}  // namespace

FileResult readFile(std::string_view path, std::string* bytes) {
  ByteFile file;
  const FileResult opened = file.open(path, ByteFile::Mode::kRead);
  if (opened != FileResult::kOk) return opened;
  FileStatus status;
  if (!file.readStatus(&status) || !status.isRegular) return FileResult::kRefused;
  try {
    bytes->resize(status.size);
  } catch (const std::bad_alloc&) {
    return FileResult::kNoMemory;
  } catch (const std::length_error&) {
    return FileResult::kNoMemory;
  }
  const int64_t count = file.readAt(0, bytes->data(), bytes->size());
  if (count < 0) return FileResult::kRefused;
  bytes->resize(static_cast<size_t>(count));
  return FileResult::kOk;
}

bool replaceFile(std::string_view path, std::string_view bytes) {
  FileResult result = FileResult::kBusy;
  for (int attempt = 0; attempt < kReplaceAttempts; ++attempt) {
    result = tryReplace(path, bytes);
    if (result != FileResult::kBusy) break;
    sleepMilliseconds(kReplacePause);
  }
  return result == FileResult::kOk;
}

}  // namespace foldapi
