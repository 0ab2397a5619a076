// Tests of packed local time against the system's own calendar.
#include "dates/packedtime.h"

#include <gtest/gtest.h>
#include <time.h>

#include <random>

#include "runtime/zone.h"
#include "support/files.h"

namespace dates {
namespace {

using foldapi::packNanoseconds;
using foldapi::reloadTimeZone;
using foldapi::unpackNanoseconds;

constexpr int64_t kSecond = 1'000'000'000;

// The process's zone for the time of a test.
class ScopedZone {
 public:
  explicit ScopedZone(const char* zone) : environment_(new support::ScopedEnvironment("TZ", zone)) {
    reloadTimeZone();
  }
  ~ScopedZone() {
    environment_.reset();
    reloadTimeZone();
  }

 private:
  std::unique_ptr<support::ScopedEnvironment> environment_;
};

uint32_t packedBySystem(time_t moment) {
  tm local;
  localtime_r(&moment, &local);
  return packTime({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                   local.tm_min, local.tm_sec});
}

TEST(PackedTime, RefusesWhatIsNoTime) {
  const uint32_t day = 15u << 25 | 2 << 21 | 28 << 16;
  int64_t nanoseconds;
  EXPECT_TRUE(isTime(unpackTime(day)));
  EXPECT_TRUE(isTime({2000, 2, 29, 0, 0, 0}));
  EXPECT_EQ(packTime({1979, 12, 31, 23, 59, 59}), packTime({1980, 1, 1, 0, 0, 0}));
  EXPECT_EQ(packTime({2108, 1, 1, 0, 0, 0}), packTime({2107, 12, 31, 23, 59, 59}));
  for (const uint32_t bad : {0u, day + (1 << 16), day & ~(31u << 16), day | 15u << 21,
                             day | 24 << 11, day | 60 << 5, day | 30}) {
    EXPECT_FALSE(isTime(unpackTime(bad))) << bad;
    EXPECT_FALSE(unpackNanoseconds(bad, &nanoseconds)) << bad;
  }
}

TEST(PackedTime, FollowsTheZoneThroughItsChanges) {
  constexpr time_t kFirst = 315532800 - 86400, kLast = 4354819199 + 86400;
  for (const char* name : {"UTC0", "EST5EDT,M3.2.0,M11.1.0", "CET-1CEST,M3.5.0,M10.5.0/3",
                           "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45", "<-12>12"}) {
    const ScopedZone zone(name);
    std::mt19937_64 random(1);
    std::uniform_int_distribution<time_t> moments(kFirst, kLast);
    for (int i = 0; i < 5000; ++i) {
      const time_t moment = moments(random);
      ASSERT_EQ(packNanoseconds(moment * kSecond), packedBySystem(moment)) << name << ' ' << moment;
    }
    // Every ten minutes through a year: both changes, and the stretches around them.
    for (time_t moment = 1700000000; moment < 1700000000 + 366 * 86400; moment += 600) {
      const uint32_t packed = packNanoseconds(moment * kSecond + 1);
      ASSERT_EQ(packed, packedBySystem(moment)) << name << ' ' << moment;
      int64_t back;
      ASSERT_TRUE(unpackNanoseconds(packed, &back));
      ASSERT_EQ(packNanoseconds(back), packed) << name << ' ' << moment;
    }
  }
}

}  // namespace
}  // namespace dates
