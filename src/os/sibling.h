// os/sibling.h: how a whole file changes at one instant.
//
// The new content goes into a sibling, which is synced and then renamed over the file: a kill or a
// power cut at any moment leaves the old content or the new. The sibling has one name for each
// file, the file's own, cut short if need be, and ".trvs-new"; and it is locked as long as it is
// written. So it keeps others from replacing the same file, and one that nobody has locked was left
// by a writer that was killed, and is removed by the next. The lock is taken before the rename and
// goes on with the file that then has the name, so nobody finds that one free while its writer
// still holds the old one.
//
// Till it is whole nobody but its owner may open it. So another user can neither tell whether it is
// left over nor, in some directories, remove it, and takes the next name, with a digit at the end:
// siblings exclude the writers of one user. Writers of several need a lock on the file itself.
//
// A path is the operating system's, and is taken as it is: who wants a link to stay one gives the
// place that it leads to (os/place.h). All happens in that place's directory, whatever the path
// leads to meanwhile.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "os/file.h"
#include "os/place.h"

namespace os {

// The name of what stands beside a file: the file's own, cut short if need be, the mark, and the
// number unless that is 0.
constexpr std::string_view kSiblingMark = ".trvs-new";
constexpr std::string_view kCutMark = ".trvs-cut";  // What was cut off the file, to be looked at.
std::string nameBeside(const std::string& name, std::string_view mark, int number);

class SiblingFile {
 public:
  // Whether a file of that name stands beside another for us: what is left of a writer that was
  // killed, on this system or on Windows, and what was cut off.
  static bool hasName(std::string_view name);

  SiblingFile() = default;
  SiblingFile(const SiblingFile&) = delete;
  SiblingFile& operator=(const SiblingFile&) = delete;
  ~SiblingFile() { giveUp(); }

  enum class Others {
    kPossible,  // Others may be writing the same file at this moment.
    kWelcome,   // The same, and the last one wins: where the file system has no locks each has a
                // name of his own.
    kExcluded,  // The caller sees to it that there is none: what stands beside the file is left
                // over, and it may do without a lock where the file system has none.
  };

  // kBusy if another is writing it. Gives up what was open before. Nobody else may use it until
  // giveRights().
  FileResult open(const Place& place, Others others = Others::kPossible);
  FileResult open(const std::string& path, Others others = Others::kPossible);
  // Of the file that is to be replaced.
  const Place& place() const { return place_; }

  // Both add at the end, sooner or later. May throw std::bad_alloc.
  FileResult write(std::string_view bytes);
  FileResult copy(const File& from, uint64_t offset, uint64_t size);
  // Writes again what is there already.
  FileResult rewrite(uint64_t offset, std::string_view bytes);
  uint64_t size() const { return written_ + pending_.size(); }
  // Writes what is still to be written, so that a full disk shows now.
  FileResult flush();
  // To be called when all is written, and maybe before, to see what can be given: gives the file
  // the rights of `model`, the open one that is to be replaced: group, mode, access list, what
  // users noted on it, and its owner where that is allowed. Without one, those of any new file.
  // kRefused if something else than the owner can't be kept; what can be kept is. kBusy if another
  // file has taken the place of `model`.
  enum class Writing { kAsBefore, kAllowed, kForbidden };  // For the owner; kForbidden for all.
  FileResult giveRights(const File* model, Writing writing = Writing::kAsBefore,
                        Running running = Running::kAsBefore);
  // When it was changed, in seconds since 1970. Also when all is written.
  FileResult setModificationTime(int64_t seconds) const;

  enum class Naming { kReplace, kNew };  // kNew: kExists if there is a file of that name.
  enum class Safety { kOnDisk, kSoon };  // kOnDisk: a power cut does not undo it.

  // Takes over the name. With any result but kDone the other file is as it was; kBusy if it is no
  // longer the one that giveRights() was given, unless others are welcome. *finished, which may be
  // null, becomes the file, open and locked.
  FileResult finish(Naming naming, Safety safety, File* finished);
  // Removes the file unless it is finished.
  void giveUp();

  const File& file() const { return file_; }

  // Does all of that for a file that is to hold `bytes`. `old` is the one to be replaced, open for
  // updating, null if there is none. Where no sibling could be opened, or it can't take over the
  // old one's rights, the old one is written where it stands. *placed, which may be null, becomes
  // the new file, open and locked; it is closed if that is the old one. With any result but kDone
  // the old one is as it was, unless the disk failed just while it was written where it stands.
  // kExists if there was none and is one now.
  FileResult replace(const File* old, std::string_view bytes, File* placed);

 private:
  FileResult openThere();
  FileResult create();
  FileResult replaceBeside(const File* old, std::string_view bytes, File* placed);
  FileResult removeLeftover() const;
  FileResult writeOut(std::string_view bytes);
  FileResult takeName(Naming naming);
  // These three are each system's own. The first copies what it can, and moves on by as much.
  FileResult copyInSystem(const File& from, uint64_t* offset, uint64_t* size);
  FileResult takeRights(const File* model, Writing writing, Running running);
  FileResult rename(Naming naming);
  bool isStill(const Place& place) const;

  Place place_;
  Place ownPlace_;
  std::optional<FileIdentity> model_;
  Others others_ = Others::kPossible;
  File file_;
  bool isLocked_ = false;
  uint64_t written_ = 0;
  std::string pending_;  // Not written yet, so that many small pieces make one write.
};

// The same in one step: puts a new file that holds `bytes` in the place of the old one. See
// SiblingFile::replace().
FileResult replaceFile(const Place& place, const File* old, std::string_view bytes, File* placed);

}  // namespace os
