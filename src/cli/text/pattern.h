// cli/text/pattern.h: shell patterns for paths.
#pragma once

#include <string_view>

namespace cli {

bool isPattern(std::string_view text);
// "*" and "?" stand for anything but "/", "**/" for any directories, "[a-z]" for one of a set, and
// a backslash takes the meaning from what follows.
bool matches(std::string_view pattern, std::string_view path);

}  // namespace cli
