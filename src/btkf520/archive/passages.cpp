// btkf520/archive/passages.cpp: a search made for contents and their parents.
//
// Both are alike over long stretches, in the same order, with small changes between. So the long
// passages are looked for first. Where one ends, the next most likely begins at the distance of
// one of the last few: that is all that a replaced word or block takes. Where bytes were inserted
// or deleted, blocks of the prefix are found again by their hash.
//
// What remains repeats nothing for long, but may have words in common with the rest: a second
// search through the gaps looks for a few equal bytes.
#include "btkf520/archive/passages.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace btkf {
namespace {

constexpr size_t kBlock = 16;       // What is hashed of a block, and must be equal at least.
constexpr size_t kLeastRepeat = 8;  // Worth going on at a former distance for.
constexpr size_t kRecentDistances = 4;
constexpr size_t kWord = 6;
constexpr int kWordTableLog = 13;
// Up to here a block is remembered at every sixteenth byte of the prefix, and words of it as well;
// beyond at fewer, and no words.
constexpr size_t kSmallSpan = 1 << 20;
constexpr size_t kSmallStep = 16;
constexpr size_t kWideStep = 64;
constexpr size_t kWordStep = 8;
// A search that finds nothing hastens after two to this power bytes, and again after as many.
constexpr size_t kPatienceLog = 8;

uint64_t load(const char* bytes) {
  uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// How many bytes are equal before the first of two words that differ in these bits.
size_t equalBytes(uint64_t difference) {
  const int bits = std::endian::native == std::endian::little ? std::countr_zero(difference)
                                                              : std::countl_zero(difference);
  return static_cast<size_t>(bits) / 8;
}

uint64_t mixed(uint64_t word) { return word * 0x9E3779B185EBCA87; }

// Places by the hash of what stands there, the last put for each slot, in a table that is lent.
// Most of what would be found by chance is told by a part of the hash, without a look at distant
// memory.
class Places {
 public:
  static constexpr size_t kNone = SIZE_MAX;

  Places(int log, std::vector<uint64_t>* table) : shift_(64 - log), table_(*table) {
    table_.assign(size_t{1} << log, 0);
  }
  void put(uint64_t hash, size_t place) { table_[slot(hash)] = hash << 32 | (place + 1); }
  size_t find(uint64_t hash) const {
    const uint64_t entry = table_[slot(hash)];
    const auto next = static_cast<uint32_t>(entry);
    return next == 0 || entry >> 32 != static_cast<uint32_t>(hash) ? kNone : next - 1;
  }

 private:
  size_t slot(uint64_t hash) const { return static_cast<size_t>(hash >> shift_); }

  int shift_;
  // The lower half of the hash, and one more than the place, which is below 4 GiB; 0 for none.
  std::vector<uint64_t>& table_;
};

uint64_t blockHash(const char* bytes) { return mixed(mixed(load(bytes)) + load(bytes + 8)); }
uint64_t wordHash(const char* bytes) { return mixed(load(bytes) << (64 - 8 * kWord)); }

// A passage by its place in the content.
struct Match {
  size_t at = 0;
  size_t length = 0;
  size_t distance = 0;
  size_t end() const { return at + length; }
};

}  // namespace

// Places in prefix and content count as if the one stood ahead of the other.
class PassageFinder::Search {
 public:
  // The tables are used as long as it lives.
  Search(std::string_view content, std::string_view prefix, std::vector<uint64_t>* blocks,
         std::vector<uint64_t>* words)
      : content_(content),
        prefix_(prefix),
        isSmall_(content.size() + prefix.size() <= kSmallSpan),
        blocks_(blockTableLog(), blocks),
        words_(kWordTableLog, words) {
    for (size_t place = 0; place + kBlock <= prefix_.size(); place += blockStep()) {
      blocks_.put(blockHash(prefix_.data() + place), place);
    }
    if (!isSmall_) return;
    for (size_t place = 0; place + sizeof(uint64_t) <= prefix_.size(); place += kWordStep) {
      words_.put(wordHash(prefix_.data() + place), place);
    }
  }

  std::optional<Passage> next() {
    const Match match = nextMatch();
    if (match.length == 0) return {};
    const size_t skipped = match.at - std::exchange(end_, match.end());
    return Passage{static_cast<uint32_t>(skipped), static_cast<uint32_t>(match.length),
                   static_cast<uint32_t>(match.distance)};
  }

 private:
  size_t blockStep() const { return isSmall_ ? kSmallStep : kWideStep; }
  int blockTableLog() const {
    return std::max(static_cast<int>(std::bit_width(prefix_.size() / blockStep())), 8);
  }

