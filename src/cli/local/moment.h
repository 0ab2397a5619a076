// cli/local/moment.h: moments as people read them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace cli {

// "2026-11-23 10:31:06", local time, for seconds since 1970. Texts of this form order as the
// moments do.
std::string momentOf(int64_t seconds);

// The time that a date means, as such texts: a day, a minute or a second.
struct Span {
  std::string first;
  std::string last;
};
// Of "2026-11-23", "2026-11-23T10:30", with seconds too, "today", "yesterday" and "3 days ago".
std::optional<Span> spanOf(const std::string& text);
// The same; throws misuse for what is no date.
Span spanNamed(const std::string& text);

}  // namespace cli
