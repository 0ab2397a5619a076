// runtime/zone.cpp: the local zone's offset, remembered.
//
// Every archive of a folder has its stamp packed, so the offset is remembered for each stretch of
// time of fixed length. A stretch in which the zone changes its offset is not remembered, and asks
// each time.
#include "runtime/zone.h"

#include <array>
#include <atomic>
#include <cstddef>

#include "dates/packedtime.h"
#include "os/clock.h"

namespace foldapi {
namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int64_t kEarliest = 315532800;  // 1980-01-01 00:00:00.
constexpr int64_t kLatest = 4354819199;   // 2107-12-31 23:59:59.

// A day and a half: no zone changes its offset there and back in less.
constexpr int kStretchBits = 17;
constexpr size_t kStretches = static_cast<size_t>((kLatest - kEarliest) >> kStretchBits) + 1;

constexpr int32_t kNotAsked = 0;
constexpr int32_t kChanging = 1;
constexpr int32_t kBias = 1 << 20;  // Makes an offset differ from the two marks above.
constinit std::array<std::atomic<int32_t>, kStretches> theOffsets{};

int32_t askStretch(size_t stretch) {
  const int64_t start = kEarliest + static_cast<int64_t>(stretch << kStretchBits);
  const int64_t end = start + (int64_t{1} << kStretchBits) - 1;
  const int offset = os::zoneOffset(start);
  return offset == os::zoneOffset(end) ? kBias + offset : kChanging;
}

// Seconds east of UTC at a moment given in seconds since 1970.
int64_t zoneOffset(int64_t seconds) {
  if (seconds < kEarliest || seconds > kLatest) return os::zoneOffset(seconds);
  const auto stretch = static_cast<size_t>((seconds - kEarliest) >> kStretchBits);
  int32_t known = theOffsets[stretch].load(std::memory_order_relaxed);
  if (known == kNotAsked) {
    known = askStretch(stretch);
    theOffsets[stretch].store(known, std::memory_order_relaxed);
  }
  return known == kChanging ? os::zoneOffset(seconds) : known - kBias;
}

int64_t floorDivide(int64_t value, int64_t by) {
  return value / by - (value % by != 0 && (value < 0) != (by < 0) ? 1 : 0);
}

}  // namespace

uint32_t packNanoseconds(int64_t nanoseconds) {
  const int64_t utc = floorDivide(nanoseconds, kNanosecondsPerSecond);
  return dates::packSeconds(utc + zoneOffset(utc));
}

bool unpackNanoseconds(uint32_t packed, int64_t* nanoseconds) {
  const dates::LocalTime time = dates::unpackTime(packed);
  if (!dates::isTime(time)) return false;
  *nanoseconds = dates::momentOf(time, zoneOffset) * kNanosecondsPerSecond;
  return true;
}

void reloadTimeZone() {
  os::reloadZone();
  for (std::atomic<int32_t>& offset : theOffsets) offset.store(kNotAsked);
}

}  // namespace foldapi
