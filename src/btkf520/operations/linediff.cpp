// btkf520/operations/linediff.cpp: the shortest list of edits, in little memory.
//
// Lines become numbers, and what both texts begin and end with and lines that only one of them has
// are left out: they are no part of the question. The rest is searched from both ends at once, each
// time for the furthest that one edit more can get, until both searches meet. There the texts are
// cut in two, and each half is searched for itself. So the time grows with the lines times the
// edits, and the memory with the lines alone.
#include "btkf520/operations/linediff.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <new>
#include <optional>

#include "btkf520/operations/editplaces.h"
#include "os/fingerprint.h"

namespace btkf {
namespace {

using Index = std::ptrdiff_t;
using Number = uint32_t;

// A comparison takes about so many steps at most, half a second; only texts of millions of lines
// take more. For 20,000 lines of both together that is enough to find the shortest list, and for
// more lines where there are few edits. Where it is not, a search for the place to cut ends after
// its rounds, and the texts are cut at a line that both have once, one of as many such lines as
// there are in the same order; where there is none, at the furthest that the search has come to.
// Then the list may be longer than the shortest.
constexpr size_t kMostSteps = size_t{1} << 28;
constexpr size_t kLeastRounds = 256;
// So many times the lines so far are thought to come at most.
constexpr size_t kMostLike = 16;

// Gives each line of the first text, and whatever equals it, a number: where the first such line
// is.
class LineTable {
 public:
  static constexpr Number kNone = UINT32_MAX;

  // About `count` lines from `begin` on, where numbers are counted from.
  LineTable(const Lines& lines, const LineRules& rules, size_t begin, size_t count)
      : lines_(lines), rules_(rules), begin_(begin) {
    while (mask_ < count + count / 2) mask_ = 2 * mask_ + 1;
    slots_ = NumberArray<Slot>(mask_ + 1);
    std::fill_n(slots_.data(), mask_ + 1, Slot{0, kNone});
  }

  // Puts lines of its own text in and hands each number to `take`, with the line's place.
  template <typename Take>
  void add(size_t count, Take take) {
    search(lines_, begin_, count, [&take](Slot* slot, size_t place) {
      if (slot->number == kNone) slot->number = static_cast<Number>(place);
      take(slot->number, place);
    });
  }

  // Hands the number of each line to `take`, kNone for a line that the table doesn't have.
  template <typename Take>
  void find(const Lines& lines, size_t begin, size_t count, Take take) {
    search(lines, begin, count, [&take](Slot* slot, size_t place) { take(slot->number, place); });
  }

 private:
  struct Slot {
    uint32_t print;
    Number number;  // kNone where nothing is.
  };

  // Some lines at a time, so that the memory brings their slots at once.
  template <typename Take>
  void search(const Lines& lines, size_t begin, size_t count, Take take) {
    uint64_t hashes[16];
    for (size_t done = 0; done < count; done += std::size(hashes)) {
      const size_t some = std::min(count - done, std::size(hashes));
      for (size_t i = 0; i < some; ++i) {
        const std::string_view line = lines[begin + done + i];
        hashes[i] = os::fingerprintText(rules_.isPlain() ? line : rules_.whatCounts(line), 0);
        __builtin_prefetch(&slots_[static_cast<size_t>(hashes[i]) & mask_]);
      }
      for (size_t i = 0; i < some; ++i) {
        take(&slotOf(lines[begin + done + i], hashes[i]), done + i);
      }
    }
  }

  // The one that has the line, or else the one to put it in: it has the line's print then.
  Slot& slotOf(std::string_view line, uint64_t hash) {
    const auto print = static_cast<uint32_t>(hash >> 32);
    for (size_t at = static_cast<size_t>(hash) & mask_;; at = (at + 1) & mask_) {
      Slot& slot = slots_[at];
      if (slot.number == kNone) {
        slot.print = print;
        return slot;
      }
      if (slot.print == print && rules_.areEqual(line, lines_[begin_ + slot.number])) return slot;
    }
  }

