// archivefile/checksum.h: how damage is found: XXH64 with seed 0.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace archivefile {

// The checksum of bytes that come piece by piece.
class Checksum {
 public:
  Checksum();

  void add(std::string_view bytes);
  uint64_t value() const;  // Of all that was added.

 private:
  static constexpr size_t kStripe = 32;

  std::array<uint64_t, 4> lanes_;
  std::array<char, kStripe> rest_{};  // Not a whole stripe yet.
  uint64_t length_ = 0;
};

uint64_t checksumOf(std::string_view bytes);

}  // namespace archivefile
