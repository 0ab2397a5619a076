// cli/local/kept.cpp: one directory for each moment at which something was put aside.
#include "cli/local/kept.h"

#include <fmt/format.h>

#include <vector>

#include "cli/local/directory.h"
#include "cli/problem.h"
#include "cli/text/paths.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/file.h"

namespace cli {
namespace {

constexpr int64_t kDay = 86'400;
constexpr int64_t kDays = 14;

// "2026-11-23T103106", local time; texts of this form order as the moments do.
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
  return fmt::format("{:04}-{:02}-{:02}T{:02}{:02}{:02}", year + era * 400 + (named <= 2 ? 1 : 0),
                     named, day, rest / 3600, rest / 60 % 60, rest % 60);
}

void removeTree(const std::string& path) {
  std::vector<std::string> names;
  os::forEachEntry(path.c_str(), [&](const char* name) { names.emplace_back(name); });
  for (const std::string& name : names) {
    const std::string entry = joined(path, name);
    os::FileStatus status;
    if (os::readEntryStatus(entry.c_str(), &status) != os::FileResult::kDone) continue;
    if (status.isDirectory) {
      removeTree(entry);
    } else {
      static_cast<void>(os::removeFile(entry.c_str()));
    }
  }
  os::removeDirectory(path);
}

void removeOld(const std::string& kept, int64_t now) {
  const std::string oldest = momentOf(now - kDays * kDay);
  std::vector<std::string> old;
  os::forEachEntry(kept.c_str(), [&](const char* name) {
    if (name[0] != '.' && name < oldest) old.emplace_back(name);
  });
  for (const std::string& name : old) removeTree(joined(kept, name));
}

}  // namespace

void keep(const std::string& top, const std::string& path) {
  const int64_t now = os::wallClockNanoseconds() / 1'000'000'000;
  const std::string kept = joined(joined(top, kMemory), "kept");
  os::FileStatus status;
  const bool isThere = os::readEntryStatus(kept.c_str(), &status) == os::FileResult::kDone;
  if (isThere && !status.isDirectory) {
    throw Problem{kept, "is no directory, and old contents are kept there", "remove it"};
  }
  removeOld(kept, now);
  std::string place = joined(joined(kept, momentOf(now)), path);
  for (int more = 1; os::hasEntry(place.c_str()); ++more) {
    place = joined(joined(kept, fmt::format("{}-{}", momentOf(now), more)), path);
  }
  const bool isDone = os::makeDirectories(os::parentOf(place)) &&
                      os::moveFile(joined(top, path), place) == os::FileResult::kDone;
  if (!isDone) {
    throw Problem{path, fmt::format("its old content can't be kept in {}", kept),
                  "see whether the disk is full, and who owns the directory"};
  }
}

}  // namespace cli
