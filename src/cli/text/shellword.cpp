// cli/text/shellword.cpp: quotes where a shell would see more than letters.
#include "cli/text/shellword.h"

#include <algorithm>

#include "cli/text/text.h"

namespace cli {

std::string shellWord(std::string_view text) {
  constexpr std::string_view kSpecial = " '\"\\$`&|;<>()[]{}*?!#~";
  const std::string visible = shown(text);
  if (visible != text || text.find_first_of(kSpecial) == std::string_view::npos) return visible;
  std::string word = "\"";
  for (const char c : text) {
    if (std::string_view("\"\\$`").find(c) != std::string_view::npos) word += '\\';
    word += c;
  }
  return word + '"';
}

}  // namespace cli
