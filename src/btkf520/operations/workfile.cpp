// btkf520/operations/workfile.cpp: the steps of a new workfile.
#include "btkf520/operations/workfile.h"

#include <utility>

namespace btkf {
namespace {

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

TrvsStatus NewWorkfile::open(const std::string& path) {
  path_ = linkTarget(path);
  if (const TrvsStatus status = writeFailure(file_.open(path_))) return status;
  InputFile old;
  if (old.open(path_) == FileResult::kDone) file_.imitate(old);
  return TRVS_DONE;
}

TrvsStatus NewWorkfile::write(std::string_view bytes) { return writeFailure(file_.write(bytes)); }

// Mode and time are set before anybody can see the file.
TrvsStatus NewWorkfile::complete(bool isWritable, PackedTime time) {
  if (const TrvsStatus status = writeFailure(file_.flush())) return status;
  const auto seconds = secondsOf(time);
  const bool isTimed = time == 0 || (seconds && file_.setChangeTime(*seconds));
  return isTimed && file_.setWritable(isWritable) ? TRVS_DONE : TRVS_CANNOT_WRITE;
}

void NewWorkfile::replaceOnly(std::optional<WorkfileState> seen) {
  isGuarded_ = true;
  seen_ = std::move(seen);
}

TrvsStatus NewWorkfile::check() const {
  return isGuarded_ && workfileState(path_) != seen_ ? TRVS_WOULD_OVERWRITE : TRVS_DONE;
}

TrvsStatus NewWorkfile::finish() {
  if (const TrvsStatus status = check()) return status;
  const auto naming =
      isGuarded_ && !seen_ ? SiblingFile::Naming::kNew : SiblingFile::Naming::kReplace;
  // A workfile that a power cut takes is in the archive: no need to wait for the disk.
  return writeFailure(file_.finish(naming, SiblingFile::Safety::kSoon, nullptr));
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