  // Words up to the long match that was found last, then that, then the same with the next one.
  // Length 0 at the end.
  Match nextMatch() {
    for (;;) {
      if (const Match word = nextWord(); word.length != 0) return word;
      if (long_.length == 0 && longAt_ == content_.size()) return {};
      if (long_.length != 0) {
        gap_ = wordAt_ = long_.end();
        return std::exchange(long_, {});
      }
      findLong();
    }
  }

  // The next long match, and where the gap before it ends.
  void findLong() {
    const size_t begin = longAt_;  // Of what repeats nothing so far.
    for (size_t at = begin; at + kBlock <= content_.size();) {
      Match match = repeatAt(at);
      if (match.length < 4 * kBlock) {
        consider(blocks_.find(blockHash(content_.data() + at)), kBlock, content_.size(), &match);
      }
      if (match.length == 0) {
        at += 1 + ((at - begin) >> kPatienceLog);
        continue;
      }
      growBackwards(begin, &match);
      remember(match.distance);
      long_ = match;
      gapEnd_ = match.at;
      longAt_ = match.end();
      return;
    }
    gapEnd_ = longAt_ = content_.size();
  }

  // The longest repeat at one of the recent distances.
  Match repeatAt(size_t at) const {
    Match match{at, 0, 0};
    for (const size_t distance : recent_) {
      if (distance != 0 && distance <= prefix_.size() + at) {
        consider(prefix_.size() + at - distance, kLeastRepeat, content_.size(), &match);
      }
    }
    return match;
  }

  // Takes the source for *match if it is equal for longer, and for `least` bytes at least. Looks no
  // further than to `end`: else many short gaps that look alike would take quadratic time.
  void consider(size_t source, size_t least, size_t end, Match* match) const {
    if (source == Places::kNone) return;
    const size_t length = equalLength(source, match->at, end);
    if (length < least || length <= match->length) return;
    match->length = length;
    match->distance = prefix_.size() + match->at - source;
  }

  size_t equalLength(size_t source, size_t at, size_t end) const {
    const char* const a = content_.data() + at;
    const char* const b = bytesAt(source);
    size_t most = end - at;
    if (source < prefix_.size()) most = std::min(most, prefix_.size() - source);
    size_t length = 0;
    for (; length + 8 <= most; length += 8) {
      const uint64_t difference = load(a + length) ^ load(b + length);
      if (difference != 0) return length + equalBytes(difference);
    }
    while (length < most && a[length] == b[length]) ++length;
    return length;
  }

  const char* bytesAt(size_t place) const {
    return place < prefix_.size() ? prefix_.data() + place
                                  : content_.data() + (place - prefix_.size());
  }

  void growBackwards(size_t begin, Match* match) const {
    size_t source = prefix_.size() + match->at - match->distance;
    while (match->at > begin && source > 0 && *bytesAt(source - 1) == content_[match->at - 1]) {
      --source;
      --match->at;
      ++match->length;
    }
  }

  void remember(size_t distance) {
    const auto place = std::find(recent_.begin(), recent_.end() - 1, distance);
    std::rotate(recent_.begin(), place, place + 1);
    recent_.front() = distance;
  }

  // The next word before the end of the gap.
  Match nextWord() {
    while (wordAt_ + sizeof(uint64_t) <= gapEnd_) {
      const uint64_t hash = wordHash(content_.data() + wordAt_);
      Match match{wordAt_, 0, 0};
      consider(words_.find(hash), kWord, gapEnd_, &match);
      words_.put(hash, prefix_.size() + wordAt_);
      if (match.length == 0) {
        wordAt_ += 1 + ((wordAt_ - gap_) >> kPatienceLog);
        continue;
      }
      growBackwards(gap_, &match);
      gap_ = wordAt_ = match.end();
      return match;
    }
    return {};
  }

  std::string_view content_;
  std::string_view prefix_;
  bool isSmall_;
  Places blocks_;
  Places words_;
  std::array<size_t, kRecentDistances> recent_{};  // The last first; 0 for none yet.
  Match long_;                                     // Found, but not given yet.
  size_t longAt_ = 0;                              // Where the next one is looked for.
  size_t gap_ = 0;                                 // What is searched for words, ...
  size_t wordAt_ = 0;                              // ... from here on ...
  size_t gapEnd_ = 0;                              // ... up to here.
  size_t end_ = 0;                                 // Of the passage that was given last.
};

PassageFinder::PassageFinder() = default;
PassageFinder::~PassageFinder() = default;

void PassageFinder::begin(std::string_view content, std::string_view prefix) {
  search_ = std::make_unique<Search>(content, prefix, &blocks_, &words_);
}

std::optional<Passage> PassageFinder::next() { return search_->next(); }

}  // namespace btkf
