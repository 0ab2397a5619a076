// cli/local/entries.h: check-ins of many files as the changes that they were to somebody.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/archives/history.h"
#include "cli/database/database.h"

namespace cli {

struct CheckIn {
  const FileRecord* file;
  const RevisionInfo* revision;
  int64_t seconds;  // By which it is ordered: see secondsOf().
};

// What somebody checked in at one time, as far as anybody can tell: check-ins of one author with
// one message, each soon after the one before, and one of each file at most.
using Entry = std::vector<CheckIn>;

// `checkIns` in their order, and so are the entries; an entry stands where its first one does. What
// is more than `window` seconds after the one before is another entry.
std::vector<Entry> entriesOf(const std::vector<CheckIn>& checkIns, int64_t window);

constexpr int64_t kEntryWindow = 5 * 60;

// Of "2026-11-23 10:31:06", as a clock of that zone counts from 1970; and the moment when the local
// zone's showed it.
int64_t secondsOf(const std::string& time);
int64_t utcOf(const std::string& time);
int64_t utcOfSeconds(int64_t seconds);

}  // namespace cli
