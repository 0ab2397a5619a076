// btkf520/operations/linediff.h: which lines of two texts differ.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btkf520/archive/bytes.h"

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

// The lines of a text, which must outlive this, each with its line end; the last one may have none.
class Lines {
 public:
  Lines() = default;
  // May throw std::bad_alloc.
  explicit Lines(std::string_view text);

  size_t size() const { return size_; }
  size_t bytes() const { return text_.size(); }
  std::string_view operator[](size_t line) const {
    const size_t begin = line == 0 ? 0 : ends()[line - 1];
    return text_.substr(begin, ends()[line] - begin);
  }

 private:
  const size_t* ends() const { return reinterpret_cast<const size_t*>(ends_.data()); }

  std::string_view text_;
  Bytes ends_;  // Where each line ends.
  size_t size_ = 0;
};

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
// Long texts are compared stretch by stretch, in bounded memory.
std::vector<Edit> compareLines(const Lines& first, const Lines& second, const LineRules& rules);

}  // namespace btkf
