// runtime/packedtime.h: the packed local time that data files, archives and clients know.
//
// 32 bits, from the lowest: 5 bits seconds divided by two, 6 minutes, 5 hours, 5 day, 4 month,
// 7 years since 1980. It is local time without a zone, and ticks every two seconds.
#pragma once

#include <cstdint>

namespace foldapi {

// A time of the local zone.
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
uint32_t packTime(const LocalTime& time);
// False if the fields make no date or time of day; *time then holds them as they stand.
bool unpackTime(uint32_t packed, LocalTime* time);

// The layout that clients receive: the same fields in reverse order, years lowest.
uint32_t reversePackedTime(uint32_t packed);

// From and to nanoseconds since the start of 1970, UTC. Times before 1980 become the first moment
// of 1980. The way back gives false for a value that is no time.
uint32_t packNanoseconds(int64_t nanoseconds);
bool unpackNanoseconds(uint32_t packed, int64_t* nanoseconds);

// Asks for the local zone again: it is looked up once.
void reloadTimeZone();

}  // namespace foldapi
