// base/fingerprint.h: strong 64-bit fingerprints of keys.
//
// The text hash that decides the order of records on disk is weak by design, so tables compare
// fingerprints before they compare keys. A fingerprint never leaves the process.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace foldapi {

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

inline uint64_t mixBits(uint64_t a, uint64_t b) {
  return foldedProduct(a ^ 0x9e3779b97f4a7c15u, b ^ 0xd6e8feb86659fd93u);
}

// Folds `text` into `seed`. The length goes in too, so neighbours in a chain of texts stay apart.
inline uint64_t fingerprintText(std::string_view text, uint64_t seed) {
  uint64_t state = mixBits(seed, text.size());
  const char* bytes = text.data();
  size_t left = text.size();
  for (; left >= 8; left -= 8, bytes += 8) {
    uint64_t word;
    std::memcpy(&word, bytes, 8);
    state = mixBits(state, word);
  }
  uint64_t tail = 0;
  if (left != 0) std::memcpy(&tail, bytes, left);
  return mixBits(state, tail);
}

}  // namespace foldapi
