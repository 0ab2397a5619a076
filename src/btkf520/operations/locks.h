// btkf520/operations/locks.h: who may lock what, and the groups that come with a lock.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "btkf520/operations/task.h"

namespace btkf {

// Locks a revision in task.model for the task's user, and puts it into the development group that
// the lock is for. *locked receives its number. Commits nothing.
//   revision  as findRevision() takes it; empty: the revision in `group`, else the trunk's tip
//   group     empty: the only development group of the model, if there is a model
// Statuses of findRevision(), and:
//   kCannotLock (29)            locks are not checked, or the archive allows one lock only
//   kLocked (14)                locked already
//   kWouldBranch (47)           BRANCHWARN, and it isn't the tip
//   kNoSuchGroup (37), kNeedsDevelopmentGroup (45)
//   kGroupLocked (46)           the group's revision is locked already
//   kGroupInTheWay (40)         the group is at another revision
Status lockRevision(Task* task, const char* revision, const char* group, Number* locked);

// The development group that a lock or a check-in is for. Empty if there is no promotion model.
//   kNoSuchGroup (37)             not in the model, or there is no model
//   kNeedsDevelopmentGroup (45)   not one, or none was given and there are several
Status chooseGroup(std::string_view wanted, std::string* group);

// The whole operations. A null user is the present one.
Status lock(const char* archive, const char* revision, const char* group);
// Without a revision, all of the user's. kNoLock (30) if there is none.
Status unlock(const char* archive, const char* revision, const char* user);
// The numbers of the revisions that the user has locked. kNoLock (30) if there is none.
Status listLocks(const char* archive, const char* user, std::vector<std::string>* numbers);

}  // namespace btkf
