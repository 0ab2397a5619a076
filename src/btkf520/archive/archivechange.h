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

#include <cstdint>
#include <string>
#include <string_view>

#include "archivefile/parts.h"
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
  ~ArchiveChange();

  const std::string& path() const { return path_; }
  // What was written to.
  const os::File& file() const;

  // After the first sync: does what must not reach the disk before it. Everybody sees the change
  // then at the latest. With any status but TRVS_DONE the change is to be given up.
  [[nodiscard]] TrvsStatus conclude();
  // What is still to be synced then.
  enum class Rest {
    kNothing,
    kFile,  // file(); the change is to be given up if that fails.
    kName,  // What its directory says of it, by os::File::syncName(). Nobody can take that back.
  };
  Rest rest() const;
  // That may have failed, so that a power cut may still undo the change.
  void doubtName() { isNameSafe_ = false; }
  bool isNameSafe() const { return isNameSafe_; }
  // Makes the archive say what it said before, unless the new file has the name already.
  void giveUp();

  // Concludes it, with all syncs. With any status but TRVS_DONE it has been given up.
  [[nodiscard]] TrvsStatus finish();

  // Where the archive is now, locked: what was concluded, else what was there before.
  os::File takeFile();

  // For who writes it: a change begins with one of these two. A new file takes the place of the
  // old one, or of none.
  os::FileResult beginFile(const os::File* old);
  // A part after `end`, where `file` ends. That stays where it is until hold().
  void beginPart(const os::File& file, const archivefile::End& end);
  bool isAppended() const { return appended_ != nullptr; }
  // Makes it one that adds nothing: of that part nothing may have been written yet. What the file
  // says is synced all the same, since nobody knows whether it ever was.
  void leaveAsItIs();

  // Add to the part. May throw std::bad_alloc.
  os::FileResult write(std::string_view bytes);
  os::FileResult copy(const os::File& from, uint64_t offset, uint64_t size);
  uint64_t size() const;  // Of the file, with what was added.
  // Ends the part, with the records of its block and what its end is to say of its indexes.
  os::FileResult end(std::string_view records, const archivefile::EndRecord& indexes);
  const archivefile::End& ended() const { return end_; }
  // Gives a new file its rights: see os::SiblingFile.
  os::FileResult giveRights(const os::File* model) { return sibling_.giveRights(model); }
  void hold(os::File old);

 private:
  os::FileResult flush();
  os::FileResult endPart(std::string_view records);
  os::FileResult readUnproven(std::string* bytes) const;

  std::string path_;
  os::File held_;  // The old file, locked.
  archivefile::End end_;
  bool isConcluded_ = false;
  bool addsNothing_ = false;
  bool isNameSafe_ = true;

  os::SiblingFile sibling_;  // A new file,
  os::File done_;            // once it is concluded.

  const os::File* appended_ = nullptr;  // Or else the old one.
  archivefile::End before_;
  uint64_t written_ = 0;  // Where the next bytes go.
  std::string pending_;   // Not written yet: a narrow part is written at once.
  std::string tail_;      // Of a wide part, to be written after the first sync.
};

// What a failure to write means.
TrvsStatus writeStatus(os::FileResult result);

}  // namespace btkf
