// archivefile/checksum.cpp: XXH64, written out from its description.
//
// Four lanes of eight bytes each, so that a processor can work on all four at once; what is left
// over at the end is mixed in word by word and byte by byte.
#include "archivefile/checksum.h"

#include <bit>
#include <cstring>

namespace archivefile {
namespace {

constexpr uint64_t kPrime1 = 0x9E3779B185EBCA87;
constexpr uint64_t kPrime2 = 0xC2B2AE3D27D4EB4F;
constexpr uint64_t kPrime3 = 0x165667B19E3779F9;
constexpr uint64_t kPrime4 = 0x85EBCA77C2B2AE63;
constexpr uint64_t kPrime5 = 0x27D4EB2F165667C5;

// A little-endian number.
template <typename Word>
Word load(const char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  if constexpr (std::endian::native == std::endian::big) {
    Word swapped = 0;
    for (size_t i = 0; i < sizeof word; ++i) {
      swapped = static_cast<Word>(swapped << 8) | static_cast<Word>(word >> 8 * i & 0xFF);
    }
    word = swapped;
  }
  return word;
}

uint64_t lane(uint64_t sum, uint64_t word) { return std::rotl(sum + word * kPrime2, 31) * kPrime1; }

uint64_t join(uint64_t sum, uint64_t laneSum) {
  return (sum ^ lane(0, laneSum)) * kPrime1 + kPrime4;
}

}  // namespace

Checksum::Checksum() : lanes_{kPrime1 + kPrime2, kPrime2, 0, 0 - kPrime1} {}

void Checksum::add(std::string_view bytes) {
  const size_t begun = length_ % kStripe;
  length_ += bytes.size();
  const auto takeStripes = [this](const char* at, const char* end) {
    auto [a, b, c, d] = lanes_;  // Copies, so that they stay in registers.
    for (; at != end; at += kStripe) {
      a = lane(a, load<uint64_t>(at));
      b = lane(b, load<uint64_t>(at + 8));
      c = lane(c, load<uint64_t>(at + 16));
      d = lane(d, load<uint64_t>(at + 24));
    }
    lanes_ = {a, b, c, d};
  };
  if (begun > 0) {
    const size_t count = bytes.copy(rest_.data() + begun, kStripe - begun);
    if (begun + count < kStripe) return;
    takeStripes(rest_.data(), rest_.data() + kStripe);
    bytes.remove_prefix(count);
  }
  const size_t whole = bytes.size() / kStripe * kStripe;
  takeStripes(bytes.data(), bytes.data() + whole);
  bytes.substr(whole).copy(rest_.data(), kStripe);
}

uint64_t Checksum::value() const {
  const auto [a, b, c, d] = lanes_;
  uint64_t sum = kPrime5;
  if (length_ >= kStripe) {
    sum = std::rotl(a, 1) + std::rotl(b, 7) + std::rotl(c, 12) + std::rotl(d, 18);
    sum = join(join(join(join(sum, a), b), c), d);
  }
  sum += length_;
  std::string_view rest(rest_.data(), length_ % kStripe);
  for (; rest.size() >= 8; rest.remove_prefix(8)) {
    sum = std::rotl(sum ^ lane(0, load<uint64_t>(rest.data())), 27) * kPrime1 + kPrime4;
  }
  if (rest.size() >= 4) {
    sum = std::rotl(sum ^ load<uint32_t>(rest.data()) * kPrime1, 23) * kPrime2 + kPrime3;
    rest.remove_prefix(4);
  }
  for (const char byte : rest) {
    sum = std::rotl(sum ^ static_cast<uint8_t>(byte) * kPrime5, 11) * kPrime1;
  }
  sum = (sum ^ sum >> 33) * kPrime2;
  sum = (sum ^ sum >> 29) * kPrime3;
  return sum ^ sum >> 32;
}

uint64_t checksumOf(std::string_view bytes) {
  Checksum sum;
  sum.add(bytes);
  return sum.value();
}

}  // namespace archivefile
