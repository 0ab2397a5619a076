// base/vstring.cpp: formatting, the weak text hash, and the comparison that sorting lives on.
//
// compareNoCase() runs some twenty times for every name of a list that is sorted, and names of one
// directory begin alike. So it takes eight bytes at a time, folds only words that differ, and
// decides in whole registers. Its test: vstring_test.cpp.
#include "base/vstring.h"

#include <bit>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace foldapi {

namespace {

constexpr uint64_t kEachByte = 0x0101010101010101u;

// Eight bytes with A to Z turned to lower case. Bytes above 0x7f stay.
uint64_t foldWord(uint64_t word) {
  const uint64_t low = word & (0x7f * kEachByte);
  const uint64_t fromA = low + (0x80 - 'A') * kEachByte;  // High bit: at or above "A".
  const uint64_t pastZ = low + (0x7f - 'Z') * kEachByte;  // High bit: above "Z".
  const uint64_t upper = (fromA ^ pastZ) & ~word & (0x80 * kEachByte);
  return word | (upper >> 2);
}

// The first byte in the highest place, so that words order as their texts do.
uint64_t inTextOrder(uint64_t word) {
  return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

uint64_t loadWord(const char* bytes) {
  uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Up to seven bytes, filled up with zeros after them, in text order.
uint64_t loadTail(const char* bytes, size_t count) {
  uint64_t word = 0;
  for (size_t i = 0; i < count; ++i) word = word << 8 | static_cast<unsigned char>(bytes[i]);
  return count == 0 ? 0 : word << (8 * (8 - count));
}

int orderOf(uint64_t a, uint64_t b) { return a < b ? -1 : static_cast<int>(a > b); }

}  // namespace

VString VString::format(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text;
  if (length > 0) {
    text.resize(static_cast<size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return VString(std::move(text));
}

void VString::setCharAt(int index, char c) {
  if (index >= 0 && static_cast<size_t>(index) < text_.size())
    text_[static_cast<size_t>(index)] = c;
}

VBool VString::trimRight() {
  const size_t last = text_.find_last_not_of(" \t\n\v\f\r");
  text_.resize(last == std::string::npos ? 0 : last + 1);
  return !text_.empty();
}

int32_t VString::hashText(std::string_view text) {
  uint32_t sum = 0;
  for (size_t i = 0; i < text.size(); i += 2) sum += static_cast<unsigned char>(text[i]) & 0x7fu;
  return static_cast<int32_t>(sum & 0x7fffffffu);
}

int compareNoCase(std::string_view a, std::string_view b) {
  const size_t common = a.size() < b.size() ? a.size() : b.size();
  size_t at = 0;
  for (; at + 8 <= common; at += 8) {
    const uint64_t wordA = loadWord(a.data() + at);
    const uint64_t wordB = loadWord(b.data() + at);
    if (wordA == wordB) continue;
    const uint64_t foldedA = foldWord(wordA);
    const uint64_t foldedB = foldWord(wordB);
    if (foldedA != foldedB) return orderOf(inTextOrder(foldedA), inTextOrder(foldedB));
  }
  const uint64_t tailA = foldWord(loadTail(a.data() + at, common - at));
  const uint64_t tailB = foldWord(loadTail(b.data() + at, common - at));
  if (tailA != tailB) return orderOf(tailA, tailB);
  return orderOf(a.size(), b.size());
}

int compareText(std::string_view a, std::string_view b, VCase letterCase) {
  return letterCase == VCase::kExact ? a.compare(b) : compareNoCase(a, b);
}

}  // namespace foldapi
