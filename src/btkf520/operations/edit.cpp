// btkf520/operations/edit.cpp: descriptions, attributes, access lists and lists of revisions.
#include "btkf520/operations/edit.h"

#include <algorithm>
#include <set>

#include "btkf520/configuration/text.h"
#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"

namespace btkf {
namespace {

constexpr uint32_t kAttributes = TRVS_ATTRIBUTE_BINARY | TRVS_ATTRIBUTE_KEYWORDS |
                                 TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS | TRVS_ATTRIBUTE_READ_ONLY |
                                 TRVS_ATTRIBUTE_CHECK_LOCKS | TRVS_ATTRIBUTE_EXECUTABLE;

// Locks and promotion groups keep a revision from being deleted.
TrvsStatus checkDeletion(const Revision& revision) {
  if (!revision.locks.empty()) return TRVS_LOCKED;
  return revision.promotionGroups.empty() ? TRVS_DONE : TRVS_GROUP_IN_THE_WAY;
}

// What a range means to a deletion: a branch is deleted with the revision where it starts if that
// is asked for, and otherwise keeps it from being deleted, although its numbers lie in the range.
// The branches come in ascending order, so each is seen after the revision where it starts.
TrvsStatus choose(const ArchiveModel& model, const RevisionRange& range, bool withBranches,
                  std::set<Number>* chosen) {
  for (const Branch& branch : model.branches) {
    const bool losesStart = !branch.number.isTrunk() && chosen->contains(branch.number.parent());
    if (losesStart && !withBranches) return TRVS_HAS_BRANCHES;
    branch.revisions.forEach([&](const Revision& revision) {
      if (losesStart || range.contains(revision)) chosen->insert(revision.number);
    });
  }
  return chosen->empty() ? TRVS_NO_REVISION : TRVS_DONE;
}

void erase(const std::set<Number>& chosen, ArchiveModel* model) {
  for (Branch& branch : model->branches) {
    branch.revisions.eraseIf([&](const Revision& each) { return chosen.contains(each.number); });
  }
  std::erase_if(model->branches, [](const Branch& branch) {
    return branch.revisions.empty() && !branch.number.isTrunk();
  });
  std::erase_if(model->labels,
                [&](const Label& label) { return model->labelled(label) == nullptr; });
}

// "what comes after the first 940 bytes of m.c_v, 60 more,"
std::string endOf(const Task& task, const Archive::Extent& extent) {
  return "what comes after the first " + std::to_string(extent.whole) + " bytes of " +
         task.archiveText() + ", " + std::to_string(extent.size - extent.whole) + " more,";
}

}  // namespace

TrvsStatus setDescription(const char* archive, const char* revision, const char* text) {
  if (text == nullptr) return TRVS_MISUSE;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive)) return status;
  if (revision == nullptr) {
    task.model.description = text;
    return task.commit({"DESCRIBE", ""});
  }
  const Revision* found = nullptr;
  if (const TrvsStatus status = findRevision(task.model, revision, &found)) return status;
  const Number number = found->number;
  task.model.findRevision(number)->changeDescription = text;
  return task.commit({"DESCRIBE", number.text()});
}

TrvsStatus getDescription(const char* archive, const char* revision, std::string* text) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  if (revision == nullptr) {
    *text = task.model.description;
    return TRVS_DONE;
  }
  const Revision* found = nullptr;
  if (const TrvsStatus status = findRevision(task.model, revision, &found)) return status;
  *text = found->changeDescription;
  return TRVS_DONE;
}

TrvsStatus setAttributes(const char* archive, uint32_t set, uint32_t clear) {
  if (((set | clear) & ~kAttributes) != 0 || (set & clear) != 0) return TRVS_MISUSE;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive)) return status;
  task.model.attributes = (task.model.attributes | set) & ~clear;
  return task.commit({"ATTRIBUTES", ""});
}

TrvsStatus getAttributes(const char* archive, uint32_t* attributes) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  *attributes = task.model.attributes;
  return TRVS_DONE;
}

TrvsStatus getOwner(const char* archive, std::string* user) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  *user = task.model.owner;
  return TRVS_DONE;
}

TrvsStatus addAccess(const char* archive, const char* user) {
  if (user == nullptr) return TRVS_MISUSE;
  if (!isGoodName(user)) return TRVS_BAD_NAME;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive)) return status;
  std::vector<std::string>& list = task.model.accessList;
  if (std::find(list.begin(), list.end(), user) != list.end()) return TRVS_DONE;
  list.emplace_back(user);
  return task.commit({"ACCESS", user});
}

TrvsStatus removeAccess(const char* archive, const char* user) {
  if (user == nullptr) return TRVS_MISUSE;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive)) return status;
  if (std::erase(task.model.accessList, user) == 0) return TRVS_NOT_IN_ACCESS_LIST;
  return task.commit({"ACCESS", user});
}

TrvsStatus listAccess(const char* archive, std::vector<std::string>* users) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  *users = task.model.accessList;
  return TRVS_DONE;
}

TrvsStatus deleteRevisions(const char* archive, const char* range) {
  std::string text(textOf(range));
  const bool withBranches = text.ends_with('+');
  if (withBranches) text.pop_back();
  if (text.empty()) return TRVS_BAD_NUMBER;  // Not everything by accident: that is "*".
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive)) return status;
  RevisionRange parsed;
  if (const TrvsStatus status = RevisionRange::parse(task.model, text.c_str(), &parsed))
    return status;
  std::set<Number> chosen;
  if (const TrvsStatus status = choose(task.model, parsed, withBranches, &chosen)) return status;
  for (const Number& number : chosen) {
    if (const TrvsStatus status = checkDeletion(*task.model.findRevision(number))) return status;
  }
  erase(chosen, &task.model);
  return task.commit({"DELETE", std::string(textOf(range))});
}

TrvsStatus listRevisions(const char* archive, const char* range,
                         std::vector<std::string>* numbers) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  RevisionRange parsed;
  if (const TrvsStatus status = RevisionRange::parse(task.model, range, &parsed)) return status;
  task.model.forEachRevision([&](const Revision& revision) {
    if (parsed.contains(revision)) numbers->push_back(revision.number.text());
  });
  return TRVS_DONE;
}

TrvsStatus verify(const char* archive, std::vector<std::string>* damaged) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) {
    const Archive::Extent extent = Archive::extentOfDamaged(task.archivePath());
    if (status == TRVS_NOT_AN_ARCHIVE && extent.whole != 0) {
      client().text(endOf(task, extent) + " is damaged");
    }
    return status;
  }
  std::vector<Content> contents;
  const TrvsStatus status = task.archive().verify(&contents);
  if (status == TRVS_TORN_END) {
    client().text(endOf(task, task.archive().extent()) +
                  " doesn't count: a change was cut off, or it is damaged");
  }
  task.model.forEachRevision([&](const Revision& revision) {
    if (std::find(contents.begin(), contents.end(), revision.content) != contents.end()) {
      damaged->push_back(revision.number.text());
    }
  });
  return status;
}

}  // namespace btkf
