// cli/text/shellword.h: names in the commands that problems offer.
#pragma once

#include <string>
#include <string_view>

namespace cli {

// The text as one word of a command that can be pasted into a shell: in double quotes, if it needs
// any, as such commands stand in single ones. What no line can hold is shown as shown() does.
std::string shellWord(std::string_view text);

}  // namespace cli
