// store/52branch.cpp: from the toolkit's flat list to branches and revisions.
//
// The list holds a whole archive, level by level: each object walks it from its own place on and
// takes what lies at its own level. A branch takes the revisions of its line; a revision takes what
// hangs on it and the branches that start there.
#include "store/52branch.h"

#include <algorithm>
#include <vector>

#include "runtime/assertion.h"

namespace foldapi {

namespace {

constexpr unsigned kTexts = TRVS_TREE_CHANGE | TRVS_TREE_AUTHOR | TRVS_TREE_TIME;

bool has(const TrvsRevTree& record, unsigned flags) { return (record.flags & flags) != 0; }

// The branch of a revision is named by all but the last component of its number.
VString branchName(std::string_view number) {
  const size_t dot = number.rfind('.');
  return VString(number.substr(0, dot));
}

// Walks the list for the revisions of one branch. A revision is built when the next one begins.
class BranchWalk {
 public:
  BranchWalk(TVObject& branch, int level) : branch_(branch), level_(level) {}

  void run(const TrvsRevTree* record) {
    for (; record != nullptr && !stopped_; record = record->next) take(*record);
    if (seen_ && !number_.isEmpty()) build();
    giveNumbers();
  }

 private:
  void take(const TrvsRevTree& record) {
    const bool isRevision = has(record, TRVS_TREE_REVISION);
    const bool isLabel = has(record, TRVS_TREE_LABEL | TRVS_TREE_GROUP);
    if (record.level > level_ || (!isRevision && !isLabel)) {
      takeBelow(record, isRevision);
    } else if (isRevision && record.level == level_) {
      takeRevision(record);
    } else if (isRevision) {
      stopped_ = true;
    } else {
      noteSubordinate(record);
    }
  }

  // A deeper record, or one that belongs to the pending revision.
  void takeBelow(const TrvsRevTree& record, bool isRevision) {
    if (isRevision && record.level == level_ + 1) {
      if (subordinate_ == nullptr && expectsBranch_) {
        subordinate_ = &record;
        expectsBranch_ = false;
      }
      takesTexts_ = false;
    }
    if (!takesTexts_) return;
    if (has(record, TRVS_TREE_LOCKER)) {
      noteSubordinate(record);
      locked_ = true;
    } else if (has(record, kTexts)) {
      takeText(record);
    }
  }

  void takeText(const TrvsRevTree& record) {
    VString& text = has(record, TRVS_TREE_CHANGE)   ? texts_.third
                    : has(record, TRVS_TREE_AUTHOR) ? texts_.second
                                                    : texts_.first;
    text = record.text;
    textsSeen_ |= record.flags & kTexts;
  }

  void takeRevision(const TrvsRevTree& record) {
    if (seen_) build();
    locked_ = false;
    if (has(record, TRVS_TREE_HEAD) && seen_) {  // The next branch begins.
      stopped_ = true;
      return;
    }
    seen_ = true;
    takesTexts_ = true;
    subordinate_ = nullptr;
    expectsBranch_ = has(record, TRVS_TREE_HAS_BRANCH);
    number_ = record.text;
  }

  void noteSubordinate(const TrvsRevTree& record) {
    if (subordinate_ == nullptr) subordinate_ = &record;
  }

  void build() {
    if (textsSeen_ != kTexts) assertFail("52branch.cpp", 96);
    auto* revision = TVObject::mergeIntoCache(
        std::make_unique<TVRevision52>(number_, texts_, locked_, level_, subordinate_, &branch_));
    revision->setDetails(std::move(texts_), locked_);
    revision->setTree(subordinate_);
    built_.push_back(revision);
    number_.clear();
    texts_ = {};
    textsSeen_ = 0;
    subordinate_ = nullptr;
  }

  // Last components order the revisions of one major; those of several follow the list.
  void giveNumbers() {
    const auto isOfOtherMajor = [this](const TVRevision* revision) {
      return branchName(revision->itemName().view()) != branchName(built_[0]->itemName().view());
    };
    const bool byPlace = std::any_of(built_.begin(), built_.end(), isOfOtherMajor);
    for (size_t i = 0; i < built_.size(); ++i) {
      built_[i]->setItemNumber(byPlace ? static_cast<int32_t>(i)
                                       : lastNumber(built_[i]->itemName().view()));
    }
  }

