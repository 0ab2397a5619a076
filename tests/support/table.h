// support/table.h: tables of short texts with several cases on a line, best in raw string literals.
//
//     for (const auto& [path, want] : support::table<2>(R"(a\.. -> .  |  a\.\b -> a\b)")) ...
//
// "|" or a line end stands between two cases, "->" between their texts; blanks around them don't
// count, and a text may be empty. A case with too few or too many texts throws.
#pragma once

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace support {

inline std::vector<std::string> pieces(std::string_view text, std::string_view separator) {
  std::vector<std::string> all;
  for (size_t begin = 0, end = 0; end != std::string_view::npos; begin = end + separator.size()) {
    end = text.find(separator, begin);
    std::string piece(text.substr(begin, end - begin));
    piece.erase(0, piece.find_first_not_of(' '));
    all.push_back(piece.substr(0, piece.find_last_not_of(' ') + 1));
  }
  return all;
}

template <size_t kTexts>
std::vector<std::array<std::string, kTexts>> table(std::string_view text) {
  std::vector<std::array<std::string, kTexts>> cases;
  for (const std::string& line : pieces(text, "\n")) {
    for (const std::string& one : pieces(line, "|")) {
      if (one.empty()) continue;
      const std::vector<std::string> texts = pieces(one, "->");
      if (texts.size() != kTexts) throw std::invalid_argument("not a case: " + one);
      std::copy(texts.begin(), texts.end(), cases.emplace_back().begin());
    }
  }
  return cases;
}

}  // namespace support
