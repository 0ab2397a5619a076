// btkf520/operations/workfile.h: putting a revision's bytes where the user works.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "btkf520/archive/bytes.h"
#include "btkf520/archive/model.h"
#include "btkf520/btkf520.h"
#include "os/file.h"
#include "os/sibling.h"

namespace btkf {

// What is at a path of the system; nothing for nothing.
std::optional<os::FileStatus> statusAt(const std::string& path);
// The same for the entry itself. A link counts as a file that is there: what it leads to is
// another's affair, and would be lost unseen.
std::optional<os::FileStatus> entryAt(const std::string& path);
bool isReplaceable(const os::FileStatus& entry);

// What a workfile is to be, besides its content.
struct WorkfileState {
  bool isWritable = true;
  os::Running running = os::Running::kAsBefore;
  PackedTime time = 0;  // Of its change; 0: the present.
};

// A file on its way to the user: first all of it is written beside its place, which is where a full
// disk shows, then it takes its place, also that of a link. Gone without a trace if it is given up
// in between.
class NewWorkfile {
 public:
  // TRVS_BAD_NAME if there is no such directory, TRVS_IN_USE if another is writing the same one,
  // TRVS_CANNOT_WRITE.
  [[nodiscard]] TrvsStatus open(const std::string& path);
  // Adds at the end. TRVS_CANNOT_WRITE.
  [[nodiscard]] TrvsStatus write(std::string_view bytes);
  // To be called when all is written. TRVS_CANNOT_WRITE.
  [[nodiscard]] TrvsStatus complete(const WorkfileState& state);
  // In the place of these three, for an open file at `path` that has the content already: it stays,
  // with its inode, and with its time if `state` has none. False for one that only its owner could
  // change, which is to be replaced. Else the file is taken over.
  [[nodiscard]] bool keep(const std::string& path, os::File* present, const WorkfileState& state);

  // Tells what was seen at the file's place, nothing for no file, when it was decided that it may
  // be replaced. Without this anything may be.
  void replaceOnly(std::optional<os::FileStatus> seen);

  // Whether it may still take its place: TRVS_WOULD_OVERWRITE.
  [[nodiscard]] TrvsStatus check() const;
  // Takes its place, or changes the one that is kept. TRVS_WOULD_OVERWRITE, TRVS_CANNOT_WRITE.
  [[nodiscard]] TrvsStatus finish();

 private:
  os::FileResult changeKept() const;

  std::string path_;
  os::SiblingFile file_;
  os::File kept_;  // Open if the old one stays.
  WorkfileState state_;
  bool isGuarded_ = false;
  std::optional<os::FileStatus> seen_;
};

// Reads a whole file. It is copied, not mapped: another may write to it, or cut it short, as long
// as an operation takes. TRVS_NO_WORKFILE if there is none, TRVS_CANNOT_OPEN if it became shorter
// while it was read. *bytes changes only with TRVS_DONE. May throw std::bad_alloc.
[[nodiscard]] TrvsStatus readBytes(const std::string& path, Bytes* bytes);

// TrvsStatus for a file that could not be read.
[[nodiscard]] TrvsStatus readFailure(os::FileResult result, TrvsStatus missing);

}  // namespace btkf
