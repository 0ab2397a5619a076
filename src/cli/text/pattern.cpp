// cli/text/pattern.cpp: one pass over pattern and path, which goes back to the last star only.
#include "cli/text/pattern.h"

#include <string>

namespace cli {
namespace {

// Whether `c` is in the set that `pattern` begins with, and how long the set is: 0 for none.
size_t setAt(std::string_view pattern, char c, bool* isIn) {
  size_t place = 1;
  const bool isOpposite =
      place < pattern.size() && (pattern[place] == '!' || pattern[place] == '^');
  if (isOpposite) ++place;
  const size_t begin = place;
  *isIn = false;
  while (place < pattern.size() && (pattern[place] != ']' || place == begin)) {
    const char low = pattern[place];
    char high = low;
    if (place + 2 < pattern.size() && pattern[place + 1] == '-' && pattern[place + 2] != ']') {
      high = pattern[place += 2];
    }
    *isIn = *isIn || (low <= c && c <= high);
    ++place;
  }
  *isIn = *isIn != isOpposite && c != '/';
  return place < pattern.size() ? place + 1 : 0;
}

// Whether the first of `pattern` takes the first of `path`, and how much of it does.
bool takesOne(std::string_view pattern, std::string_view path, size_t* length) {
  *length = 1;
  if (pattern.empty() || path.empty()) return false;
  if (pattern.front() == '?') return path.front() != '/';
  if (pattern.front() == '[') {
    bool isIn = false;
    if (const size_t size = setAt(pattern, path.front(), &isIn)) {
      *length = size;
      return isIn;
    }
  }
  const bool isEscaped = pattern.front() == '\\' && pattern.size() > 1;
  *length = isEscaped ? 2 : 1;
  return pattern[isEscaped ? 1 : 0] == path.front();
}

// How many characters a run of stars has, and whether it crosses "/".
size_t starsAt(std::string_view pattern, bool* crosses) {
  size_t count = 0;
  while (count < pattern.size() && pattern[count] == '*') ++count;
  *crosses = count > 1;
  if (*crosses && count < pattern.size() && pattern[count] == '/') ++count;  // Also no directory.
  return count;
}

}  // namespace

bool isPattern(std::string_view text) {
  return text.find_first_of("*?[") != std::string_view::npos;
}

bool matches(std::string_view pattern, std::string_view path) {
  for (;;) {
    bool crosses = false;
    if (const size_t stars = starsAt(pattern, &crosses)) {
      const std::string_view rest = pattern.substr(stars);
      for (;; path.remove_prefix(1)) {
        if (matches(rest, path)) return true;
        if (path.empty() || (path.front() == '/' && !crosses)) return false;
      }
    }
    if (pattern.empty() || path.empty()) return pattern.empty() && path.empty();
    size_t length = 0;
    if (!takesOne(pattern, path, &length)) return false;
    pattern.remove_prefix(length);
    path.remove_prefix(1);
  }
}

}  // namespace cli
