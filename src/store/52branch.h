// store/52branch.h: branches, revisions and what hangs on them, as format 5.2 takes them from the
// toolkit's list of one archive.
//
// The list belongs to the member that asked for it. Branches and revisions point into it, and lose
// their pointers before the list is given back.
#pragma once

#include <utility>

#include "btkf520/btkf520.h"
#include "domain/branch.h"
#include "domain/nameditems.h"
#include "domain/revision.h"

namespace foldapi {

constexpr int kTrunkLevel = 1;  // Branches off the trunk have the level 2, and so on.

// Where an object begins in the list.
class TVTreePlace {
 public:
  const TrvsRevTree* tree() const { return tree_; }
  // Forgets the list, here and below.
  virtual void clear() = 0;
  // Moves over to a place in a list, and forgets the old one.
  void setTree(const TrvsRevTree* tree);

 protected:
  TVTreePlace(const TrvsRevTree* tree, int level) : tree_(tree), level_(level) {}
  ~TVTreePlace() = default;

  const TrvsRevTree* tree_;
  int level_;
};

// What a branch and a revision have in common. `Base` is the class of the domain.
template <typename Base>
class TVInTree52 : public Base, public TVTreePlace {
 public:
  int version() const override { return kFormat52; }
  VBool isStale(TVHandle&) override { return tree_ == nullptr; }
  void clear() override {
    for (TVObject* child : this->childrenInOrder()) {
      if (auto* place = dynamic_cast<TVTreePlace*>(child)) place->clear();
    }
    tree_ = nullptr;
  }

 protected:
  template <typename... Fields>
  TVInTree52(const TrvsRevTree* tree, int level, Fields&&... fields)
      : Base(std::forward<Fields>(fields)...), TVTreePlace(tree, level) {}
};

class TVBranch52 : public TVInTree52<TVBranch> {
 public:
  // `tree` is the record of the branch's first revision.
  TVBranch52(VString name, int level, int32_t itemNumber, const TrvsRevTree* tree, TVObject* owner,
             TVCaching caching = TVCaching::kCached);

  // Builds the revisions of this branch from the list.
  int readData(TVHandle& context, TVStorageLock* lock) override;
};

class TVRevision52 : public TVInTree52<TVRevision> {
 public:
  // `tree` is the first record that is subordinate to the revision, null if there is none.
  TVRevision52(VString number, TVRevisionTexts texts, VBool isLocked, int level,
               const TrvsRevTree* tree, TVObject* owner, TVCaching caching = TVCaching::kCached);

  // Builds labels, promotion labels, lockers and branches from the list.
  int readData(TVHandle& context, TVStorageLock* lock) override;
};

// The classes that format 5.2 adds nothing to.
template <typename Item>
class TVNamedItem52 : public Item {
 public:
  using Item::Item;
  int version() const override { return kFormat52; }
};
using TVVersionLabel52 = TVNamedItem52<TVVersionLabel>;
using TVPromotionLabel52 = TVNamedItem52<TVPromotionLabel>;
using TVLocker52 = TVNamedItem52<TVLocker>;

class TVBranch52Options : public TVArchiveItemOptions {
 public:
  TVBranch52Options();
  std::unique_ptr<TVObject> makeObject(const VString& name, TVObject* owner,
                                       TVCaching caching) override;
};

class TVRevision52Options : public TVRevisionOptions {
 public:
  TVRevision52Options() : TVRevisionOptions(kFormat52) {}
  std::unique_ptr<TVObject> makeObject(const VString& name, const TVRevisionTexts& texts,
                                       VBool isLocked, TVObject* owner, TVCaching caching) override;
};

// Puts a branch under `owner`, or moves the one of that name over to `tree`.
void mergeBranch(TVObject& owner, VString name, int level, int32_t itemNumber,
                 const TrvsRevTree* tree);

}  // namespace foldapi
