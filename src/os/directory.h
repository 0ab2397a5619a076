// os/directory.h: directories, and what their entries are called.
//
// Paths are the operating system's.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "os/file.h"

namespace os {

// Whether the system has drives ("V:") and shares ("//server/share"), whose disks are blind to
// letter case. Then people write "\" between the parts of a path, though "/" is understood, too.
bool hasDrives();

// The directory that `path` names something in: "." where it says none.
std::string parentOf(std::string_view path);

// Where relative paths begin: "" if that is no longer there.
std::string currentDirectory();
bool changeDirectory(const std::string& path);

// Where a directory is when all links on the way are followed. `path` itself if nothing is there.
std::string realPath(const std::string& path);

// The path in letters that are the same for all paths of one file: itself where letter case counts.
std::string foldedPath(std::string_view path);
// Whether both are the same but for such letters.
bool isSamePath(std::string_view first, std::string_view second);
// Whether both paths mean one file, or would if it were there.
bool isSameFile(const std::string& first, const std::string& second);

// Whether something has that name, if only a link to nothing.
bool hasEntry(const char* path);
// How far the way to a path goes: the path itself, or what is there above it. Of a drive that is
// not there nothing is.
inline std::string thereOf(const std::string& path) {
  const std::string above = parentOf(path);
  return hasEntry(path.c_str()) || above == path ? path : thereOf(above);
}

// Makes one directory, with the usual rights, or finds it made by somebody else.
bool makeDirectory(const std::string& path);
// The same with all that lead to it.
bool makeDirectories(const std::string& path);

// Has a file or a directory belong to the group of the directory above, which may write it, if it
// may write that one; what is then made in the directory belongs to the group, too. Gives the
// group's name, "" if it was not done.
std::string shareWithGroup(const std::string& path);

// Only an empty one.
bool removeDirectory(const std::string& path);
// Gives a file another name on the same disk. kExists if there is something of that name.
FileResult moveFile(const std::string& from, const std::string& to);

// By which a directory is known, and known to have neither gained nor lost an entry.
struct DirectoryState {
  FileIdentity identity;
  int64_t modified = 0;  // Nanoseconds since 1970, as the next.
  int64_t changed = 0;
  bool operator==(const DirectoryState&) const = default;
};
// Nothing for what is no directory.
std::optional<DirectoryState> directoryState(const char* path);

// Calls `take` with each name in the directory but "." and "..". False if it can't be read to its
// end: then those before that were taken.
bool forEachEntry(const char* path, const std::function<void(const char* name)>& take);

}  // namespace os
