// btkf520/archive/plan.cpp: one pass from the tip to the oldest for the newer parents, and one the
// other way for the older ones. Each keeps a stack of candidates, the nearest on top, from which
// those are dropped that a higher rank hides.
#include "btkf520/archive/plan.h"

#include <limits>

namespace btkf {
namespace {

uint64_t rankOf(uint32_t position) {
  if (position == 0) return std::numeric_limits<uint64_t>::max();
  return position & (~position + 1);
}

}  // namespace

std::vector<Parents> planParents(const std::vector<uint32_t>& positions) {
  std::vector<Parents> result(positions.size());
  std::vector<size_t> candidates;
  const auto rank = [&](size_t place) { return rankOf(positions[place]); };

  size_t highest = Parents::kNoParent;  // So far, and of several the newest.
  for (size_t place = positions.size(); place-- > 0;) {
    while (!candidates.empty() && rank(candidates.back()) <= rank(place)) candidates.pop_back();
    // With none of higher rank the content waits on the highest. Deletions can leave any number of
    // equal ranks: if each waited on the next one, they would make a chain.
    result[place].newer = candidates.empty() ? highest : candidates.back();
    candidates.push_back(place);
    if (highest == Parents::kNoParent || rank(place) > rank(highest)) highest = place;
  }

  candidates.clear();
  for (size_t place = 0; place < positions.size(); ++place) {
    while (!candidates.empty() && rank(candidates.back()) <= rank(place)) candidates.pop_back();
    const size_t newer = result[place].newer;
    const bool waits = newer == Parents::kNoParent || rank(newer) <= rank(place);
    if (!waits && !candidates.empty()) result[place].older = candidates.back();
    candidates.push_back(place);
  }
  return result;
}

}  // namespace btkf
