// os/fingerprint.h: strong 64-bit fingerprints of keys.
//
// The text hash that decides the order of records on disk is weak by design, so tables compare
// fingerprints before they compare keys. A fingerprint never leaves the process, and starts from
// random numbers of the system: so whoever writes the texts can't choose any that meet.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace os {

// Both halves of the product of two words, folded into one.
inline uint64_t foldedProduct(uint64_t a, uint64_t b) {
#ifdef __SIZEOF_INT128__
  __extension__ using Wide = unsigned __int128;
  const Wide product = Wide{a} * b;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
#else  // Narrow machines: from the products of the halves.
  constexpr uint64_t kHalf = 0xffffffff;
  const uint64_t low = (a & kHalf) * (b & kHalf);
  const uint64_t middle = (a >> 32) * (b & kHalf) + (low >> 32);
  const uint64_t other = (a & kHalf) * (b >> 32) + (middle & kHalf);
  const uint64_t high = (a >> 32) * (b >> 32) + (middle >> 32) + (other >> 32);
  return (other << 32 | (low & kHalf)) ^ high;
#endif
}

// Numbers that no other process can know, the same for as long as this one lives.
struct ProcessSeeds {
  uint64_t first;
  uint64_t second;
};
const ProcessSeeds& processSeeds();

// The factors are kept beside their product: so no word wipes out what was folded in before it.
inline uint64_t mixBits(uint64_t a, uint64_t b) { return foldedProduct(a, b) ^ a ^ b; }

// Folds `text` into `start`. The length goes in too, so neighbours in a chain of texts stay apart.
inline uint64_t fingerprintText(std::string_view text, uint64_t start) {
  const ProcessSeeds& seeds = processSeeds();
  uint64_t state = mixBits(start ^ seeds.first, text.size() ^ seeds.second);
  const char* bytes = text.data();
  size_t left = text.size();
  for (; left >= 8; left -= 8, bytes += 8) {
    uint64_t word;
    std::memcpy(&word, bytes, 8);
    state = mixBits(state ^ seeds.first, word ^ seeds.second);
  }
  uint64_t tail = 0;
  if (left != 0) std::memcpy(&tail, bytes, left);
  return mixBits(state ^ seeds.first, tail ^ seeds.second);
}

// For the tables of the standard library.
struct TextHash {
  // May be remembered by a table: not marked as one that never throws, it is.
  size_t operator()(std::string_view text) const {
    return static_cast<size_t>(fingerprintText(text, 0));
  }
};

}  // namespace os
