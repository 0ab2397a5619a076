// runtime/pathmap.h: the places of drives and shares, from section [TRVSPATHS] of the profile.
//
// A key is "V:" or "\\server\share", a value a directory of the operating system. What was looked
// up, found or not, is kept until reloadPathMap() (nativepath.h).
#pragma once

#include <string>
#include <string_view>

namespace foldapi {

// The directory that stands for a drive or share; null if the map has none. Good until
// reloadPathMap().
const std::string* mappedDrive(char letter);
const std::string* mappedShare(std::string_view share);

}  // namespace foldapi
