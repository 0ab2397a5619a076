// btkf520/configuration/text.h: the few cuts and comparisons that the configuration language is
// made of.
//
// All work on bytes. The characters they look for are ASCII below 0x40, which no second byte of a
// double-byte character is, so names in any code page pass through whole.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace btkf {

inline constexpr std::string_view kBlanks = " \t\r";

inline std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

inline char upperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 0x20) : c; }

// `text` with a to z as A to Z and every other byte as it is.
inline std::string upperCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), [](char c) { return upperCase(c); });
  return result;
}

inline bool isLetter(char c) { return upperCase(c) >= 'A' && upperCase(c) <= 'Z'; }
inline bool isDigit(char c) { return c >= '0' && c <= '9'; }
inline bool isNameCharacter(char c) { return isLetter(c) || isDigit(c) || c == '_'; }

// Whether a path text begins with a drive. Any other ":" in it belongs to a name.
inline bool hasDrive(std::string_view path) {
  return path.size() >= 2 && path[1] == ':' && isLetter(path[0]);
}

// Whether a user or a group may have this name: 1 to 254 bytes, no control characters, and nothing
// that reads as a range of revisions or as a list of names.
inline bool isGoodName(std::string_view name) {
  constexpr size_t kLongestName = 254;
  if (name.empty() || name.size() > kLongestName) return false;
  return std::none_of(name.begin(), name.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f' || c == '*' || c == '+' || c == ',';
  });
}

// The non-empty pieces of `text` between characters of `separators`. They point into `text`.
inline std::vector<std::string_view> pieces(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> result;
  while ((text = text.substr(std::min(text.find_first_not_of(separators), text.size()))) != "") {
    const size_t end = std::min(text.find_first_of(separators), text.size());
    result.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return result;
}

}  // namespace btkf
