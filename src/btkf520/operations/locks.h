// btkf520/operations/locks.h: who may lock what, and the groups that come with a lock.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "btkf520/operations/task.h"

namespace btkf {

// Locks a revision in task.model for the task's user, and puts it into the development group that
// the lock is for. *before receives it as it was. Commits nothing.
//   revision  as findRevision() takes it; empty: the revision in `group`, else the trunk's tip
//   group     empty: the only development group of the model, if there is a model
//   note      what the lock says about itself; may be empty
// Statuses of findRevision(), and:
//   TRVS_BAD_NAME          not a note
//   TRVS_CANNOT_LOCK       locks are not checked, or the archive allows one lock only
//   TRVS_LOCKED            locked already
//   TRVS_WOULD_BRANCH      BRANCHWARN, and it isn't the tip
//   TRVS_NO_SUCH_GROUP, TRVS_NEEDS_DEVELOPMENT_GROUP
//   TRVS_GROUP_LOCKED      the group's revision is locked already
//   TRVS_GROUP_IN_THE_WAY  the group is at another revision
[[nodiscard]] TrvsStatus lockRevision(Task* task, const char* revision, const char* group,
                                      const char* note, Revision* before);

// The development group that a lock or a check-in is for. Empty if there is no promotion model.
//   TRVS_NO_SUCH_GROUP            not in the model, or there is no model
//   TRVS_NEEDS_DEVELOPMENT_GROUP  not one, or none was given and there are several
[[nodiscard]] TrvsStatus chooseGroup(std::string_view wanted, std::string* group);

// The whole operations. A null user is the present one.
[[nodiscard]] TrvsStatus lock(const char* archive, const char* revision, const char* group,
                              const char* note);
// Without a revision, all of the user's. TRVS_NO_LOCK if there is none.
[[nodiscard]] TrvsStatus unlock(const char* archive, const char* revision, const char* user);
// The numbers of the revisions that the user has locked. TRVS_NO_LOCK if there is none.
[[nodiscard]] TrvsStatus listLocks(const char* archive, const char* user,
                                   std::vector<std::string>* numbers);
// Four texts for each lock of the archive: number, user, time and note.
[[nodiscard]] TrvsStatus listAllLocks(const char* archive, std::vector<std::string>* texts);

}  // namespace btkf
