// btkf520/operations/editplaces.cpp: edits slide to where a reader expects them.
//
// An edit of one text alone may slide up if the line before it equals its last one, and down if its
// first line equals the one after it. Best it comes to stand beside another edit, for then both are
// one. Otherwise it begins and ends where the lines are least indented, since there the largest
// pieces of a text begin; then after blank lines rather than before them, and not before a line
// that closes something. If all this is the same, as far down as it can.
#include "btkf520/operations/editplaces.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

namespace btkf {
namespace {

// Nobody looks farther than this: long runs of equal lines are no text that has better places.
constexpr size_t kFarthest = 1000;
constexpr size_t kMostBlankLines = 20;
constexpr size_t kTab = 8;
// A column of indentation is worse than all else together that two borders can cost.
constexpr size_t kColumn = 8;

// In columns; nothing for a blank line.
std::optional<size_t> indentation(std::string_view line) {
  size_t columns = 0;
  for (const char c : line) {
    if (c == ' ') {
      ++columns;
    } else if (c == '\t') {
      columns = (columns / kTab + 1) * kTab;
    } else if (c != '\r' && c != '\n') {
      return columns;
    }
  }
  return {};
}

// How bad it is to begin or to end an edit before the line `at`.
size_t costOfBorder(const Lines& lines, size_t at) {
  if (at == 0 || at == lines.size()) return 0;
  const auto before = indentation(lines[at - 1]);
  const auto after = indentation(lines[at]);
  if (after) return *after * kColumn + (!before ? 0 : *after >= *before ? 2 : 3);
  const size_t end = std::min(lines.size(), at + kMostBlankLines);
  for (size_t next = at + 1; next < end; ++next) {
    if (const auto columns = indentation(lines[next])) return *columns * kColumn + 1;
  }
  return 1;
}

// The lines that an edit of one text adds or takes away.
struct Run {
  const Lines& lines;
  size_t begin;
  size_t end;
};

size_t roomAbove(const Run& run, const LineRules& rules, size_t most) {
  size_t room = 0;
  while (room < most &&
         rules.areEqual(run.lines[run.begin - 1 - room], run.lines[run.end - 1 - room])) {
    ++room;
  }
  return room;
}

size_t roomBelow(const Run& run, const LineRules& rules, size_t most) {
  size_t room = 0;
  while (room < most && rules.areEqual(run.lines[run.begin + room], run.lines[run.end + room])) {
    ++room;
  }
  return room;
}

// Where a run of so many lines begins best, from `highest` on with so much room below.
size_t bestPlace(const Lines& lines, size_t highest, size_t room, size_t count) {
  size_t best = highest;
  size_t least = SIZE_MAX;
  for (size_t place = highest; place <= highest + room; ++place) {
    const size_t cost = costOfBorder(lines, place) + costOfBorder(lines, place + count);
    if (cost <= least) {
      least = cost;
      best = place;
    }
  }
  return best;
}

Edit joined(const Edit& edit, const Edit& next) {
  return {edit.first, edit.firstCount + next.firstCount, edit.second,
          edit.secondCount + next.secondCount};
}

}  // namespace

void placeEdits(const Lines& first, const Lines& second, const LineRules& rules,
                std::vector<Edit>* edits) {
  size_t placed = 0;  // So many are where they stay, at the front of *edits.
  for (size_t next = 0; next < edits->size();) {
    Edit edit = (*edits)[next++];
    while (edit.firstCount == 0 || edit.secondCount == 0) {
      const Run run = edit.firstCount == 0 ? Run{second, edit.second, edit.secondEnd()}
                                           : Run{first, edit.first, edit.firstEnd()};
      const size_t gapAbove = edit.first - (placed == 0 ? 0 : (*edits)[placed - 1].firstEnd());
      const size_t above = roomAbove(run, rules, std::min(gapAbove, kFarthest));
      if (placed != 0 && above == gapAbove) {
        edit = joined((*edits)[--placed], edit);
        continue;
      }
      const bool isLast = next == edits->size();
      const size_t gapBelow = (isLast ? first.size() : (*edits)[next].first) - edit.firstEnd();
      const size_t below = roomBelow(run, rules, std::min(gapBelow, kFarthest));
      if (!isLast && below == gapBelow) {
        edit.first += below;
        edit.second += below;
        edit = joined(edit, (*edits)[next++]);
        continue;
      }
      const size_t highest = run.begin - above;
      const size_t best = bestPlace(run.lines, highest, above + below, run.end - run.begin);
      edit.first += best - run.begin;
      edit.second += best - run.begin;
      break;
    }
    (*edits)[placed++] = edit;
  }
  edits->resize(placed);
}

}  // namespace btkf
