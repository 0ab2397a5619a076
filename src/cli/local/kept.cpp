// cli/local/kept.cpp: one directory for each moment at which something was put aside.
#include "cli/local/kept.h"

#include <fmt/format.h>

#include <vector>

#include "cli/local/directory.h"
#include "cli/local/moment.h"
#include "cli/problem.h"
#include "cli/text/paths.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/file.h"

namespace cli {
namespace {

constexpr int64_t kDay = 86'400;
constexpr int64_t kDays = 14;

// "2026-11-23T103106".
std::string nameOf(int64_t seconds) {
  std::string name = momentOf(seconds);
  std::erase(name, ':');
  name[name.find(' ')] = 'T';
  return name;
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
  const std::string oldest = nameOf(now - kDays * kDay);
  std::vector<std::string> old;
  os::forEachEntry(kept.c_str(), [&](const char* name) {
    if (name[0] != '.' && name < oldest) old.emplace_back(name);
  });
  for (const std::string& name : old) removeTree(joined(kept, name));
}

}  // namespace

std::string keptOf(const std::string& top) { return joined(joined(top, kMemory), "kept"); }

std::string keep(const std::string& top, const std::string& path) {
  const int64_t now = os::wallClockNanoseconds() / 1'000'000'000;
  const std::string kept = keptOf(top);
  os::FileStatus status;
  const bool isThere = os::readEntryStatus(kept.c_str(), &status) == os::FileResult::kDone;
  if (isThere && !status.isDirectory) {
    throw Problem{kept, "is no directory, and old contents are kept there", "remove it"};
  }
  removeOld(kept, now);
  std::string place = joined(joined(kept, nameOf(now)), path);
  for (int more = 1; os::hasEntry(place.c_str()); ++more) {
    place = joined(joined(kept, fmt::format("{}-{}", nameOf(now), more)), path);
  }
  const bool isDone = os::makeDirectories(os::parentOf(place)) &&
                      os::moveFile(joined(top, path), place) == os::FileResult::kDone;
  if (!isDone) {
    throw Problem{path, fmt::format("its old content can't be kept in {}", kept),
                  "see whether the disk is full, and who owns the directory"};
  }
  return place;
}

}  // namespace cli
