// os/sibling_posix.cpp: what Linux does for files that take another's name.
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "os/calls_posix.h"
#include "os/rights_posix.h"
#include "os/sibling.h"

namespace os {
namespace {

bool cannotCopyThere(int error) {
  return error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ||
         error == EBADF;
}

}  // namespace

FileResult SiblingFile::copyInSystem(const File& from, uint64_t* offset, uint64_t* size) {
  auto place = static_cast<off_t>(*offset);
  FileResult result = FileResult::kDone;
  while (*size > 0) {
    auto target = static_cast<off_t>(written_);
    const ssize_t count = uninterrupted([&] {
      return ::copy_file_range(from.descriptor_, &place, file_.descriptor_, &target,
                               static_cast<size_t>(std::min<uint64_t>(*size, kLargestTransfer)), 0);
    });
    if (count < 0 && !cannotCopyThere(errno)) result = resultOf(errno);
    if (count <= 0) break;
    *size -= static_cast<uint64_t>(count);
    written_ += static_cast<uint64_t>(count);
  }
  *offset = static_cast<uint64_t>(place);
  return result;
}

FileResult SiblingFile::takeRights(const File* model, Writing writing, Running running) {
  mode_t mode = 0;
  const FileResult result = model == nullptr
                                ? giveUsualRights(place_.directory(), file_.descriptor_, &mode)
                                : copyRights(model->descriptor_, file_.descriptor_, &mode);
  if (result != FileResult::kDone && result != FileResult::kRefused) return result;
  if (writing != Writing::kAsBefore) {
    mode = modeFor(mode, writing == Writing::kAllowed, running);
  }
  const int changed = uninterrupted([&] { return ::fchmod(file_.descriptor_, mode & kModeBits); });
  return changed == 0 ? result : resultOf(errno);
}

FileResult SiblingFile::rename(Naming naming) {
  const int directory = place_.directory();
  const char* const from = ownPlace_.name().c_str();
  const char* const to = place_.name().c_str();
  if (naming == Naming::kReplace) {
    return resultOfCall(uninterrupted([=] { return ::renameat(directory, from, directory, to); }));
  }
  return renameToFree(directory, from, directory, to);
}

}  // namespace os
