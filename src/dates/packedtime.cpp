// dates/packedtime.cpp: packing, and the calendar, which is arithmetic.
#include "dates/packedtime.h"

#include <algorithm>
#include <cstdio>

namespace dates {
namespace {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kEarliest = 315532800;  // 1980-01-01 00:00:00.
constexpr int64_t kLatest = 4354819199;   // 2107-12-31 23:59:59.
constexpr int kFirstYear = 1980;
constexpr int kLastYear = 2107;

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

}  // namespace

int daysOfMonth(int month, bool isLeapYear) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  return kDays[month - 1] + (month == 2 && isLeapYear ? 1 : 0);
}

PackedTime packTime(const LocalTime& time) {
  if (time.year < kFirstYear) return packTime(LocalTime{});
  if (time.year > kLastYear) return packTime({kLastYear, 12, 31, 23, 59, 59});
  const auto field = [](int value, int shift) { return static_cast<PackedTime>(value) << shift; };
  return field(time.seconds / 2, 0) | field(time.minutes, 5) | field(time.hours, 11) |
         field(time.day, 16) | field(time.month, 21) | field(time.year - kFirstYear, 25);
}

LocalTime unpackTime(PackedTime packed) {
  const auto field = [packed](int shift, int bits) {
    return static_cast<int>(packed >> shift & ((1u << bits) - 1));
  };
  return {kFirstYear + field(25, 7),
          field(21, 4),
          field(16, 5),
          field(11, 5),
          field(5, 6),
          field(0, 5) * 2};
}

bool isTime(const LocalTime& time) {
  const bool isLeap = time.year % 4 == 0 && (time.year % 100 != 0 || time.year % 400 == 0);
  return time.day >= 1 && time.day <= daysOfMonth(time.month, isLeap) && time.hours < 24 &&
         time.minutes < 60 && time.seconds < 60;
}

uint32_t reversePackedTime(PackedTime packed) {
  uint32_t reversed = 0;
  for (const int bits : {5, 6, 5, 5, 4, 7}) {
    reversed = reversed << bits | (packed & ((1u << bits) - 1));
    packed >>= bits;
  }
  return reversed;
}

PackedTime packSeconds(int64_t localSeconds) {
  const int64_t local = std::clamp(localSeconds, kEarliest, kLatest);
  LocalTime time;
  dateOfDays(local / kSecondsPerDay, &time);
  const auto second = static_cast<int>(local % kSecondsPerDay);
  time.hours = second / 3600;
  time.minutes = second / 60 % 60;
  time.seconds = second % 60;
  return packTime(time);
}

int64_t secondsOf(const LocalTime& time) {
  return daysOfDate(time) * kSecondsPerDay + time.hours * 3600 + time.minutes * 60 + time.seconds;
}

std::string isoText(PackedTime packed) {
  const LocalTime time = unpackTime(packed);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day,
                time.hours, time.minutes, time.seconds);
  return text;
}

}  // namespace dates
