// pages/eventpages.h: who holds what, and what happened lately.
#pragma once

#include "pages/parts.h"

namespace pages {

void writeLocks(Html& html, const Context& context);
// The days up to that of `now`, "2026-11-23 10:31:06".
void writeDays(Html& html, const Context& context, const std::string& now);
// The first of these days.
std::string fortnightBefore(const std::string& now);

}  // namespace pages
