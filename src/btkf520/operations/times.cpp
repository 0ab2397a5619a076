// btkf520/operations/times.cpp: gives the reader of dates the clock and the configuration.
#include "btkf520/operations/times.h"

#include "btkf520/operations/surroundings.h"
#include "dates/packedtime.h"
#include "dates/reader.h"
#include "os/clock.h"

namespace btkf {
namespace {

dates::Language currentLanguage() {
  dates::Language language;
  language.setWords(configuration().dateWords());
  language.setFormat(configuration().dateFormat());
  return language;
}

}  // namespace

PackedTime packedTime(int64_t nanoseconds) {
  const int64_t seconds = nanoseconds / 1'000'000'000;
  return dates::packSeconds(seconds + os::zoneOffset(seconds));
}

PackedTime presentTime() { return packedTime(os::wallClockNanoseconds()); }

int64_t secondsOf(PackedTime time) {
  return dates::momentOf(dates::unpackTime(time), os::zoneOffset);
}

std::optional<PackedTime> parseDate(std::string_view text) {
  const auto date = dates::readDate(text, currentLanguage(), presentTime(), dates::Fill::kLatest);
  return date.status == dates::kGood ? std::optional(date.time) : std::nullopt;
}

std::optional<TimeRange> parseDateRange(std::string_view text) {
  const auto [from, to] = dates::readStretch(text, currentLanguage(), presentTime());
  if (from.status != dates::kGood || to.status != dates::kGood) return {};
  return TimeRange{from.time, to.time};
}

}  // namespace btkf
