// runtime/nativepath.h: from path text to a path of the operating system.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "os/file.h"

namespace foldapi {

// The operating system's path for a path text: "\" is "/"; a drive ("V:") or a share
// ("\\server\share") is looked up in the path map, section [TRVSPATHS] of the profile. Where the
// exact name is missing, a single entry that equals it without regard to case is taken, component
// by component. A drive or share that the map doesn't know is the system's own where it has such;
// elsewhere it gives "": nothing has that name.
std::string nativePath(std::string_view path);

// Forgets the path map, so that the next translation reads the profile again.
void reloadPathMap();

// The profile's own path (an operating system path): $KSTR_INI, else trevault/KSTR.INI under the
// user's configuration directory.
std::string profilePath();
// The value of a key, nothing for none and for an empty one. Asked anew each time.
std::optional<std::string> profileValue(const char* section, const char* key);
// Whether the user says `key` = ON in section [TRVSGUI]. A profile that others can change says
// nothing of the kind.
bool profileAllows(const char* key);
// The directory `trevault` under the user's data directory: where default roots are made.
std::string userDataDirectory();

// A path text translated without a look at the disk and, for short of a first use of a drive,
// without an allocation. Nearly always it is the path of an existing file.
class PlainPath {
 public:
  explicit PlainPath(std::string_view path);
  PlainPath(const PlainPath&) = delete;
  PlainPath& operator=(const PlainPath&) = delete;

  // False for the empty text, one with a NUL, one that is too long, and a place not in the map.
  bool isValid() const { return isValid_; }
  const char* text() const { return text_; }

 private:
  static constexpr size_t kCapacity = 4096;  // The longest path that the system takes.

  void append(std::string_view part);

  bool isValid_ = true;
  size_t length_ = 0;
  char text_[kCapacity];
};

// The existing file or directory that an operating system's path means, by the rule of
// nativePath(). Leading components are put right even where the last one is missing.
std::string findCaseBlind(std::string path);

// Calls `use`, which takes an operating system's path and gives a FileResult, with the plain path,
// and once more with what a case-blind search finds if nothing had that name.
template <typename Use>
os::FileResult withNativePath(std::string_view path, Use use) {
  const PlainPath plain(path);
  if (!plain.isValid()) return os::FileResult::kRefused;
  const os::FileResult result = use(plain.text());
  if (result != os::FileResult::kMissing) return result;
  const std::string found = findCaseBlind(plain.text());
  return found == plain.text() ? result : use(found.c_str());
}

}  // namespace foldapi
