// btkf520/operations/revisions.h: which revision a text means.
//
// A revision is named by its number, by the number of its branch, whose tip it then is, or by a
// version label. No text at all means the trunk's tip.
#pragma once

#include <string_view>
#include <vector>

#include "btkf520/archive/model.h"
#include "btkf520/btkf520.h"

namespace btkf {

// Fills *revision, good as long as pointers into `model` are. Null and empty text are the same.
//   TRVS_NO_REVISIONS   the archive has none, or no trunk and no text
//   TRVS_NO_REVISION    a number that the archive doesn't have
//   TRVS_NO_SUCH_LABEL  no such label, or one that floats with a branch that is gone
[[nodiscard]] TrvsStatus findRevision(const ArchiveModel& model, const char* text,
                                      const Revision** revision);

// The number of the branch that a revision of this number stands on.
Number branchNumber(const Number& revision);
// That branch. Null for none.
const Branch* branchOf(const ArchiveModel& model, const Number& revision);
bool isTip(const ArchiveModel& model, const Revision& revision);

// The revision that has a promotion group, null for none.
const Revision* revisionInGroup(const ArchiveModel& model, std::string_view group);
// Revisions that `user` has locked, in the model's order.
std::vector<const Revision*> lockedBy(const ArchiveModel& model, std::string_view user);
bool isLockedBy(const Revision& revision, std::string_view user);
// His lock of it, null for none. Good until the revision's locks change.
const Lock* lockOf(const Revision& revision, std::string_view user);
// The users who have locked it, in the order of their locks.
std::vector<std::string> lockersOf(const Revision& revision);
// Takes a user's lock of it away.
void removeLock(Revision* revision, std::string_view user);

// Which revisions of an archive are meant: "from*to" with revisions at the ends, either of which
// may be missing; one revision alone, or one branch alone for all that it has.
class RevisionRange {
 public:
  // Null and empty text mean all. The statuses are those of findRevision().
  [[nodiscard]] static TrvsStatus parse(const ArchiveModel& model, const char* text,
                                        RevisionRange* range);

  // A revision lies between two ends if its number does: 1.2.1.0 lies between 1.2 and 1.3.
  bool contains(const Revision& revision) const;

 private:
  Number branch_;  // Not empty: this branch.
  Number from_;    // Empty: from the first one on.
  Number to_;      // Empty: to the last one.
};

// A null pointer from C is an empty text.
inline std::string_view textOf(const char* text) { return text == nullptr ? "" : text; }

}  // namespace btkf
