// runtime/nativepath.cpp: what a path text means on this system.
//
// Databases come from disks that don't tell "Main.C" from "main.c", so a name that is missing is
// looked for without regard to case. That needs the whole directory; its listing is kept as long as
// the directory's own time shows that nothing has come or gone, or a folder full of such names
// would be read anew for each of them.
#include "runtime/nativepath.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "kstrinin/kstrinin.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/entries.h"
#include "os/environment.h"
#include "os/trust.h"
#include "runtime/mbstring.h"
#include "runtime/pathmap.h"
#include "runtime/paths.h"

namespace foldapi {
namespace {

constexpr uint16_t kLongestValue = 4096;
constexpr size_t kListingsKept = 8;

std::string foldCase(std::string_view name) {
  std::string folded(name);
  std::transform(folded.begin(), folded.end(), folded.begin(), foldedCase);
  return folded;
}

// The names of one directory, by their folded form.
class Listing {
 public:
  explicit Listing(const os::DirectoryState& state) : state_(state) {}

  void read(const char* directory) {
    const int64_t now = os::wallClockNanoseconds();
    const bool isWhole = os::forEachEntryOfKind(directory, [this](const char* name, os::EntryKind) {
      const auto [place, isNew] = names_.try_emplace(foldCase(name), name);
      if (!isNew) place->second.clear();  // Several: none of them is meant.
    });
    isSettled_ = isWhole && os::isSettled(state_.modified, now);
  }

  bool isOf(const os::DirectoryState& state) const { return state.identity == state_.identity; }
  // Whether nothing came or went up to the state `state` of the same directory, all of which was
  // read.
  bool isCurrent(const os::DirectoryState& state) const { return isSettled_ && state == state_; }

  // The single name that equals `name` without regard to case, "" with none or several.
  std::string find(std::string_view name) const {
    const auto found = names_.find(foldCase(name));
    return found == names_.end() ? std::string() : found->second;
  }

 private:
  os::DirectoryState state_;
  bool isSettled_ = false;
  std::unordered_map<std::string, std::string> names_;
};

// The listing of a directory. The cache holds those used last, the newest first.
const Listing& listingOf(const char* directory, const os::DirectoryState& state) {
  static std::vector<Listing>& listings = *new std::vector<Listing>;
  const auto known = std::find_if(listings.begin(), listings.end(),
                                  [&](const Listing& listing) { return listing.isOf(state); });
  if (known != listings.end() && known->isCurrent(state)) {
    std::rotate(listings.begin(), known, known + 1);
    return listings.front();
  }
  if (known != listings.end()) {
    listings.erase(known);
  } else if (listings.size() == kListingsKept) {
    listings.pop_back();
  }
  listings.emplace(listings.begin(), state)->read(directory);
  return listings.front();
}

// The end of the share "\\server\share" that `path` begins with.
size_t shareEnd(std::string_view path) {
  constexpr std::string_view kSeparators = "\\/";
  const size_t serverEnd = path.find_first_of(kSeparators, 2);
  if (serverEnd == std::string_view::npos) return path.size();
  return std::min(path.find_first_of(kSeparators, serverEnd + 1), path.size());
}

}  // namespace

PlainPath::PlainPath(std::string_view path) {
  const std::string* place = nullptr;
  if (hasDrive(path)) {
    place = mappedDrive(path[0]);
    isValid_ = place != nullptr || os::hasDrives();
    if (place != nullptr || !isValid_) path.remove_prefix(2);
  } else if (path.starts_with("\\\\") || path.starts_with("//")) {
    const size_t end = shareEnd(path);
    place = mappedShare(path.substr(0, end));
    // Doubled slashes that are no share of the map are what this system takes them for: one.
    isValid_ = place != nullptr || path[0] == '/' || os::hasDrives();
    if (place != nullptr) path.remove_prefix(end);
  } else if (os::hasDrives() && path.find_first_of("\\/") == 0) {
    const std::string present =
        os::currentDirectory();  // A file has one path: that with its drive.
    if (hasDrive(present)) append(present.substr(0, 2));
  }
  if (place != nullptr) {
    append(*place);
    const bool isSeparated = path.empty() || path[0] == '\\' || path[0] == '/';
    if (!isSeparated && !place->ends_with('/')) append("/");
    if (isSeparated && !path.empty() && place->ends_with('/')) path.remove_prefix(1);
  }
  const size_t start = length_;
  append(path);
  if (length_ == 0) isValid_ = false;
  if (!isValid_) length_ = 0;
  text_[length_] = '\0';
  for (size_t i = path.find('\\'); isValid_ && i < path.size(); i = path.find('\\', i + 1)) {
    if (mbTrailOffset(path, i) == 0) text_[start + i] = '/';
  }
}

void PlainPath::append(std::string_view part) {
  if (part.size() >= kCapacity - length_ || std::memchr(part.data(), 0, part.size()) != nullptr) {
    isValid_ = false;
    return;
  }
  std::memcpy(text_ + length_, part.data(), part.size());
  length_ += part.size();
}

std::string findCaseBlind(std::string path) {
  if (path.empty() || os::hasDrives() || os::hasEntry(path.c_str())) return path;
  const size_t nameEnd = path.find_last_not_of('/') + 1;
  const size_t nameStart = path.find_last_of('/', nameEnd - 1) + 1;  // 0 with none.
  const size_t parentEnd = path.find_last_not_of('/', nameStart == 0 ? 0 : nameStart - 1);
  std::string parent = nameStart == 0 ? "." : "/";
  if (nameStart != 0 && parentEnd != std::string::npos && path[parentEnd] != '/') {
    parent = findCaseBlind(path.substr(0, parentEnd + 1));
  }
  std::string name = path.substr(nameStart, nameEnd - nameStart);
  if (const auto state = os::directoryState(parent.c_str())) {
    const std::string found = listingOf(parent.c_str(), *state).find(name);
    if (!found.empty()) name = found;
  }
  if (nameStart == 0) return name + path.substr(nameEnd);
  if (!parent.ends_with('/')) parent += '/';
  return parent + name + path.substr(nameEnd);
}

std::string nativePath(std::string_view path) {
  const PlainPath plain(path);
  return plain.isValid() ? findCaseBlind(plain.text()) : std::string();
}

std::string profilePath() {
  char path[4096];
  return KSTRGetKESTRIANINI(path, sizeof path) != 0 ? path : "";
}

std::optional<std::string> profileValue(const char* section, const char* key) {
  const intptr_t profile = KSTRIniOpen(profilePath().c_str());
  if (profile == 0) return std::nullopt;
  char value[kLongestValue] = "";
  const bool found = KSTRQueryProfileString(profile, section, key, value, kLongestValue) != 0;
  KSTRIniClose(profile);
  if (!found || value[0] == '\0') return std::nullopt;
  return value;
}

bool profileAllows(const char* key) {
  return os::isOursAlone(profilePath()) &&
         foldCase(profileValue("[TRVSGUI]", key).value_or("")) == "on";
}

std::string userDataDirectory() {
  const std::string directory = os::dataDirectory();
  return directory.empty() ? "" : directory + "/trevault";
}

}  // namespace foldapi
