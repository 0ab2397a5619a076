// btkf520/operations/locks.cpp: the rules of locks.
#include "btkf520/operations/locks.h"

#include <algorithm>
#include <optional>

#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"

namespace btkf {
namespace {

// The archive's own rules, then those of the configuration.
Status checkLock(const Task& task, const Revision& revision) {
  if (!task.model.has(kCheckLocks)) return kCannotLock;
  if (isLockedBy(revision, task.user())) return kLocked;
  if (task.model.has(kExclusiveLocks) && task.model.lockCount() > 0) return kCannotLock;
  if (!revision.lockers.empty() && !configuration().multipleLocks()) return kLocked;
  const bool willBranch = !isTip(task.model, revision) || !revision.lockers.empty();
  return willBranch && configuration().branchWarning() ? kWouldBranch : kDone;
}

// A group stands at one revision, and what is locked for it stands there too.
Status checkGroup(const ArchiveModel& model, const std::string& group, const Revision& revision) {
  const Revision* at = group.empty() ? nullptr : revisionInGroup(model, group);
  if (at == nullptr) return kDone;
  if (!at->lockers.empty()) return kGroupLocked;
  return at == &revision ? kDone : kGroupInTheWay;
}

Status findForGroup(const ArchiveModel& model, const char* text, const std::string& group,
                    const Revision** revision) {
  if (textOf(text).empty() && !group.empty()) {
    if (const Revision* at = revisionInGroup(model, group)) {
      *revision = at;
      return kDone;
    }
  }
  return findRevision(model, text, revision);
}

// Null or empty: the present user. Nothing if there is none.
std::optional<std::string> userOrPresent(const char* user) {
  if (!textOf(user).empty()) return user;
  return userId();
}

}  // namespace

Status chooseGroup(std::string_view wanted, std::string* group) {
  const PromotionModel& promotion = configuration().promotion();
  if (wanted.empty()) {
    const std::vector<std::string> groups = promotion.developmentGroups();
    if (promotion.isEmpty()) {
      group->clear();
      return kDone;
    }
    if (groups.size() != 1) return kNeedsDevelopmentGroup;
    *group = groups.front();
    return kDone;
  }
  const GroupKind kind = promotion.kindOf(wanted);
  if (kind == GroupKind::kNone) return kNoSuchGroup;
  if (kind != GroupKind::kDevelopment) return kNeedsDevelopmentGroup;
  *group = wanted;
  return kDone;
}

Status lockRevision(Task* task, const char* revision, const char* group, Number* locked) {
  std::string chosen;
  if (const Status status = chooseGroup(textOf(group), &chosen)) return status;
  const Revision* found = nullptr;
  if (const Status status = findForGroup(task->model, revision, chosen, &found)) return status;
  if (const Status status = checkLock(*task, *found)) return status;
  if (const Status status = checkGroup(task->model, chosen, *found)) return status;
  *locked = found->number;
  Revision* changed = task->model.findRevision(found->number);
  changed->lockers.push_back(task->user());
  std::vector<std::string>& groups = changed->promotionGroups;
  if (!chosen.empty() && std::find(groups.begin(), groups.end(), chosen) == groups.end()) {
    groups.push_back(chosen);
  }
  return kDone;
}

Status lock(const char* archive, const char* revision, const char* group) {
  Task task;
  if (const Status status = task.openToUpdate(archive, "LOCK")) return status;
  Number locked;
  if (const Status status = lockRevision(&task, revision, group, &locked)) return status;
  return task.commit({"LOCK", locked.text()});
}

Status unlock(const char* archive, const char* revision, const char* user) {
  const auto whose = userOrPresent(user);
  if (!whose) return kNoUserId;
  Task task;
  if (const Status status = task.openToUpdate(archive, "UNLOCK")) return status;
  std::vector<const Revision*> found = lockedBy(task.model, *whose);
  if (!textOf(revision).empty()) {
    const Revision* only = nullptr;
    if (const Status status = findRevision(task.model, revision, &only)) return status;
    std::erase_if(found, [only](const Revision* each) { return each != only; });
  }
  if (found.empty()) return kNoLock;
  std::string numbers;
  for (const Revision* each : found) {
    numbers += (numbers.empty() ? "" : ",") + each->number.text();
    std::erase(task.model.findRevision(each->number)->lockers, *whose);
  }
  return task.commit({"UNLOCK", numbers});
}

Status listLocks(const char* archive, const char* user, std::vector<std::string>* numbers) {
  const auto whose = userOrPresent(user);
  if (!whose) return kNoUserId;
  Task task;
  if (const Status status = task.openToTell(archive)) return status;
  for (const Revision* each : lockedBy(task.model, *whose)) {
    numbers->push_back(each->number.text());
  }
  return numbers->empty() ? kNoLock : kDone;
}

}  // namespace btkf
