// cli/local/kept.h: contents that a command is about to overwrite are put aside, for a while.
#pragma once

#include <string>

namespace cli {

// Where that is.
std::string keptOf(const std::string& top);
// Moves the file at `path` from `top` to ".trevault/kept", under the present time; what lies there
// for 14 days or longer goes. Throws Problem, and then the file is where it was.
std::string keep(const std::string& top, const std::string& path);

}  // namespace cli
