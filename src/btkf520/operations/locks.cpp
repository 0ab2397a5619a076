// btkf520/operations/locks.cpp: the rules of locks.
#include "btkf520/operations/locks.h"

#include <algorithm>
#include <optional>

#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/times.h"
#include "dates/packedtime.h"

namespace btkf {
namespace {

// The archive's own rules, then those of the configuration.
TrvsStatus checkLock(const Task& task, const Revision& revision) {
  if (!task.model.has(TRVS_ATTRIBUTE_CHECK_LOCKS)) return TRVS_CANNOT_LOCK;
  if (isLockedBy(revision, task.user())) return TRVS_LOCKED;
  if (task.model.has(TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS) && task.model.lockCount() > 0)
    return TRVS_CANNOT_LOCK;
  if (!revision.locks.empty() && !configuration().multipleLocks()) return TRVS_LOCKED;
  const bool willBranch = !isTip(task.model, revision) || !revision.locks.empty();
  return willBranch && configuration().branchWarning() ? TRVS_WOULD_BRANCH : TRVS_DONE;
}

// A group stands at one revision, and what is locked for it stands there too.
TrvsStatus checkGroup(const ArchiveModel& model, const std::string& group,
                      const Revision& revision) {
  const Revision* at = group.empty() ? nullptr : revisionInGroup(model, group);
  if (at == nullptr) return TRVS_DONE;
  if (!at->locks.empty()) return TRVS_GROUP_LOCKED;
  return at == &revision ? TRVS_DONE : TRVS_GROUP_IN_THE_WAY;
}

TrvsStatus findForGroup(const ArchiveModel& model, const char* text, const std::string& group,
                        const Revision** revision) {
  if (textOf(text).empty() && !group.empty()) {
    if (const Revision* at = revisionInGroup(model, group)) {
      *revision = at;
      return TRVS_DONE;
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

TrvsStatus chooseGroup(std::string_view wanted, std::string* group) {
  const PromotionModel& promotion = configuration().promotion();
  if (wanted.empty()) {
    const std::vector<std::string> groups = promotion.developmentGroups();
    if (promotion.isEmpty()) {
      group->clear();
      return TRVS_DONE;
    }
    if (groups.size() != 1) return TRVS_NEEDS_DEVELOPMENT_GROUP;
    *group = groups.front();
    return TRVS_DONE;
  }
  const TrvsGroupKind kind = promotion.kindOf(wanted);
  if (kind == TRVS_GROUP_NONE) return TRVS_NO_SUCH_GROUP;
  if (kind != TRVS_GROUP_DEVELOPMENT) return TRVS_NEEDS_DEVELOPMENT_GROUP;
  *group = wanted;
  return TRVS_DONE;
}

TrvsStatus lockRevision(Task* task, const char* revision, const char* group, const char* note,
                        Revision* before) {
  if (!isNote(textOf(note))) return TRVS_BAD_NAME;
  std::string chosen;
  if (const TrvsStatus status = chooseGroup(textOf(group), &chosen)) return status;
  const Revision* found = nullptr;
  if (const TrvsStatus status = findForGroup(task->model, revision, chosen, &found)) return status;
  if (const TrvsStatus status = checkLock(*task, *found)) return status;
  if (const TrvsStatus status = checkGroup(task->model, chosen, *found)) return status;
  *before = *found;
  Revision* changed = task->model.findRevision(found->number);
  changed->locks.push_back({task->user(), presentTime(), std::string(textOf(note))});
  std::vector<std::string>& groups = changed->promotionGroups;
  if (!chosen.empty() && std::find(groups.begin(), groups.end(), chosen) == groups.end()) {
    groups.push_back(chosen);
  }
  return TRVS_DONE;
}

TrvsStatus lock(const char* archive, const char* revision, const char* group, const char* note) {
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive, "LOCK")) return status;
  Revision before;
  if (const TrvsStatus status = lockRevision(&task, revision, group, note, &before)) return status;
  return task.commit({"LOCK", before.number.text()});
}

TrvsStatus unlock(const char* archive, const char* revision, const char* user) {
  const auto whose = userOrPresent(user);
  if (!whose) return TRVS_NO_USER_ID;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive, "UNLOCK")) return status;
  std::vector<const Revision*> found = lockedBy(task.model, *whose);
  if (!textOf(revision).empty()) {
    const Revision* only = nullptr;
    if (const TrvsStatus status = findRevision(task.model, revision, &only)) return status;
    std::erase_if(found, [only](const Revision* each) { return each != only; });
  }
  if (found.empty()) return TRVS_NO_LOCK;
  std::string numbers;
  for (const Revision* each : found) {
    numbers += (numbers.empty() ? "" : ",") + each->number.text();
    removeLock(task.model.findRevision(each->number), *whose);
  }
  return task.commit({"UNLOCK", numbers});
}

TrvsStatus listLocks(const char* archive, const char* user, std::vector<std::string>* numbers) {
  const auto whose = userOrPresent(user);
  if (!whose) return TRVS_NO_USER_ID;
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  for (const Revision* each : lockedBy(task.model, *whose)) {
    numbers->push_back(each->number.text());
  }
  return numbers->empty() ? TRVS_NO_LOCK : TRVS_DONE;
}

TrvsStatus listAllLocks(const char* archive, std::vector<std::string>* texts) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  task.model.forEachMarked([&](const Revision& revision) {
    for (const Lock& lock : revision.locks) {
      for (const std::string& text :
           {revision.number.text(), lock.user, dates::isoText(lock.time), lock.note}) {
        texts->push_back(text);
      }
    }
  });
  return TRVS_DONE;
}

}  // namespace btkf
