// runtime/platform_path.h: from path text to a path of the operating system.
#pragma once

#include <string>
#include <string_view>

namespace foldapi {

// The operating system's path for a path text: "\" is "/"; a drive ("V:") or a share
// ("\\server\share") is looked up in the path map, section [TRVSPATHS] of the profile. Where the
// exact name is missing, a single entry that equals it without regard to case is taken, component
// by component. Gives "" for a drive or share that the map doesn't know: nothing has that name.
std::string nativePath(std::string_view path);

// Forgets the path map, so that the next translation reads the profile again.
void reloadPathMap();

// The profile's own path (an operating system path): $KSTR_INI, else trevault/KSTR.INI under the
// user's configuration directory.
std::string profilePath();
// The directory `trevault` under the user's data directory: where default roots are made.
std::string userDataDirectory();

}  // namespace foldapi