  const Lines& lines_;
  const LineRules& rules_;
  const size_t begin_;
  size_t mask_ = 63;
  NumberArray<Slot> slots_;
};

// What is compared of a text.
struct Side {
  explicit Side(size_t most) : numbers(most), places(most), kept(most) {
    if (most >= LineTable::kNone / 2) throw std::bad_alloc();
  }

  void add(Number number, size_t place) {
    numbers[count] = number;
    places[count++] = static_cast<Number>(place);
  }

  // Of the lines that the other text has too, and where they stand.
  NumberArray<Number> numbers;
  NumberArray<Number> places;
  size_t count = 0;
  std::vector<bool> kept;  // Of all lines.
};

// Between two lines of each text, or how many lines of each.
struct Place {
  Index first;
  Index second;
};

struct Box {
  Place begin;
  Place end;

  Place size() const { return {end.first - begin.first, end.second - begin.second}; }
  Index lines() const { return size().first + size().second; }
  bool isEmpty() const { return size().first == 0 || size().second == 0; }
};

// The search from one end of a box on, or with `kStep` -1 from the other end back. What it has
// passed lies behind it. On one diagonal are all places with so many lines more of the first text
// behind them than of the second.
template <Index kStep>
class Front {
 public:
  // For so many rounds after the first.
  explicit Front(Index most)
      : memory_(static_cast<size_t>(2 * most + 3)), reach_(memory_.data() + most + 1) {}
  Front(const Front&) = delete;
  Front& operator=(const Front&) = delete;

  // The first lines differ.
  void start(const Side& first, const Side& second, const Place& origin, const Place& size) {
    constexpr Index kNext = kStep > 0 ? 0 : -1;
    first_ = first.numbers.data() + origin.first + kNext;
    second_ = second.numbers.data() + origin.second + kNext;
    origin_ = origin;
    size_ = size;
    round_ = -1;
  }

  // Goes as far as one edit more can get, on every other diagonal. Gives the place where it meets
  // `other`, which may be null.
  std::optional<Place> advance(const Front<-kStep>* other) {
    ++round_;
    reach_[-round_ - 1] = reach_[round_ + 1] = -1;
    for (Index diagonal = lowest(); diagonal <= highest(); diagonal += 2) {
      const Index end = std::min(size_.first, size_.second + diagonal);
      Index at = std::min(std::max(reach_[diagonal - 1] + 1, reach_[diagonal + 1]), end);
      while (at < end && first_[kStep * at] == second_[kStep * (at - diagonal)]) ++at;
      reach_[diagonal] = at;
      if (other != nullptr && other->hasReached(size_.first - at, diagonal))
        return placeOn(diagonal);
    }
    return {};
  }

  // Which most lines lie behind.
  Place furthest() const {
    Index best = lowest();
    for (Index diagonal = best; diagonal <= highest(); diagonal += 2) {
      if (2 * reach_[diagonal] - diagonal > 2 * reach_[best] - best) best = diagonal;
    }
    return placeOn(best);
  }

  // The diagonal is told as it is counted from the other end.
  bool hasReached(Index first, Index diagonal) const {
    const Index own = size_.first - size_.second - diagonal;
    return std::abs(own) <= round_ && reach_[own] >= first;
  }

 private:
  // The last diagonals of this round within the box.
  Index lowest() const { return -outermost(size_.second); }
  Index highest() const { return outermost(size_.first); }
  Index outermost(Index lines) const {
    return round_ <= lines ? round_ : lines - (round_ - lines) % 2;
  }
  Place placeOn(Index diagonal) const {
    const Index first = reach_[diagonal];
    return {origin_.first + kStep * first, origin_.second + kStep * (first - diagonal)};
  }

