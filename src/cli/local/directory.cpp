// cli/local/directory.cpp: finds, reads and writes ".trevault/directory".
#include "cli/local/directory.h"

#include <fmt/format.h>

#include <utility>

#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"
#include "os/place.h"
#include "os/sibling.h"
#include "os/trust.h"

namespace cli {
namespace {

constexpr uint64_t kLargest = 64 << 10;

// The names of the lines, and what they hold.
constexpr std::pair<std::string_view, std::string WorkDirectory::*> kLines[] = {
    {"project", &WorkDirectory::project},     {"public", &WorkDirectory::publicRoot},
    {"private", &WorkDirectory::privateRoot}, {"follows", &WorkDirectory::follows},
    {"group", &WorkDirectory::group},
};

std::string fileIn(const std::string& top) { return joined(joined(top, kMemory), "directory"); }

void takeLine(std::string_view line, WorkDirectory* to) {
  for (const auto& [name, field] : kLines) {
    if (line.starts_with(name) && line.substr(name.size()).starts_with(' ')) {
      to->*field = line.substr(name.size() + 1);
    }
  }
}

// Made by another it would be his word for the user's own; a link could lead to a true one.
bool isOwn(const std::string& top, const os::FileStatus& file) {
  os::FileStatus memory;
  return os::readEntryStatus(joined(top, kMemory).c_str(), &memory) == os::FileResult::kDone &&
         memory.isDirectory && os::isOurs(memory) && os::isOurs(file);
}

}  // namespace

std::string WorkDirectory::line(const char* verb) const {
  std::string text = fmt::format("{} in {}, {} {}", project, shown(top), verb,
                                 follows == "trunk" ? "the trunk" : follows);
  if (!group.empty()) text += ", works in group " + group;
  return text;
}

std::optional<WorkDirectory> findWorkDirectory(const std::string& start) {
  for (std::string top = start;; top = os::parentOf(top)) {
    std::string text;
    os::FileStatus file;
    const os::FileResult result = os::readFile(fileIn(top).c_str(), kLargest, &text, &file);
    if (result == os::FileResult::kDone && !isOwn(top, file)) {
      throw Problem{joined(top, kMemory), "is another user's, and decides nothing for you",
                    "work in a directory of your own"};
    }
    if (result == os::FileResult::kDone) {
      WorkDirectory found;
      found.top = top;
      found.isStored = true;
      for (const std::string& line : split(text, '\n')) takeLine(line, &found);
      if (!found.project.empty()) return found;
      throw Problem{fileIn(top), "is damaged: it names no project",
                    "remove it, and 'trevault join' the project again"};
    }
    if (result != os::FileResult::kMissing && os::hasEntry(fileIn(top).c_str())) {
      throw Problem{fileIn(top), "can't be read", "see who owns it"};
    }
    if (os::parentOf(top) == top) return {};
  }
}

void storeWorkDirectory(const WorkDirectory& directory) {
  const std::string path = fileIn(directory.top);
  std::string text;
  for (const auto& [name, field] : kLines) {
    if (!(directory.*field).empty()) text += fmt::format("{} {}\n", name, directory.*field);
  }
  os::File old;
  os::File placed;
  os::Place place;
  const bool hasPlace = os::makeDirectories(os::parentOf(path)) &&
                        os::Place::of(path, &place) == os::FileResult::kDone;
  const bool isThere =
      hasPlace && old.open(path.c_str(), os::File::Access::kUpdate) == os::FileResult::kDone;
  if (!hasPlace ||
      os::replaceFile(place, isThere ? &old : nullptr, text, &placed) != os::FileResult::kDone) {
    throw Problem{path, "can't be written", "see who owns the directory"};
  }
}

}  // namespace cli
