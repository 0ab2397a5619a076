// cli/local/moment.h: moments as people read them.
#pragma once

#include <cstdint>
#include <string>

namespace cli {

// "2026-11-23 10:31:06", local time, for seconds since 1970. Texts of this form order as the
// moments do.
std::string momentOf(int64_t seconds);

}  // namespace cli