  std::vector<Index> memory_;
  // On each diagonal, how many lines of the first text lie behind; -1 beside the last one reached.
  Index* const reach_;
  const Number* first_ = nullptr;
  const Number* second_ = nullptr;
  Place origin_{};
  Place size_{};
  Index round_ = -1;
};

// Lines that each text has once, as many as there are in the same order.
std::vector<Place> uniqueLines(const Side& first, const Side& second) {
  constexpr Index kNone = -1;
  constexpr Index kMany = -2;
  std::vector<Index> placeInSecond(first.kept.size(), kNone);
  for (size_t j = 0; j < second.count; ++j) {
    Index& place = placeInSecond[second.numbers[j]];
    place = place == kNone ? static_cast<Index>(j) : kMany;
  }
  for (size_t i = 0; i < first.count; ++i) {
    if (first.numbers[i] != first.places[i]) placeInSecond[first.numbers[i]] = kMany;
  }
  std::vector<Place> lines;
  std::vector<size_t> linked;  // For each line, the one before it in the longest list that it ends.
  std::vector<size_t> ends;    // For each length, the line that ends such a list earliest.
  for (size_t i = 0; i < first.count; ++i) {
    const Index j = placeInSecond[first.numbers[i]];
    if (j < 0) continue;
    const auto end = std::partition_point(ends.begin(), ends.end(),
                                          [&](size_t line) { return lines[line].second < j; });
    linked.push_back(end == ends.begin() ? 0 : end[-1]);
    lines.push_back({static_cast<Index>(i), j});
    if (end == ends.end()) {
      ends.push_back(lines.size() - 1);
    } else {
      *end = lines.size() - 1;
    }
  }
  std::vector<Place> result(ends.size());
  size_t line = ends.empty() ? 0 : ends.back();
  for (size_t left = result.size(); left > 0; line = linked[line]) result[--left] = lines[line];
  return result;
}

// Finds a longest list of lines that both have in the same order.
class Search {
 public:
  Search(Side* first, Side* second)
      : first_(*first),
        second_(*second),
        most_(mostRounds(first_.count + second_.count)),
        forward_(most_),
        backward_(most_) {}

  void run() {
    compare({{0, 0}, {static_cast<Index>(first_.count), static_cast<Index>(second_.count)}});
  }

 private:
  static Index mostRounds(size_t lines) {
    const size_t most = std::max(kMostSteps / (lines + 1), kLeastRounds);
    return static_cast<Index>(std::min(most, lines / 2 + 1));
  }

  // The smaller part is for the recursion, which so stays flat.
  void compare(Box box) {
    for (keepEnds(&box); !box.isEmpty(); keepEnds(&box)) {
      const Place place = placeToCut(box);
      Box less = {box.begin, place};
      box.begin = place;
      if (less.lines() > box.lines()) std::swap(less, box);
      compare(less);
    }
  }

  // What both begin with and end with stays.
  void keepEnds(Box* box) {
    for (; !box->isEmpty() && keepIfEqual(box->begin); ++box->begin.first) ++box->begin.second;
    while (!box->isEmpty() && keepIfEqual({box->end.first - 1, box->end.second - 1})) {
      --box->end.first;
      --box->end.second;
    }
  }

  bool keepIfEqual(const Place& place) {
    const auto first = static_cast<size_t>(place.first);
    const auto second = static_cast<size_t>(place.second);
    if (first_.numbers[first] != second_.numbers[second]) return false;
    first_.kept[first_.places[first]] = true;
    second_.kept[second_.places[second]] = true;
    return true;
  }

  Place placeToCut(const Box& box) {
    forward_.start(first_, second_, box.begin, box.size());
    backward_.start(first_, second_, box.end, box.size());
    // They meet after an odd number of edits or an even one, as the numbers of lines tell.
    const bool isOdd = box.lines() % 2 != 0;
    for (Index round = 0; round <= most_; ++round) {
      if (const auto place = forward_.advance(isOdd ? &backward_ : nullptr)) return *place;
      if (const auto place = backward_.advance(isOdd ? nullptr : &forward_)) return *place;
    }
    if (const auto place = uniqueLineIn(box)) return *place;
    const Place ahead = forward_.furthest();
    const Place back = backward_.furthest();
    return Box{box.begin, ahead}.lines() >= Box{back, box.end}.lines() ? ahead : back;
  }

