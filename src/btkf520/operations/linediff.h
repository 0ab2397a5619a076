// btkf520/operations/linediff.h: which lines of two texts differ.
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

  // Two lines are equal if this is. `line` has its line end.
  std::string whatCounts(std::string_view line) const;

 private:
  void appendText(std::string_view line, std::string* result) const;
};

// The lines of a text, each with its line end; the last one may have none.
std::vector<std::string_view> linesOf(std::string_view text);

// A run of lines of the first text that a run of lines of the second stands in place of. Counted
// from 0; one of the runs may be empty, then it begins where it would be.
struct Edit {
  size_t first = 0;
  size_t firstCount = 0;
  size_t second = 0;
  size_t secondCount = 0;

  bool operator==(const Edit&) const = default;
};

// The edits from one text to the other, ascending, with lines that count as equal between them.
std::vector<Edit> compareLines(const std::vector<std::string_view>& first,
                               const std::vector<std::string_view>& second, const LineRules& rules);

}  // namespace btkf
