// btkf520/operations/workfile.cpp: the two steps of a new workfile.
#include "btkf520/operations/workfile.h"

#include "btkf520/platform_workfile.h"

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
    default:
      return kCannotWrite;
  }
}

}  // namespace

Status NewWorkfile::write(const std::string& path, std::string_view bytes) {
  path_ = linkTarget(path);
  if (const Status status = writeFailure(file_.open(path_))) return status;
  InputFile old;
  if (old.open(path_) == FileResult::kDone) file_.imitate(old);
  return writeFailure(file_.write(bytes));
}

Status NewWorkfile::finish(bool isWritable, PackedTime time) {
  // A workfile that a power cut takes is in the archive: no need to wait for the disk.
  const FileResult result =
      file_.finish(SiblingFile::Naming::kReplace, SiblingFile::Safety::kSoon, nullptr);
  if (const Status status = writeFailure(result)) return status;
  const bool isDone = setWritable(path_, isWritable) && (time == 0 || setChangeTime(path_, time));
  return isDone ? kDone : kCannotWrite;
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
