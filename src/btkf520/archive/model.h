// btkf520/archive/model.h: what an archive says, as values.
//
// An ArchiveModel holds everything about an archive but the contents of its revisions. Operations
// take the one that Archive::takeModel() gives, change it as they like and hand it to
// Archive::commit(). Nothing here knows the rules of an operation, or the file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/archive/number.h"
#include "btkf520/archive/revisionlist.h"
#include "btkf520/btkf520.h"

namespace btkf {

// A line of revisions, oldest first, in ascending order of their numbers; some may be missing.
struct Branch {
  Number number;  // The trunk is "1", whatever its revisions begin with.
  RevisionList revisions;

  // The newest revision, null for none. Good until the branch changes.
  const Revision* tip() const { return revisions.empty() ? nullptr : &revisions.back(); }
  Revision* tip() { return revisions.empty() ? nullptr : &revisions.back(); }

  bool operator==(const Branch&) const = default;
};

// A version label. With the number of a revision it is fixed to that; with the number of a branch
// it floats with the tip of that branch.
struct Label {
  std::string name;
  Number target;

  bool isFloating() const { return target.isBranch(); }
  bool operator==(const Label&) const = default;
};

// Whether an archive may give its workfile this name: in whatever directory, it names a file right
// there. A name from another's archive must not lead anywhere else.
bool isWorkfileName(std::string_view name);

// Whether a lock may have this note: up to 255 bytes without control characters.
bool isNote(std::string_view text);

class ArchiveModel {
 public:
  std::string workName;  // Name of the workfile, without directories.
  std::string owner;     // User id of the creator.
  std::string description;
  PackedTime creationTime = 0;
  uint32_t attributes =
      0;  // TRVS_ATTRIBUTE_... The lower sixteen bits are told to clients in the tail of the file.
  std::vector<std::string> accessList;                        // Users and groups; empty: everybody.
  std::vector<Branch> branches{Branch{Number::trunk(), {}}};  // The trunk, always first; then the
                                                              // others, ascending by number.
  std::vector<Label> labels;  // In the order in which they were made.

  bool has(TrvsAttribute attribute) const { return (attributes & attribute) != 0; }

  Branch& trunk() { return branches.front(); }
  const Branch& trunk() const { return branches.front(); }

  // Each gives null for none. The pointers are good until branches or revisions are added or
  // removed.
  const Branch* findBranch(const Number& number) const;
  Branch* findBranch(const Number& number);
  // Any number with two components is one of the trunk.
  const Revision* findRevision(const Number& number) const;
  Revision* findRevision(const Number& number);
  const Label* findLabel(std::string_view name) const;  // Names are case-sensitive.
  Label* findLabel(std::string_view name);
  // The revision that `label` is fixed to, or the present tip of its branch.
  const Revision* labelled(const Label& label) const;

  // The branches that start at a revision, ascending.
  std::vector<const Branch*> branchesAt(const Number& revision) const;
  // The number for one more branch at `revision`: 1.2.1, or 1.2.3 if 1.2.2 is the last one there.
  Number newBranchAt(const Number& revision) const;
  // Adds an empty branch in its place. It stays in the file only with revisions in it.
  Branch& addBranch(const Number& number);

  // Counts over all branches.
  size_t revisionCount() const;
  size_t lockCount() const;

  // Calls `visit` with each revision: the trunk's from the oldest on, then those of each branch.
  template <typename Visit>
  void forEachRevision(const Visit& visit) const {
    for (const Branch& branch : branches) branch.revisions.forEach(visit);
  }
  // Leaves out most that have neither locks nor promotion groups.
  template <typename Visit>
  void forEachMarked(const Visit& visit) const {
    for (const Branch& branch : branches) branch.revisions.forEachMarked(visit);
  }

  // Whether the file format can hold it: branches and revisions in order, without duplicates and
  // under their own branch, texts without NUL and not too long, no empty names in lists, notes that
  // are such, a user's lock of a revision and contents used once, label targets that are numbers.
  // Archive::commit() refuses any other with TRVS_MISUSE.
  bool isSound() const;
  // Whether each branch starts at a revision that is there, and each label has one. Takes longer
  // than isSound(), so only Archive::verify() asks.
  bool isConnected() const;
  // Whether that is because a description is too long.
  bool hasLongText() const;

  bool operator==(const ArchiveModel&) const = default;
};

}  // namespace btkf
