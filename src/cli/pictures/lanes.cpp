// cli/pictures/lanes.cpp: places are counted from the oldest revision on, and turned round at the
// end.
#include "cli/pictures/lanes.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <string_view>

namespace cli {
namespace {

constexpr std::string_view kTrunk = "1";

struct Origins {
  std::vector<size_t> branches;                // Of each revision.
  std::vector<std::optional<size_t>> parents;  // Likewise.
  std::vector<std::optional<size_t>> starts;   // Of each branch, the revision where it starts.
};

Origins originsOf(const std::vector<RevisionInfo>& revisions) {
  Origins origins;
  std::map<std::string_view, size_t> known;
  std::map<std::string_view, size_t> branches;
  std::vector<size_t> tips;
  for (size_t i = 0; i < revisions.size(); ++i) {
    const RevisionInfo& each = revisions[i];
    const auto [branch, isNew] = branches.emplace(each.branch, branches.size());
    std::optional<size_t> parent;
    if (!isNew) {
      parent = tips[branch->second];
    } else {
      const auto start = known.find(startOf(each.branch));
      if (each.branch != kTrunk && start != known.end()) parent = start->second;
      origins.starts.push_back(parent);
      tips.emplace_back();
    }
    tips[branch->second] = i;
    known.emplace(each.number, i);
    origins.parents.push_back(parent);
    origins.branches.push_back(branch->second);
  }
  return origins;
}

// The revisions by time, each after the one that it came from.
std::vector<size_t> orderOf(const std::vector<RevisionInfo>& revisions, const Origins& origins) {
  std::vector<std::string_view> times;
  for (size_t i = 0; i < revisions.size(); ++i) {
    const std::string_view time = revisions[i].time;
    const auto& parent = origins.parents[i];
    times.push_back(parent ? std::max(time, times[*parent]) : time);
  }
  std::vector<size_t> order(revisions.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t left, size_t right) { return times[left] < times[right]; });
  return order;
}

// Where a branch begins to need its lane.
size_t beginOf(const PlacedBranch& branch) { return branch.start.value_or(branch.first); }

// The first lane from `least` on that is free at `begin`, and now taken up to `end`. `ends` tells
// of each lane where its last branch ends; branches come by where they begin.
size_t takeLane(std::vector<std::optional<size_t>>* ends, size_t least, size_t begin, size_t end) {
  size_t lane = least;
  while (lane < ends->size() && (*ends)[lane] && *(*ends)[lane] >= begin) ++lane;
  ends->resize(std::max(ends->size(), lane + 1));
  (*ends)[lane] = end;
  return lane;
}

}  // namespace

Lanes lanesOf(const std::vector<RevisionInfo>& revisions) {
  const Origins origins = originsOf(revisions);
  const std::vector<size_t> order = orderOf(revisions, origins);
  std::vector<size_t> places(order.size());
  for (size_t place = 0; place < order.size(); ++place) places[order[place]] = place;

  std::vector<PlacedBranch> branches(origins.starts.size());
  for (size_t i = 0; i < revisions.size(); ++i) {
    PlacedBranch& branch = branches[origins.branches[i]];
    if (branch.tip == nullptr) branch.first = places[i];
    branch.tip = &revisions[i];
    branch.last = places[i];
  }
  std::vector<size_t> sequence(branches.size());
  std::iota(sequence.begin(), sequence.end(), size_t{0});
  for (const size_t each : sequence) {
    if (const auto& start = origins.starts[each]) branches[each].start = places[*start];
  }
  std::stable_sort(sequence.begin(), sequence.end(), [&](size_t left, size_t right) {
    return beginOf(branches[left]) < beginOf(branches[right]);
  });

  std::vector<std::optional<size_t>> ends(1);
  for (const size_t each : sequence) {
    PlacedBranch& branch = branches[each];
    const auto& start = origins.starts[each];
    const size_t origin = start ? branches[origins.branches[*start]].lane : 0;
    if (branch.tip->branch != kTrunk) {
      branch.lane = takeLane(&ends, origin + 1, beginOf(branch), branch.last);
    }
  }

  // From the newest on.
  Lanes lanes{.count = ends.size(), .rows = {}, .branches = {}};
  const size_t newest = order.size() - 1;
  std::vector<size_t> indices(branches.size());
  for (const size_t each : sequence) {
    PlacedBranch branch = branches[each];
    for (size_t* place : {&branch.first, &branch.last}) *place = newest - *place;
    if (branch.start) branch.start = newest - *branch.start;
    indices[each] = lanes.branches.size();
    lanes.branches.push_back(branch);
  }
  for (auto each = order.rbegin(); each != order.rend(); ++each) {
    lanes.rows.push_back({&revisions[*each], indices[origins.branches[*each]]});
  }
  return lanes;
}

}  // namespace cli
