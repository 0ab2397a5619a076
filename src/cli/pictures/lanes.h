// cli/pictures/lanes.h: where the revisions of a file stand in a picture: one row each, the newest
// at the top, and one lane for each branch, which others may use before and after it.
#pragma once

#include <optional>
#include <vector>

#include "cli/archives/history.h"

namespace cli {

struct PlacedBranch {
  const RevisionInfo* tip = nullptr;
  size_t lane = 0;
  size_t first = 0;             // The rows of its oldest revision,
  size_t last = 0;              // of its newest one,
  std::optional<size_t> start;  // and of the one where it starts.
};

struct PlacedRevision {
  const RevisionInfo* revision = nullptr;
  size_t branch = 0;  // An index of the branches.
};

struct Lanes {
  size_t count = 0;
  std::vector<PlacedRevision> rows;
  std::vector<PlacedBranch> branches;  // By where they start, the oldest first.
};

// The trunk has the first lane for itself, a branch the first free one to the right of where it
// starts. Rows are ordered by time, but for clocks that went wrong: no revision is above one that
// came from it. `revisions` are ordered as those of a History, and outlive the result.
Lanes lanesOf(const std::vector<RevisionInfo>& revisions);

}  // namespace cli
