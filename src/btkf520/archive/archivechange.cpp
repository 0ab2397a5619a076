// btkf520/archive/archivechange.cpp: the last steps of a change, and the syncs between them.
#include "btkf520/archive/archivechange.h"

namespace btkf {

using os::FileResult;

TrvsStatus ArchiveChange::conclude() {
  using os::SiblingFile;
  const auto naming = old_.isOpen() ? SiblingFile::Naming::kReplace : SiblingFile::Naming::kNew;
  return writeStatus(sibling_.finish(naming, SiblingFile::Safety::kSoon, &done_));
}

TrvsStatus ArchiveChange::finish() {
  TrvsStatus status = file().sync() ? conclude() : TRVS_CANNOT_WRITE;
  if (status != TRVS_DONE) {
    giveUp();
    return status;
  }
  done_.syncName();
  return TRVS_DONE;
}

TrvsStatus writeStatus(FileResult result) {
  switch (result) {
    case FileResult::kDone:
      return TRVS_DONE;
    case FileResult::kExists:
      return TRVS_ARCHIVE_EXISTS;
    case FileResult::kBusy:
      return TRVS_IN_USE;
    case FileResult::kNoLocks:
      return TRVS_CANNOT_OPEN;
    default:
      return TRVS_CANNOT_WRITE;
  }
}

}  // namespace btkf
