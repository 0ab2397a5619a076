// btkf520/operations/promote.h: moving revisions up in the promotion model.
#pragma once

#include "btkf520/btkf520.h"

namespace btkf {

// Moves the revision in `group` to the next higher group. The statuses are told in btkf520.h.
[[nodiscard]] TrvsStatus promote(const char* archive, const char* group, bool acrossBranches);
// Takes the revision in `group` out of it.
[[nodiscard]] TrvsStatus leaveGroup(const char* archive, const char* group);

}  // namespace btkf
