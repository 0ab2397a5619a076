// btkf520/operations/edit.cpp: descriptions, attributes, access lists and lists of revisions.
#include "btkf520/operations/edit.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "btkf520/operations/revisions.h"
#include "btkf520/operations/task.h"

namespace btkf {
namespace {

constexpr uint32_t kAttributes =
    kBinary | kExpandKeywords | kExclusiveLocks | kWriteProtected | kCheckLocks;

// Locks and promotion groups keep a revision from being deleted.
Status checkDeletion(const Revision& revision) {
  if (!revision.lockers.empty()) return kLocked;
  return revision.promotionGroups.empty() ? kDone : kGroupInTheWay;
}

// What a range means to a deletion: a branch goes with the revision where it starts if that is
// asked for, and otherwise keeps it from going, although its numbers lie in the range. The branches
// come in ascending order, so each is seen after the revision where it starts.
Status choose(const ArchiveModel& model, const RevisionRange& range, bool withBranches,
              std::set<Number>* chosen) {
  for (const Branch& branch : model.branches) {
    const bool losesStart = !branch.number.isTrunk() && chosen->contains(branch.number.parent());
    if (losesStart && !withBranches) return kHasBranches;
    for (const Revision& revision : branch.revisions) {
      if (losesStart || range.contains(revision)) chosen->insert(revision.number);
    }
  }
  return chosen->empty() ? kNoRevision : kDone;
}

void erase(const std::set<Number>& chosen, ArchiveModel* model) {
  for (Branch& branch : model->branches) {
    std::erase_if(branch.revisions,
                  [&](const Revision& each) { return chosen.contains(each.number); });
  }
  std::erase_if(model->branches, [](const Branch& branch) {
    return branch.revisions.empty() && !branch.number.isTrunk();
  });
  std::erase_if(model->labels,
                [&](const Label& label) { return model->labelled(label) == nullptr; });
}

}  // namespace

Status setDescription(const char* archive, const char* revision, const char* text) {
  if (text == nullptr) return kMisuse;
  Task task;
  if (const Status status = task.openToUpdate(archive)) return status;
  if (revision == nullptr) {
    task.model.description = text;
    return task.commit({"DESCRIBE", ""});
  }
  const Revision* found = nullptr;
  if (const Status status = findRevision(task.model, revision, &found)) return status;
  const Number number = found->number;
  task.model.findRevision(number)->changeDescription = text;
  return task.commit({"DESCRIBE", number.text()});
}

Status getDescription(const char* archive, const char* revision, std::string* text) {
  Task task;
  if (const Status status = task.openToTell(archive)) return status;
  if (revision == nullptr) {
    *text = task.model.description;
    return kDone;
  }
  const Revision* found = nullptr;
  if (const Status status = findRevision(task.model, revision, &found)) return status;
  *text = found->changeDescription;
  return kDone;
}

Status setAttributes(const char* archive, uint32_t set, uint32_t clear) {
  if (((set | clear) & ~kAttributes) != 0 || (set & clear) != 0) return kMisuse;
  Task task;
  if (const Status status = task.openToUpdate(archive)) return status;
  task.model.attributes = (task.model.attributes | set) & ~clear;
  return task.commit({"ATTRIBUTES", ""});
}

Status getAttributes(const char* archive, uint32_t* attributes) {
  Task task;
  if (const Status status = task.openToTell(archive)) return status;
  *attributes = task.model.attributes;
  return kDone;
}

Status addAccess(const char* archive, const char* user) {
  if (user == nullptr) return kMisuse;
  if (!isGoodName(user)) return kBadName;
  Task task;
  if (const Status status = task.openToUpdate(archive)) return status;
  std::vector<std::string>& list = task.model.accessList;
  if (std::find(list.begin(), list.end(), user) != list.end()) return kDone;
  list.emplace_back(user);
  return task.commit({"ACCESS", user});
}

Status removeAccess(const char* archive, const char* user) {
  if (user == nullptr) return kMisuse;
  Task task;
  if (const Status status = task.openToUpdate(archive)) return status;
  if (std::erase(task.model.accessList, user) == 0) return kNotInAccessList;
  return task.commit({"ACCESS", user});
}

Status listAccess(const char* archive, std::vector<std::string>* users) {
  Task task;
  if (const Status status = task.openToTell(archive)) return status;
  *users = task.model.accessList;
  return kDone;
}

Status deleteRevisions(const char* archive, const char* range) {
  std::string text(textOf(range));
  const bool withBranches = text.ends_with('+');
  if (withBranches) text.pop_back();
  if (text.empty()) return kBadNumber;  // Not everything by accident: that is "*".
  Task task;
  if (const Status status = task.openToUpdate(archive)) return status;
  RevisionRange parsed;
  if (const Status status = RevisionRange::parse(task.model, text.c_str(), &parsed)) return status;
  std::set<Number> chosen;
  if (const Status status = choose(task.model, parsed, withBranches, &chosen)) return status;
  for (const Number& number : chosen) {
    if (const Status status = checkDeletion(*task.model.findRevision(number))) return status;
  }
  erase(chosen, &task.model);
  return task.commit({"DELETE", std::string(textOf(range))});
}

Status listRevisions(const char* archive, const char* range, std::vector<std::string>* numbers) {
  Task task;
  if (const Status status = task.openToTell(archive)) return status;
  RevisionRange parsed;
  if (const Status status = RevisionRange::parse(task.model, range, &parsed)) return status;
  task.model.forEachRevision([&](const Revision& revision) {
    if (parsed.contains(revision)) numbers->push_back(revision.number.text());
  });
  return kDone;
}

Status verify(const char* archive, std::vector<std::string>* damaged) {
  Task task;
  if (const Status status = task.openToTell(archive)) return status;
  std::vector<Content> contents;
  const Status status = task.archive().verify(&contents);
  task.model.forEachRevision([&](const Revision& revision) {
    if (std::find(contents.begin(), contents.end(), revision.content) != contents.end()) {
      damaged->push_back(revision.number.text());
    }
  });
  return status;
}

}  // namespace btkf
