// cli/local/moment.cpp: days to dates.
#include "cli/local/moment.h"

#include <fmt/format.h>

#include "os/clock.h"

namespace cli {

std::string momentOf(int64_t seconds) {
  constexpr int64_t kDay = 86'400;
  seconds += os::zoneOffset(seconds);
  const int64_t days = seconds / kDay;
  const int64_t rest = seconds % kDay;
  // Years that begin with March: then the day that may be missing is the last of them.
  const int64_t shifted = days + 719'468;
  const int64_t era = shifted / 146'097;
  const int64_t ofEra = shifted % 146'097;
  const int64_t year = (ofEra - ofEra / 1460 + ofEra / 36'524 - ofEra / 146'096) / 365;
  const int64_t ofYear = ofEra - (365 * year + year / 4 - year / 100);
  const int64_t month = (5 * ofYear + 2) / 153;
  const int64_t day = ofYear - (153 * month + 2) / 5 + 1;
  const int64_t named = month < 10 ? month + 3 : month - 9;
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", year + era * 400 + (named <= 2 ? 1 : 0),
                     named, day, rest / 3600, rest / 60 % 60, rest % 60);
}

}  // namespace cli
