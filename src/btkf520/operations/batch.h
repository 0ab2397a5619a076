// btkf520/operations/batch.h: changes of many archives that share their waits for the disk.
//
// A change is first written, then synced, then promised: workfiles are settled, the archive is let
// go, and everybody is told. In a batch changes are only written, and wait; all that wait are a
// part of the batch. A part ends when so many wait that open files could run short, when an
// operation comes to the archive of one of them or is held up by another process, and with the
// batch. Then all of it is synced at once, and promised; or given up as a whole.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "btkf520/archive/archivechange.h"
#include "btkf520/btkf520.h"
#include "btkf520/operations/journal.h"

namespace btkf {

// A change that is written, and what follows.
struct WrittenChange {
  struct Outcome {
    TrvsStatus status = TRVS_DONE;
    bool isKept = true;  // The archive says it: everybody is told.
  };
  // What is done once it is on disk, while the archive is still held; may be empty.
  using Sequel = std::function<Outcome(ArchiveChange& change)>;

  std::unique_ptr<ArchiveChange> change;
  News news;
  Sequel sequel;
  Outcome outcome;

  // The promise: the first step lets the archive go, so that triggers find it free.
  void settle() noexcept;
  void tell() const noexcept;
};

class Batch {
 public:
  // TRVS_MISUSE: there is one, and batches don't nest.
  [[nodiscard]] TrvsStatus begin();
  // TRVS_MISUSE: there is none. Else the first status that is not TRVS_DONE of a change that was
  // written and could not be promised.
  [[nodiscard]] TrvsStatus end() noexcept;
  bool isOpen() const { return isOpen_; }

  // Takes a change of the archive at `path`, of the system, that is written. reserve(), which may
  // throw, comes before it is; a change that then fails leaves nothing here.
  using Room = std::set<std::string>::node_type;
  [[nodiscard]] Room reserve(const std::string& path);
  void add(WrittenChange written, Room room) noexcept;

  // Whether the archive at `path` has a change that waits. An archive that is locked for a change
  // has one for certain: so who is about to lock another may ask for the path alone.
  bool hasWaiting(const std::string& path);
  bool hasWaitingAt(const std::string& path) const;

  // Ends the part. False if nothing waits.
  bool endPart() noexcept;

 private:
  // Which archive, whatever its path: device and number of the file, or of the directory and a name
  // for one that is yet to be there.
  using Key = std::tuple<uint64_t, uint64_t, std::string>;
  static Key keyOf(const std::string& path);

  bool isOpen_ = false;
  std::vector<WrittenChange> waiting_;
  std::set<std::string> paths_;  // Of all that wait.
  std::set<Key> keys_;           // Of as many of them as have been asked for.
  size_t keyed_ = 0;
  TrvsStatus firstFailure_ = TRVS_DONE;
};

}  // namespace btkf
