// btkf520/operations/workfile.cpp: the steps of a new workfile.
#include "btkf520/operations/workfile.h"

#include <utility>

namespace btkf {
namespace {

Status writeFailure(FileResult result) {
  switch (result) {
    case FileResult::kDone:
      return kDone;
    case FileResult::kMissing:
      return kBadName;
    case FileResult::kBusy:
      return kInUse;
    case FileResult::kExists:
      return kWouldOverwrite;
    default:
      return kCannotWrite;
  }
}

}  // namespace

Status NewWorkfile::open(const std::string& path) {
  path_ = linkTarget(path);
  if (const Status status = writeFailure(file_.open(path_))) return status;
  InputFile old;
  if (old.open(path_) == FileResult::kDone) file_.imitate(old);
  return kDone;
}

Status NewWorkfile::write(std::string_view bytes) { return writeFailure(file_.write(bytes)); }

// Mode and time are set before anybody can see the file.
Status NewWorkfile::complete(bool isWritable, PackedTime time) {
  if (const Status status = writeFailure(file_.flush())) return status;
  const auto seconds = secondsOf(time);
  const bool isTimed = time == 0 || (seconds && file_.setChangeTime(*seconds));
  return isTimed && file_.setWritable(isWritable) ? kDone : kCannotWrite;
}

void NewWorkfile::replaceOnly(std::optional<WorkfileState> seen) {
  isGuarded_ = true;
  seen_ = std::move(seen);
}

Status NewWorkfile::check() const {
  return isGuarded_ && workfileState(path_) != seen_ ? kWouldOverwrite : kDone;
}

Status NewWorkfile::finish() {
  if (const Status status = check()) return status;
  const auto naming =
      isGuarded_ && !seen_ ? SiblingFile::Naming::kNew : SiblingFile::Naming::kReplace;
  // A workfile that a power cut takes is in the archive: no need to wait for the disk.
  return writeFailure(file_.finish(naming, SiblingFile::Safety::kSoon, nullptr));
}

Status readFailure(FileResult result, Status missing) {
  switch (result) {
    case FileResult::kDone:
      return kDone;
    case FileResult::kMissing:
      return missing;
    default:
      return kCannotOpen;
  }
}

}  // namespace btkf
