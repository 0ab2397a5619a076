// runtime/paths.h: path text. Nothing here looks at the disk, but for makeDirectories().
//
// A separator is "\" or "/". A function that must write one uses the first separator that its
// operands hold, else the platform's own. A prefix is a drive letter and ":", "\\" or "//"; on this
// platform a leading "/" counts as one in joinPath(). Characters of two bytes are stepped over
// whole (see mbstring.h).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace foldapi {

// Drops empty and "." components and resolves "..": what would climb above a root gives "".
std::string normalisePath(std::string_view path);

// `name` below `dir`, with one separator between; a `name` with a prefix replaces `dir`.
// Where neither holds a separator, `like` may show which one its neighbours use.
std::string joinPath(std::string_view dir, std::string_view name, std::string_view like = {});

// The file called `name` in a directory, of which the separators are unified. The name is taken as
// it is, whatever it holds: "V:x" and "README." are names too. `like` is as for joinPath().
std::string buildPath(std::string_view dir, std::string_view name, std::string_view like = {});

// `path` relative to `base`, or `path` itself where it does not lie below `base`.
std::string relativePath(std::string_view base, std::string_view path);

// One past the last "\", "/" or the ":" of a drive, 0 with none.
size_t pathPartLength(std::string_view path);

// Every separator becomes equal to the first one.
std::string unifySeparators(std::string_view path);

// Whether the text begins with a drive, a share or, on this platform, the root "/".
bool hasPathPrefix(std::string_view path);

// Whether the text begins with a letter from A to Z, in either case, and ":".
bool hasDrive(std::string_view path);

// Makes the directories that lead to the file `path`, not the file. 0, or -1 if one can't be made.
[[nodiscard]] int makeDirectories(std::string_view path);

// Cuts an extension to 3 bytes and the name before it to 8.
std::string limitToShortName(std::string_view path);

// Removes characters from `source` until it fits into `limit` bytes: the short names of project
// directories. Stricter passes drop blanks, "_", vowels and repeated characters.
std::string cleanFileName(std::string_view source, size_t limit);

}  // namespace foldapi
