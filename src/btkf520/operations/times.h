// btkf520/operations/times.h: dates in the words and the order of the current configuration.
//
// dates/reader.h tells how they are read. Clients check dates by the same rules before they hand
// them over.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "btkf520/archive/model.h"

namespace btkf {

// The time of the local zone at a moment in nanoseconds since 1970, and now.
PackedTime packedTime(int64_t nanoseconds);
PackedTime presentTime();
// The way back, in seconds since 1970.
int64_t secondsOf(PackedTime time);

// The last moment that `text` may mean. Nothing if it is no date.
std::optional<PackedTime> parseDate(std::string_view text);

struct TimeRange {
  PackedTime from = 0;
  PackedTime to = UINT32_MAX;

  bool contains(PackedTime time) const { return from <= time && time <= to; }
};

// "from*to", where either may be missing; a date alone is all the time that it may mean, and a text
// without any is this moment. Nothing for a bad date.
std::optional<TimeRange> parseDateRange(std::string_view text);

}  // namespace btkf
