// runtime/pathmap.cpp: asks the profile once for each drive and share.
#include "runtime/pathmap.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>

#include "kstrinin/kstrinin.h"
#include "runtime/nativepath.h"

namespace foldapi {
namespace {

constexpr char kSection[] = "[TRVSPATHS]";
constexpr uint16_t kLongestPath = 4096;

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

std::optional<std::string> askProfile(const std::string& key) {
  const intptr_t profile = KSTRIniOpen(profilePath().c_str());
  if (profile == 0) return std::nullopt;
  char directory[kLongestPath] = "";
  const bool found =
      KSTRQueryProfileString(profile, kSection, key.c_str(), directory, kLongestPath) != 0;
  KSTRIniClose(profile);
  if (!found || directory[0] == '\0') return std::nullopt;
  return directory;
}

const std::string* addressOf(const std::optional<std::string>& directory) {
  return directory ? &*directory : nullptr;
}

}  // namespace

const std::string* mappedDrive(char letter) {
  const char upper = static_cast<char>(letter & ~0x20);
  if (upper < 'A' || upper > 'Z') return nullptr;
  PathMap::Drive& drive = pathMap().drives[static_cast<size_t>(upper - 'A')];
  if (!drive.isKnown) drive = {true, askProfile({upper, ':'})};
  return addressOf(drive.directory);
}

const std::string* mappedShare(std::string_view share) {
  std::string key(share);
  std::replace(key.begin(), key.end(), '/', '\\');
  const auto known = pathMap().shares.find(key);
  if (known != pathMap().shares.end()) return addressOf(known->second);
  return addressOf(pathMap().shares.emplace(key, askProfile(key)).first->second);
}

void reloadPathMap() { pathMap() = {}; }

}  // namespace foldapi
