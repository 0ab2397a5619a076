// dates/packedtime.h: the packed local time that data files, archives and clients know.
//
// It is local time without a zone, and ticks every two seconds. What zone that is, and what the
// clock says, is for the caller to know.
#pragma once

#include <cstdint>
#include <string>

namespace dates {

// From the highest bit: 7 bits years since 1980, 4 month, 5 day, 5 hours, 6 minutes, 5 seconds
// divided by two. So times compare as numbers.
using PackedTime = uint32_t;

struct LocalTime {
  int year = 1980;  // 1980 to 2107.
  int month = 1;    // 1 to 12.
  int day = 1;
  int hours = 0;
  int minutes = 0;
  int seconds = 0;

  bool operator==(const LocalTime&) const = default;
};

// 28 to 31; 0 if `month` is none. Which years are leap years is the caller's to say.
int daysOfMonth(int month, bool isLeapYear);

// A year out of range becomes the nearest moment that can be packed.
PackedTime packTime(const LocalTime& time);
// The fields as they stand, whether or not they make a time.
LocalTime unpackTime(PackedTime packed);
// Whether the fields make a date and a time of day.
bool isTime(const LocalTime& time);

// The layout that clients receive: the same fields in reverse order, years lowest.
uint32_t reversePackedTime(PackedTime packed);

// From and to the seconds that a clock of the local zone has counted since it showed 1970. Moments
// out of range become the nearest one that can be packed.
PackedTime packSeconds(int64_t localSeconds);
int64_t secondsOf(const LocalTime& time);

// The moment, in seconds since 1970, UTC, when such a clock shows `time`. `offsetAt` tells how many
// seconds east of UTC its zone is at a moment.
template <typename OffsetAt>
int64_t momentOf(const LocalTime& time, OffsetAt offsetAt) {
  const int64_t local = secondsOf(time);
  // The offset belongs to the moment looked for, so a first guess finds the place to ask at.
  return local - offsetAt(local - offsetAt(local));
}

// "2026-11-21 04:05:46", which is read alike everywhere.
std::string isoText(PackedTime packed);

}  // namespace dates
