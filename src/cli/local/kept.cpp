// cli/local/kept.cpp: one directory for each moment at which something was put aside.
#include "cli/local/kept.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
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
constexpr uint64_t kMostBytes = 1'000'000'000;

// "2026-11-23T103106".
std::string nameOf(int64_t seconds) {
  std::string name = momentOf(seconds);
  std::erase(name, ':');
  name[name.find(' ')] = 'T';
  return name;
}

std::vector<std::string> namesIn(const std::string& directory) {
  std::vector<std::string> names;
  os::forEachEntry(directory.c_str(), [&](const char* name) { names.emplace_back(name); });
  return names;
}

uint64_t sizeOf(const std::string& path) {
  os::FileStatus status;
  if (os::readEntryStatus(path.c_str(), &status) != os::FileResult::kDone) return 0;
  if (!status.isDirectory) return status.size;
  uint64_t sum = 0;
  for (const std::string& name : namesIn(path)) sum += sizeOf(joined(path, name));
  return sum;
}

void removeTree(const std::string& path) {
  for (const std::string& name : namesIn(path)) {
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

}  // namespace

std::string keptOf(const std::string& top) { return joined(joined(top, kMemory), "kept"); }

// What has the name of this moment may be this command's own.
void Kept::lookThrough(int64_t now) {
  if (std::exchange(isKnown_, true)) return;
  const std::string kept = keptOf(top_);
  const std::string oldest = nameOf(now - kDays * kDay);
  for (const std::string& name : namesIn(kept)) {
    if (name.starts_with('.')) continue;
    const std::string directory = joined(kept, name);
    if (name < oldest) {
      removeTree(directory);
    } else {
      bytes_ += sizeOf(directory);
      if (name < nameOf(now)) earlier_.push_back(directory);
    }
  }
  std::sort(earlier_.rbegin(), earlier_.rend());
}

std::string Kept::keep(const std::string& path) {
  const int64_t now = os::wallClockNanoseconds() / 1'000'000'000;
  const std::string kept = keptOf(top_);
  os::FileStatus status;
  const bool isThere = os::readEntryStatus(kept.c_str(), &status) == os::FileResult::kDone;
  if (isThere && !status.isDirectory) {
    throw Problem{kept, "is no directory, and old contents are kept there", "remove it"};
  }
  lookThrough(now);
  std::string place = joined(joined(kept, nameOf(now)), path);
  for (int more = 1; os::hasEntry(place.c_str()); ++more) {
    place = joined(joined(kept, fmt::format("{}-{}", nameOf(now), more)), path);
  }
  const bool isDone = os::makeDirectories(os::parentOf(place)) &&
                      os::moveFile(joined(top_, path), place) == os::FileResult::kDone;
  if (!isDone) {
    throw Problem{path, fmt::format("its old content can't be kept in {}", kept),
                  "see whether the disk is full, and who owns the directory"};
  }
  bytes_ += sizeOf(place);
  for (; bytes_ > kMostBytes && !earlier_.empty(); earlier_.pop_back()) {
    bytes_ -= sizeOf(earlier_.back());
    removeTree(earlier_.back());
  }
  return place;
}

}  // namespace cli
