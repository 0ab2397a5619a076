// btkf520/operations/times.h: dates that people write and read.
//
// The words and the order of dates come from the configuration. Clients check dates by the same
// rules before they hand them over, so the two must agree on every text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "btkf520/archive/model.h"
#include "btkf520/archive/status.h"

namespace btkf {

// How dates are written, and which day is today.
struct DateRules {
  std::string_view words;   // Fourteen, as Configuration::dateWords() has them.
  std::string_view format;  // As Configuration::dateFormat().
  PackedTime now = 0;

  static DateRules current();
};

// What a text that leaves out fields means: the first or the last moment that fits.
enum class Fill { kEarliest, kLatest };

// The time that `text` says. Nothing if it says none.
std::optional<PackedTime> parseDate(const DateRules& rules, std::string_view text, Fill fill);

struct TimeRange {
  PackedTime from = 0;
  PackedTime to = UINT32_MAX;

  bool contains(PackedTime time) const { return from <= time && time <= to; }
};

// "from*to", where either may be missing; a date alone is all the time that it may mean, and a text
// without any is this moment. Nothing for a bad date.
std::optional<TimeRange> parseDateRange(const DateRules& rules, std::string_view text);

// "2026-11-21 04:05:46", which is read alike everywhere.
std::string isoTime(PackedTime time);

}  // namespace btkf
