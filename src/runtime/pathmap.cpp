// runtime/pathmap.cpp: asks the profile once for each drive and share.
#include "runtime/pathmap.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>

#include "runtime/nativepath.h"

namespace foldapi {
namespace {

constexpr char kSection[] = "[TRVSPATHS]";

struct PathMap {
  struct Drive {
    bool isKnown = false;
    std::optional<std::string> directory;
  };
  std::array<Drive, 26> drives;
  std::unordered_map<std::string, std::optional<std::string>> shares;
};

PathMap& pathMap() {
  static PathMap& map = *new PathMap;  // Never destroyed: files may be used until the very end.
  return map;
}

const std::string* addressOf(const std::optional<std::string>& directory) {
  return directory ? &*directory : nullptr;
}

}  // namespace

const std::string* mappedDrive(char letter) {
  const char upper = static_cast<char>(letter & ~0x20);
  if (upper < 'A' || upper > 'Z') return nullptr;
  PathMap::Drive& drive = pathMap().drives[static_cast<size_t>(upper - 'A')];
  if (!drive.isKnown) drive = {true, profileValue(kSection, std::string{upper, ':'}.c_str())};
  return addressOf(drive.directory);
}

const std::string* mappedShare(std::string_view share) {
  std::string key(share);
  std::replace(key.begin(), key.end(), '/', '\\');
  const auto known = pathMap().shares.find(key);
  if (known != pathMap().shares.end()) return addressOf(known->second);
  return addressOf(
      pathMap().shares.emplace(key, profileValue(kSection, key.c_str())).first->second);
}

void reloadPathMap() { pathMap() = {}; }

}  // namespace foldapi