  std::optional<Place> uniqueLineIn(const Box& box) {
    if (!unique_) unique_ = uniqueLines(first_, second_);
    const auto begin =
        std::partition_point(unique_->begin(), unique_->end(), [&box](const Place& each) {
          return each.first < box.begin.first || each.second < box.begin.second;
        });
    const auto end = std::partition_point(begin, unique_->end(), [&box](const Place& each) {
      return each.first < box.end.first && each.second < box.end.second;
    });
    if (begin == end) return {};
    return begin[(end - begin) / 2];
  }

  Side& first_;
  Side& second_;
  const Index most_;
  Front<1> forward_;
  Front<-1> backward_;
  std::optional<std::vector<Place>> unique_;
};

// What is left when lines are cut off that both texts begin or end with, byte for byte.
Edit withoutEqualEnds(const Lines& first, const Lines& second) {
  const size_t most = std::min(first.size(), second.size());
  size_t head = 0;
  while (head < most && first[head] == second[head]) ++head;
  size_t tail = 0;
  while (tail < most - head && first[first.size() - 1 - tail] == second[second.size() - 1 - tail]) {
    ++tail;
  }
  return {head, first.size() - head - tail, head, second.size() - head - tail};
}

// Leaves lines out that only one text has: they can't stay.
void fillSides(const Lines& first, const Lines& second, const LineRules& rules, const Edit& where,
               Side* one, Side* other) {
  LineTable table(first, rules, where.first, where.firstCount);
  table.add(where.firstCount, [&](Number number, size_t place) { one->numbers[place] = number; });
  std::vector<bool> isInBoth(where.firstCount);
  table.find(second, where.second, where.secondCount, [&](Number number, size_t place) {
    if (number == LineTable::kNone) return;
    isInBoth[number] = true;
    other->add(number, place);
  });
  for (size_t i = 0; i < where.firstCount; ++i) {
    if (isInBoth[one->numbers[i]]) one->add(one->numbers[i], i);
  }
}

size_t endOfLine(std::string_view text, size_t begin) {
  return std::min(text.find('\n', begin), text.size() - 1) + 1;
}

// What stands between lines that stay.
std::vector<Edit> editsAround(const std::vector<bool>& kept, const std::vector<bool>& otherKept,
                              const Edit& where) {
  std::vector<Edit> edits;
  for (size_t i = 0, j = 0; i < kept.size() || j < otherKept.size();) {
    const size_t first = i;
    const size_t second = j;
    while (i < kept.size() && !kept[i]) ++i;
    while (j < otherKept.size() && !otherKept[j]) ++j;
    if (i > first || j > second) {
      edits.push_back({where.first + first, i - first, where.second + second, j - second});
    }
    for (; i < kept.size() && kept[i] && otherKept[j]; ++j) ++i;
  }
  return edits;
}

}  // namespace

Lines::Lines(std::string_view text) : text_(text) {
  size_t room = 0;
  for (size_t at = 0; at < text.size(); ends_[size_++] = at) {
    if (size_ == room) {
      // The rest is thought to have lines like those so far: they are looked for once, not twice.
      const double share = static_cast<double>(size_) / static_cast<double>(at + 1);
      const double rest = 1.1 * share * static_cast<double>(text.size() - at);
      room += 1024 + std::min(static_cast<size_t>(rest), kMostLike * size_);
      NumberArray<size_t> wider(room);
      std::copy_n(ends_.data(), size_, wider.data());
      ends_ = std::move(wider);
    }
    at = endOfLine(text, at);
  }
}

std::vector<Edit> compareLines(const Lines& first, const Lines& second, const LineRules& rules) {
  const Edit where = withoutEqualEnds(first, second);
  Side one(where.firstCount);
  Side other(where.secondCount);
  fillSides(first, second, rules, where, &one, &other);
  Search(&one, &other).run();
  std::vector<Edit> edits = editsAround(one.kept, other.kept, where);
  placeEdits(first, second, rules, &edits);
  return edits;
}

}  // namespace btkf
