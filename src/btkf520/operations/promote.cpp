// btkf520/operations/promote.cpp: a promotion takes one group from a revision and gives it the
// next.
#include "btkf520/operations/promote.h"

#include <string>

#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"

namespace btkf {
namespace {

Status findParent(const std::string& group, std::string* parent) {
  const PromotionModel& promotion = configuration().promotion();
  switch (promotion.kindOf(group)) {
    case GroupKind::kNone:
      return kNoSuchGroup;
    case GroupKind::kTop:
      return kCannotPromote;
    default:
      *parent = promotion.parentOf(group);
      return parent->empty() ? kNoHigherGroup : kDone;
  }
}

}  // namespace

Status promote(const char* archive, const char* group, bool acrossBranches) {
  if (group == nullptr) return kMisuse;
  std::string parent;
  if (const Status status = findParent(group, &parent)) return status;
  Task task;
  if (const Status status = task.openToUpdate(archive, "PROMOTE")) return status;
  const Revision* lower = revisionInGroup(task.model, group);
  if (lower == nullptr) return kCannotPromote;
  const Revision* higher = revisionInGroup(task.model, parent);
  const bool isElsewhere =
      higher != nullptr && branchNumber(higher->number) != branchNumber(lower->number);
  if (isElsewhere && !acrossBranches && !client().retries(kOtherBranch, task.archiveText())) {
    return kOtherBranch;
  }
  if (higher != nullptr) {
    std::erase(task.model.findRevision(higher->number)->promotionGroups, parent);
  }
  std::vector<std::string>& groups = task.model.findRevision(lower->number)->promotionGroups;
  std::erase(groups, group);
  groups.push_back(parent);
  return task.commit({"PROMOTE", parent});
}

}  // namespace btkf
