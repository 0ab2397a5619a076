// btkf520/archive/archivechange.h: a change of an archive file from its first byte to its promise.
//
// A change is promised when no power cut can undo it, which takes one sync or two. Whoever changes
// many archives writes all of them, and lets them share their syncs:
//
//     archive->begin(model, &change)    for each; the Archive is needed no more
//     sync file()                       of each, or all of their file system
//     change->conclude()                for each
//     sync what rest() says             of each, or all of their file system
//
// finish() does that for one. Until a change is promised it holds the archive against other
// writers, and can be given up.
#pragma once

#include <string>
#include <utility>

#include "btkf520/btkf520.h"
#include "os/file.h"
#include "os/sibling.h"

namespace btkf {

class ArchiveChange {
 public:
  explicit ArchiveChange(std::string path) : path_(std::move(path)) {}
  ArchiveChange(const ArchiveChange&) = delete;
  ArchiveChange& operator=(const ArchiveChange&) = delete;
  // Gives it up unless it is concluded.
  ~ArchiveChange() = default;

  const std::string& path() const { return path_; }
  // What was written to.
  const os::File& file() const { return done_.isOpen() ? done_ : sibling_.file(); }

  // After the first sync: does what must not reach the disk before it, and lets everybody see the
  // change. With any status but TRVS_DONE the change is to be given up.
  [[nodiscard]] TrvsStatus conclude();
  // What is still to be synced then.
  enum class Rest {
    kNothing,
    kFile,  // file(); the change is to be given up if that fails.
    kName,  // What its directory says of it, by os::File::syncName().
  };
  Rest rest() const { return Rest::kName; }
  // Makes the archive say what it said before, unless the new file has the name already.
  void giveUp() { sibling_.giveUp(); }

  // Concludes it, with both syncs. With any status but TRVS_DONE it has been given up.
  [[nodiscard]] TrvsStatus finish();

  // Where the archive is now, locked: what was concluded, else what was there before.
  os::File takeFile() { return std::move(done_.isOpen() ? done_ : old_); }

  // For who writes it: the new file, and the one whose place it takes, locked; not open for none.
  os::SiblingFile& sibling() { return sibling_; }
  void hold(os::File old) { old_ = std::move(old); }

 private:
  std::string path_;
  os::File old_;
  os::SiblingFile sibling_;
  os::File done_;  // Once it is concluded.
};

// What a failure to write means.
TrvsStatus writeStatus(os::FileResult result);

}  // namespace btkf
