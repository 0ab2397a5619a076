// btkf520/operations/revtree.cpp: flattens branches, revisions and what hangs on them.
//
// A client's walk of a branch continues past deeper records and stops at the next head of its own
// level, so a revision's branches stand after all that hangs on the revision itself.
#include "btkf520/operations/revtree.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "btkf520/operations/task.h"
#include "dates/packedtime.h"

namespace btkf {
namespace {

// The records and their texts, which live as long as each other. Clients see the first record.
struct Tree {
  std::deque<TrvsRevTree> records;
  std::deque<std::string> texts;
};

// A client returns the first record: this finds the tree that it belongs to.
std::map<const TrvsRevTree*, Tree>& trees() {
  static auto* const all = new std::map<const TrvsRevTree*, Tree>;
  return *all;
}

class Builder {
 public:
  explicit Builder(const ArchiveModel& model) : model_(model) {
    for (const Label& label : model.labels) {
      if (const Revision* revision = model.labelled(label)) {
        labels_[revision->number].push_back(&label.name);
      }
    }
  }

  Tree build() {
    // Branches that wait, the one to come next at the end: no recursion, however deep they nest.
    struct Rest {
      const Branch* branch;
      size_t next;
    };
    std::vector<Rest> open{{&model_.trunk(), 0}};
    while (!open.empty()) {
      Rest& top = open.back();
      if (top.next == top.branch->revisions.size()) {
        open.pop_back();
        continue;
      }
      const Revision& revision = top.branch->revisions[top.next];
      const auto branches = model_.branchesAt(revision.number);
      add(revision, top.next++ == 0, !branches.empty());
      for (auto branch = branches.rbegin(); branch != branches.rend(); ++branch) {
        open.push_back({*branch, 0});
      }
    }
    if (tree_.records.empty()) record(0, 1, "");
    return std::move(tree_);
  }

 private:
  void add(const Revision& revision, bool isHead, bool hasBranch) {
    const int level = revision.number.level();
    record(
        TRVS_TREE_REVISION | (isHead ? TRVS_TREE_HEAD : 0) | (hasBranch ? TRVS_TREE_HAS_BRANCH : 0),
        level, revision.number.text());
    record(TRVS_TREE_TIME, level, dates::isoText(revision.checkInTime));
    record(TRVS_TREE_AUTHOR, level, revision.author);
    record(TRVS_TREE_CHANGE, level, revision.changeDescription);
    for (const Lock& lock : revision.locks) record(TRVS_TREE_LOCKER, level, lock.user);
    const auto labels = labels_.find(revision.number);
    if (labels != labels_.end()) {
      for (const std::string* label : labels->second) record(TRVS_TREE_LABEL, level, *label);
    }
    for (const std::string& group : revision.promotionGroups) {
      record(TRVS_TREE_GROUP, level, group);
    }
  }

  void record(int flags, int level, const std::string& text) {
    const char* kept = tree_.texts.emplace_back(text).c_str();
    TrvsRevTree* last = tree_.records.empty() ? nullptr : &tree_.records.back();
    TrvsRevTree& added = tree_.records.emplace_back();
    added = {nullptr, static_cast<uint16_t>(flags), static_cast<int16_t>(level), kept};
    if (last != nullptr) last->next = &added;
  }

  const ArchiveModel& model_;
  std::map<Number, std::vector<const std::string*>> labels_;
  Tree tree_;
};

}  // namespace

TrvsRevTree* makeRevTree(const ArchiveModel& model) {
  Tree tree = Builder(model).build();
  TrvsRevTree* first = &tree.records.front();
  trees().emplace(first, std::move(tree));
  return first;
}

void freeRevTree(TrvsRevTree* tree) { trees().erase(tree); }

TrvsStatus fetchRevTree(const char* archive, TrvsRevTree** tree) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  *tree = makeRevTree(task.model);
  return TRVS_DONE;
}

}  // namespace btkf