  TVObject& branch_;
  const int level_;
  std::vector<TVRevision*> built_;
  bool seen_ = false;
  bool stopped_ = false;
  bool takesTexts_ = false;
  bool expectsBranch_ = false;  // The pending revision has one, and its head has not come yet.
  bool locked_ = false;
  VString number_;  // Of the pending revision; empty without one.
  TVRevisionTexts texts_;
  unsigned textsSeen_ = 0;
  const TrvsRevTree* subordinate_ = nullptr;
};

template <typename Item>
void mergeItem(TVObject& owner, const TrvsRevTree& record) {
  TVObject::mergeIntoCache(std::make_unique<Item>(VString(record.text), 0, &owner));
}

// What hangs on a revision, by the first flag that a record has. False for none of it.
bool mergeAttachment(TVObject& revision, const TrvsRevTree& record) {
  if (has(record, TRVS_TREE_LABEL)) {
    mergeItem<TVVersionLabel52>(revision, record);
  } else if (has(record, TRVS_TREE_GROUP)) {
    mergeItem<TVPromotionLabel52>(revision, record);
  } else if (has(record, TRVS_TREE_LOCKER)) {
    mergeItem<TVLocker52>(revision, record);
  } else {
    return false;
  }
  return true;
}

}  // namespace

// The place in the list ---------------------------------------------------------------------------

void TVTreePlace::setTree(const TrvsRevTree* tree) {
  if (tree == tree_) return;
  if (tree_ != nullptr) clear();
  tree_ = tree;
}

// Branches ----------------------------------------------------------------------------------------

TVBranch52::TVBranch52(VString name, int level, int32_t itemNumber, const TrvsRevTree* tree,
                       TVObject* owner, TVCaching caching)
    : TVInTree52(tree, level, std::move(name), itemNumber, owner, caching) {}

int TVBranch52::readData(TVHandle&, TVStorageLock*) {
  if (tree_ != nullptr) BranchWalk(*this, level_).run(tree_);
  return 0;
}

TVBranch52Options::TVBranch52Options()
    : TVArchiveItemOptions(&TVBranch::theClass, kFormat52,
                           {&TVBranch::theClass, &TVRevision::theClass}) {}

std::unique_ptr<TVObject> TVBranch52Options::makeObject(const VString& name, TVObject* owner,
                                                        TVCaching caching) {
  return std::make_unique<TVBranch52>(name, kTrunkLevel, 0, nullptr, owner, caching);
}

void mergeBranch(TVObject& owner, VString name, int level, int32_t itemNumber,
                 const TrvsRevTree* tree) {
  TVObject::mergeIntoCache(
      std::make_unique<TVBranch52>(std::move(name), level, itemNumber, tree, &owner))
      ->setTree(tree);
}

// Revisions ---------------------------------------------------------------------------------------

TVRevision52::TVRevision52(VString number, TVRevisionTexts texts, VBool isLocked, int level,
                           const TrvsRevTree* tree, TVObject* owner, TVCaching caching)
    : TVInTree52(tree, level, number, std::move(texts), isLocked, lastNumber(number.view()), owner,
                 caching) {}

int TVRevision52::readData(TVHandle&, TVStorageLock*) {
  bool taken = false;
  for (const TrvsRevTree* record = tree_; record != nullptr; record = record->next) {
    const bool isRevision = has(*record, TRVS_TREE_REVISION);
    if (isRevision && record->level <= level_) {
      if (taken || record->level < level_) break;
    } else if (isRevision && record->level == level_ + 1) {
      taken = true;
      if (!has(*record, TRVS_TREE_HEAD)) continue;
      const VString name = branchName(record->text);
      mergeBranch(*this, name, level_ + 1, lastNumber(name.view()), record);
    } else if (!isRevision && record->level == level_) {
      taken = mergeAttachment(*this, *record) || taken;
    }
  }
  return 0;
}

std::unique_ptr<TVObject> TVRevision52Options::makeObject(const VString& name,
                                                          const TVRevisionTexts& texts,
                                                          VBool isLocked, TVObject* owner,
                                                          TVCaching caching) {
  return std::make_unique<TVRevision52>(name, texts, isLocked, kTrunkLevel, nullptr, owner,
                                        caching);
}

}  // namespace foldapi
