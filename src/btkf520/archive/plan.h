// btkf520/archive/plan.h: which revision is stored as a delta against which others.
//
// The newest content of a branch is stored whole. Every older one is a delta against one or two
// others, its parents, chosen so that
//   - few frames lead from the newest to any other: at most about two times the logarithm,
//   - a passage of text that came with one revision and went with a later one is stored once,
//   - a new revision changes the parents of few others: one on average, besides the old tip's.
//
// Each content has a position in its branch, which it keeps. The rank of a position is the largest
// power of two that divides it. Among contents at the positions 0 to 8 the parents are
//
//     position  0    1    2    3    4    5    6    7    8
//     rank      -    1    2    1    4    1    2    1    8
//     parents   8   0 2  0 4  2 4  0 8  4 6  4 8  6 8  whole
//
// that is, the nearest older and the nearest newer one of higher rank. Whatever stands in between
// two parents is found in the one or the other unless it lived between them only: so nothing is
// stored twice. Where no newer one of higher rank exists yet, as with 0 here, the content waits:
// its one parent is the highest that is newer, of several the newest. Waiting contents depend on
// waiting ones only and the others on higher ranks only, so no circle can arise, even where
// revisions have been deleted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace btkf {

// Places in the list that was given to planParents(); kNoParent for fewer than two.
struct Parents {
  static constexpr size_t kNoParent = SIZE_MAX;
  size_t older = kNoParent;
  size_t newer = kNoParent;  // Only the tip has none.
};

// The parents for contents at `positions`, which are in ascending order.
std::vector<Parents> planParents(const std::vector<uint32_t>& positions);

}  // namespace btkf
