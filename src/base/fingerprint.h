// base/fingerprint.h: strong 64-bit fingerprints of keys.
//
// The text hash that decides the order of records on disk is weak by design, so tables compare
// fingerprints before they compare keys. A fingerprint never leaves the process.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace foldapi {

__extension__ using Wide = unsigned __int128;

inline uint64_t mixBits(uint64_t a, uint64_t b) {
  const Wide product = Wide{a ^ 0x9e3779b97f4a7c15u} * (b ^ 0xd6e8feb86659fd93u);
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
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
