// runtime/packedtime.cpp: packing is arithmetic; only the zone's offset comes from the system.
//
// Every archive of a folder has its stamp packed, so the offset is remembered for each stretch of
// time of fixed length. A stretch in which the zone changes its offset is not remembered, and asks
// each time.
#include "runtime/packedtime.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "runtime/platform_time.h"

namespace foldapi {
namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kEarliest = 315532800;  // 1980-01-01 00:00:00.
constexpr int64_t kLatest = 4354819199;   // 2107-12-31 23:59:59.
constexpr int kFirstYear = 1980;
constexpr int kLastYear = 2107;

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
  const int offset = platformZoneOffset(start);
  return offset == platformZoneOffset(end) ? kBias + offset : kChanging;
}

// Seconds east of UTC at a moment given in seconds since 1970.
int64_t zoneOffset(int64_t seconds) {
  if (seconds < kEarliest || seconds > kLatest) return platformZoneOffset(seconds);
  const auto stretch = static_cast<size_t>((seconds - kEarliest) >> kStretchBits);
  int32_t known = theOffsets[stretch].load(std::memory_order_relaxed);
  if (known == kNotAsked) {
    known = askStretch(stretch);
    theOffsets[stretch].store(known, std::memory_order_relaxed);
  }
  return known == kChanging ? platformZoneOffset(seconds) : known - kBias;
}

int64_t floorDivide(int64_t value, int64_t by) {
  return value / by - (value % by != 0 && (value < 0) != (by < 0) ? 1 : 0);
}

// Days since 1970 and the date they lead to, both ways. A year here begins in March, so that the
// day added in a leap year is its last.
constexpr int64_t kDaysToMarchOfYear0 = 719468;
constexpr int64_t kDaysPerEra = 146097;  // 400 years.

void dateOfDays(int64_t days, LocalTime* time) {
  days += kDaysToMarchOfYear0;
  const int64_t era = days / kDaysPerEra;  // Only called from 1980 on: nothing is negative.
  const int64_t dayOfEra = days % kDaysPerEra;
  const int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const int64_t marchMonth = (5 * dayOfYear + 2) / 153;
  time->day = static_cast<int>(dayOfYear - (153 * marchMonth + 2) / 5 + 1);
  time->month = static_cast<int>(marchMonth < 10 ? marchMonth + 3 : marchMonth - 9);
  time->year = static_cast<int>(yearOfEra + era * 400) + (time->month <= 2 ? 1 : 0);
}

int64_t daysOfDate(const LocalTime& time) {
  const int64_t year = time.year - (time.month <= 2 ? 1 : 0);
  const int64_t era = year / 400;
  const int64_t yearOfEra = year % 400;
  const int64_t marchMonth = time.month > 2 ? time.month - 3 : time.month + 9;
  const int64_t dayOfYear = (153 * marchMonth + 2) / 5 + time.day - 1;
  const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * kDaysPerEra + dayOfEra - kDaysToMarchOfYear0;
}

bool isLegal(const LocalTime& time) {
  const bool isLeap = time.year % 4 == 0 && (time.year % 100 != 0 || time.year % 400 == 0);
  return time.day >= 1 && time.day <= daysOfMonth(time.month, isLeap) && time.hours < 24 &&
         time.minutes < 60 && time.seconds < 60;
}

}  // namespace

int daysOfMonth(int month, bool isLeapYear) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  return kDays[month - 1] + (month == 2 && isLeapYear ? 1 : 0);
}

uint32_t packTime(const LocalTime& time) {
  if (time.year < kFirstYear) return packTime(LocalTime{});
  if (time.year > kLastYear) return packTime({kLastYear, 12, 31, 23, 59, 59});
  const auto field = [](int value, int shift) { return static_cast<uint32_t>(value) << shift; };
  return field(time.seconds / 2, 0) | field(time.minutes, 5) | field(time.hours, 11) |
         field(time.day, 16) | field(time.month, 21) | field(time.year - kFirstYear, 25);
}

bool unpackTime(uint32_t packed, LocalTime* time) {
  const auto field = [packed](int shift, int bits) {
    return static_cast<int>(packed >> shift & ((1u << bits) - 1));
  };
  *time = {kFirstYear + field(25, 7),
           field(21, 4),
           field(16, 5),
           field(11, 5),
           field(5, 6),
           field(0, 5) * 2};
  return isLegal(*time);
}

uint32_t reversePackedTime(uint32_t packed) {
  uint32_t reversed = 0;
  for (const int bits : {5, 6, 5, 5, 4, 7}) {
    reversed = reversed << bits | (packed & ((1u << bits) - 1));
    packed >>= bits;
  }
  return reversed;
}

uint32_t packNanoseconds(int64_t nanoseconds) {
  const int64_t utc = floorDivide(nanoseconds, kNanosecondsPerSecond);
  const int64_t local = std::clamp(utc + zoneOffset(utc), kEarliest, kLatest);
  LocalTime time;
  dateOfDays(local / kSecondsPerDay, &time);
  const auto second = static_cast<int>(local % kSecondsPerDay);
  time.hours = second / 3600;
  time.minutes = second / 60 % 60;
  time.seconds = second % 60;
  return packTime(time);
}

bool unpackNanoseconds(uint32_t packed, int64_t* nanoseconds) {
  LocalTime time;
  if (!unpackTime(packed, &time)) return false;
  const int64_t local =
      daysOfDate(time) * kSecondsPerDay + time.hours * 3600 + time.minutes * 60 + time.seconds;
  // The offset belongs to the moment looked for, so a first guess finds the place to ask at.
  const int64_t guess = local - zoneOffset(local);
  *nanoseconds = (local - zoneOffset(guess)) * kNanosecondsPerSecond;
  return true;
}

void reloadTimeZone() {
  platformReloadZone();
  for (std::atomic<int32_t>& offset : theOffsets) offset.store(kNotAsked);
}

}  // namespace foldapi
