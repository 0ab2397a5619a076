// btkf520/operations/linerules.h: when two lines count as equal.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace btkf {

using Columns = std::pair<size_t, size_t>;  // First and last, from 1.

// What of a line doesn't count when lines are compared.
struct LineRules {
  bool ignoreSpace = false;            // How many blanks there are, and any at the end.
  bool ignoreCase = false;             // Of A to Z.
  bool ignoreLineEnds = false;         // CR LF or LF, or neither at the end of the text.
  size_t tabWidth = 0;                 // Not 0: a tab is as good as blanks up to the next multiple.
  std::vector<Columns> hiddenColumns;  // Ascending by their first ones.

  // "1-6,73-80". Nothing for anything else.
  static std::optional<std::vector<Columns>> columns(std::string_view text);

  // Whether all of a line counts.
  bool isPlain() const {
    return !ignoreSpace && !ignoreCase && !ignoreLineEnds && tabWidth == 0 && hiddenColumns.empty();
  }
  // Two lines are equal if this is. `line` has its line end.
  std::string whatCounts(std::string_view line) const;
  bool areEqual(std::string_view line, std::string_view other) const {
    return line == other || (!isPlain() && whatCounts(line) == whatCounts(other));
  }

 private:
  void appendText(std::string_view line, std::string* result) const;
};

}  // namespace btkf
