// cli/local/moment.cpp: days to dates.
#include "cli/local/moment.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "cli/local/entries.h"
#include "cli/problem.h"
#include "dates/packedtime.h"
#include "os/clock.h"

namespace cli {
namespace {

constexpr int64_t kDay = 86'400;

std::string dayBeforeToday(int64_t days) {
  return momentOf(os::wallClockNanoseconds() / 1'000'000'000 - days * kDay).substr(0, 10);
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Whether it is a date and a time of day, up to where it goes.
bool isDate(const std::string& text) {
  constexpr std::string_view kForm = "0000-00-00 00:00:00";
  if (text.size() != 10 && text.size() != 16 && text.size() != kForm.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (kForm[i] == '0' ? !isDigit(text[i]) : text[i] != kForm[i]) return false;
  }
  // A day that there isn't becomes another one. Seconds are told by twos.
  constexpr size_t kMinute = 16;
  const std::string again = dates::isoText(dates::packSeconds(secondsOf(text)));
  return again.substr(0, std::min(text.size(), kMinute)) == text.substr(0, kMinute);
}

}  // namespace

std::string momentOf(int64_t seconds) {
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

std::optional<Span> spanOf(const std::string& text) {
  std::string date = text;
  const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const std::string_view rest = std::string_view(text).substr(digits);
  if (text == "today" || text == "yesterday") {
    date = dayBeforeToday(text == "today" ? 0 : 1);
  } else if (digits > 0 && digits < 6 && (rest == " days ago" || rest == " day ago")) {
    date = dayBeforeToday(std::stoll(text.substr(0, digits)));
  } else if (date.size() > 10 && date[10] == 'T') {
    date[10] = ' ';
  }
  if (!isDate(date)) return {};
  return Span{date + std::string("0000-00-00 00:00:00").substr(date.size()),
              date + std::string("0000-00-00 23:59:59").substr(date.size())};
}

Span spanNamed(const std::string& text) {
  if (const auto span = spanOf(text)) return *span;
  throw misuse(text, "not a date",
               "write 2026-11-23, 2026-11-23T10:30, today, yesterday or '3 days ago'");
}

}  // namespace cli
