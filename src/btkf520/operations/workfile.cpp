// btkf520/operations/workfile.cpp: the steps of a new workfile.
#include "btkf520/operations/workfile.h"

#include <utility>

#include "btkf520/operations/times.h"

namespace btkf {
namespace {

using os::FileResult;
using os::SiblingFile;

TrvsStatus writeFailure(FileResult result) {
  switch (result) {
    case FileResult::kDone:
      return TRVS_DONE;
    case FileResult::kMissing:
      return TRVS_BAD_NAME;
    case FileResult::kBusy:
      return TRVS_IN_USE;
    case FileResult::kExists:
      return TRVS_WOULD_OVERWRITE;
    default:
      return TRVS_CANNOT_WRITE;
  }
}

}  // namespace

std::optional<os::FileStatus> statusAt(const std::string& path) {
  os::FileStatus status;
  if (os::readStatus(path.c_str(), &status) != FileResult::kDone) return {};
  return status;
}

std::optional<os::FileStatus> entryAt(const std::string& path) {
  os::FileStatus status;
  if (os::readEntryStatus(path.c_str(), &status) != FileResult::kDone) return {};
  return status;
}

bool isReplaceable(const os::FileStatus& entry) { return entry.isRegular || entry.isLink; }

TrvsStatus NewWorkfile::open(const std::string& path) {
  path_ = path;
  return writeFailure(file_.open(path_, SiblingFile::Others::kWelcome));
}

TrvsStatus NewWorkfile::write(std::string_view bytes) { return writeFailure(file_.write(bytes)); }

// Rights and time are set before anybody can see the file.
TrvsStatus NewWorkfile::complete(const WorkfileState& state) {
  os::File old;
  const bool isThere = old.open(file_.place(), os::File::Access::kRead) == FileResult::kDone;
  FileResult result = file_.giveRights(
      isThere ? &old : nullptr,
      state.isWritable ? SiblingFile::Writing::kAllowed : SiblingFile::Writing::kForbidden,
      state.running);
  // The file is the user's own: what can't be kept of an old one is let go.
  if (result == FileResult::kRefused) result = FileResult::kDone;
  if (result == FileResult::kDone && state.time != 0) {
    result = file_.setModificationTime(secondsOf(state.time));
  }
  return writeFailure(result);
}

// To set what is set already shows who may.
bool NewWorkfile::keep(const std::string& path, os::File* present, const WorkfileState& state) {
  if (present->setWritable(present->status().ownerMayWrite) != FileResult::kDone) return false;
  path_ = path;
  kept_ = std::move(*present);
  state_ = state;
  return true;
}

FileResult NewWorkfile::changeKept() const {
  const FileResult result = kept_.setWritable(state_.isWritable, state_.running);
  if (result != FileResult::kDone || state_.time == 0) return result;
  return kept_.setModificationTime(secondsOf(state_.time));
}

void NewWorkfile::replaceOnly(std::optional<os::FileStatus> seen) {
  isGuarded_ = true;
  seen_ = std::move(seen);
}

TrvsStatus NewWorkfile::check() const {
  return isGuarded_ && entryAt(path_) != seen_ ? TRVS_WOULD_OVERWRITE : TRVS_DONE;
}

TrvsStatus NewWorkfile::finish() {
  if (const TrvsStatus status = check()) return status;
  if (kept_.isOpen()) return writeFailure(changeKept());
  const auto naming =
      isGuarded_ && !seen_ ? SiblingFile::Naming::kNew : SiblingFile::Naming::kReplace;
  // A workfile that a power cut takes is in the archive: no need to wait for the disk.
  return writeFailure(file_.finish(naming, SiblingFile::Safety::kSoon, nullptr));
}

TrvsStatus readBytes(const std::string& path, Bytes* bytes) {
  os::File file;
  const FileResult result = file.open(path.c_str(), os::File::Access::kRead);
  if (const TrvsStatus status = readFailure(result, TRVS_NO_WORKFILE)) return status;
  Bytes whole(file.size());
  if (!file.readAt(0, whole.data(), whole.size())) return TRVS_CANNOT_OPEN;
  *bytes = std::move(whole);
  return TRVS_DONE;
}

TrvsStatus readFailure(FileResult result, TrvsStatus missing) {
  switch (result) {
    case FileResult::kDone:
      return TRVS_DONE;
    case FileResult::kMissing:
      return missing;
    default:
      return TRVS_CANNOT_OPEN;
  }
}

}  // namespace btkf
