// btkf520/operations/promote.cpp: a promotion takes one group from a revision and gives it the
// next.
#include "btkf520/operations/promote.h"

#include <string>

#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"

namespace btkf {
namespace {

TrvsStatus findParent(const std::string& group, std::string* parent) {
  const PromotionModel& promotion = configuration().promotion();
  switch (promotion.kindOf(group)) {
    case TRVS_GROUP_NONE:
      return TRVS_NO_SUCH_GROUP;
    case TRVS_GROUP_TOP:
      return TRVS_CANNOT_PROMOTE;
    default:
      *parent = promotion.parentOf(group);
      return parent->empty() ? TRVS_NO_HIGHER_GROUP : TRVS_DONE;
  }
}

}  // namespace

TrvsStatus promote(const char* archive, const char* group, bool acrossBranches) {
  if (group == nullptr) return TRVS_MISUSE;
  std::string parent;
  if (const TrvsStatus status = findParent(group, &parent)) return status;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive, "PROMOTE")) return status;
  const Revision* lower = revisionInGroup(task.model, group);
  if (lower == nullptr) return TRVS_CANNOT_PROMOTE;
  const Revision* higher = revisionInGroup(task.model, parent);
  const bool isElsewhere =
      higher != nullptr && branchNumber(higher->number) != branchNumber(lower->number);
  if (isElsewhere && !acrossBranches && !client().retries(TRVS_OTHER_BRANCH, task.archiveText())) {
    return TRVS_OTHER_BRANCH;
  }
  if (higher != nullptr) {
    std::erase(task.model.findRevision(higher->number)->promotionGroups, parent);
  }
  std::vector<std::string>& groups = task.model.findRevision(lower->number)->promotionGroups;
  std::erase(groups, group);
  groups.push_back(parent);
  return task.commit({"PROMOTE", parent});
}

// A lock is for its group: without that, its user could not check in what another puts there.
TrvsStatus leaveGroup(const char* archive, const char* group) {
  if (group == nullptr) return TRVS_MISUSE;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive, "LEAVE")) return status;
  const Revision* found = revisionInGroup(task.model, group);
  if (found == nullptr) return TRVS_NO_GROUP_REVISION;
  if (found->locks.size() > (isLockedBy(*found, task.user()) ? 1 : 0)) return TRVS_GROUP_LOCKED;
  std::erase(task.model.findRevision(found->number)->promotionGroups, group);
  return task.commit({"LEAVE", group});
}

}  // namespace btkf
