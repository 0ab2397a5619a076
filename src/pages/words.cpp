// pages/words.cpp: the longest common sequence of the words between what both lines begin and end
// with. Where that is long, all of it is told to differ: nobody waits for a page of such lines.
#include "pages/words.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "cli/text/text.h"

namespace pages {
namespace {

using Words = std::vector<std::string_view>;

enum class Kind { kWord, kBlank, kSign };

Kind kindOf(std::string_view letter) {
  const char c = letter.front();
  if (c == ' ' || c == '\t') return Kind::kBlank;
  const bool isWord = letter.size() > 1 || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                      (c >= '0' && c <= '9') || c == '_';
  return isWord ? Kind::kWord : Kind::kSign;
}

Words wordsOf(std::string_view line) {
  Words words;
  Kind before = Kind::kSign;
  for (size_t place = 0; place < line.size();) {
    const std::string_view letter = cli::firstLetter(line.substr(place));
    const Kind kind = kindOf(letter);
    if (kind == Kind::kSign || kind != before || words.empty()) {
      words.push_back(letter);
    } else {
      words.back() = line.substr(static_cast<size_t>(words.back().data() - line.data()),
                                 words.back().size() + letter.size());
    }
    before = kind;
    place += letter.size();
  }
  return words;
}

// Neighbours of one sort are one piece.
void add(std::string_view word, bool isChanged, std::vector<Piece>* to) {
  if (word.empty()) return;
  if (!to->empty() && to->back().isChanged == isChanged) {
    to->back().text = {to->back().text.data(), to->back().text.size() + word.size()};
  } else {
    to->push_back({word, isChanged});
  }
}

// lengths[i][j]: how many words the rests from i and j have in common, in their order.
class Common {
 public:
  Common(const Words& first, const Words& second)
      : width_(second.size() + 1), lengths_((first.size() + 1) * width_) {
    for (size_t i = first.size(); i-- > 0;) {
      for (size_t j = second.size(); j-- > 0;) {
        at(i, j) = first[i] == second[j] ? static_cast<uint16_t>(at(i + 1, j + 1) + 1)
                                         : std::max(at(i + 1, j), at(i, j + 1));
      }
    }
  }
  uint16_t& at(size_t i, size_t j) { return lengths_[i * width_ + j]; }

 private:
  size_t width_;
  std::vector<uint16_t> lengths_;
};

// How many bytes both ranges begin with that are whole words.
template <typename Letter>
size_t sameStart(Letter first, Letter firstEnd, Letter second, Letter secondEnd) {
  auto same = std::mismatch(first, firstEnd, second, secondEnd).first - first;
  const auto isBefore = [&](Kind kind) {
    const char& c = *(first + same - 1);
    return (static_cast<unsigned char>(c) >= 0x80 ? Kind::kWord : kindOf({&c, 1})) == kind;
  };
  while (same > 0 && isBefore(Kind::kWord)) --same;
  while (same > 0 && isBefore(Kind::kBlank)) --same;
  return static_cast<size_t>(same);
}

void addChanged(std::string_view first, std::string_view second, Pieces* pieces) {
  constexpr size_t kLongest = 64 << 10;
  constexpr size_t kMost = 400;
  const bool isLong = std::max(first.size(), second.size()) > kLongest;
  const Words left = isLong ? Words{first} : wordsOf(first);
  const Words right = isLong ? Words{second} : wordsOf(second);
  if (isLong || left.size() > kMost || right.size() > kMost) {
    add(first, true, &pieces->first);
    add(second, true, &pieces->second);
    return;
  }
  Common common(left, right);
  size_t i = 0;
  size_t j = 0;
  while (i < left.size() || j < right.size()) {
    const bool isBoth = i < left.size() && j < right.size();
    if (isBoth && left[i] == right[j]) {
      add(left[i++], false, &pieces->first);
      add(right[j++], false, &pieces->second);
    } else if (j == right.size() || (isBoth && common.at(i + 1, j) >= common.at(i, j + 1))) {
      add(left[i++], true, &pieces->first);
    } else {
      add(right[j++], true, &pieces->second);
    }
  }
}

}  // namespace

Pieces changedWords(std::string_view first, std::string_view second) {
  const size_t start = sameStart(first.begin(), first.end(), second.begin(), second.end());
  const auto rest = static_cast<std::ptrdiff_t>(start);
  const size_t end =
      sameStart(first.rbegin(), first.rend() - rest, second.rbegin(), second.rend() - rest);
  Pieces pieces;
  add(first.substr(0, start), false, &pieces.first);
  add(second.substr(0, start), false, &pieces.second);
  addChanged(first.substr(start, first.size() - start - end),
             second.substr(start, second.size() - start - end), &pieces);
  add(first.substr(first.size() - end), false, &pieces.first);
  add(second.substr(second.size() - end), false, &pieces.second);
  return pieces;
}

}  // namespace pages
