// cli/text/paths.h: paths of the operating system, as texts: nothing here looks at the disk.
#pragma once

#include <string>
#include <string_view>

namespace cli {

// `path` from `base`, which is absolute, without empty parts, "." and "..".
std::string absolutePath(std::string_view base, std::string_view path);
// Whether `path` is `top` or lies below it. Both are absolute.
bool isBelow(std::string_view top, std::string_view path);
// `path` as seen from `from`, "." for the same; itself on another drive. Both are absolute.
std::string relativePath(std::string_view from, std::string_view path);

std::string_view directoryPart(std::string_view path);  // "" without a separator.
std::string_view namePart(std::string_view path);
// With one separator between, if neither is empty.
std::string joined(std::string_view directory, std::string_view name);

}  // namespace cli
