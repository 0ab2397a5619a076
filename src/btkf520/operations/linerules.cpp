// btkf520/operations/linerules.cpp: what of a line counts, as a text that can be compared.
#include "btkf520/operations/linerules.h"

#include <algorithm>
#include <charconv>

#include "btkf520/configuration/text.h"

namespace btkf {
namespace {

std::optional<size_t> columnNumber(std::string_view text) {
  size_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || value == 0) return {};
  return value;
}

// Cuts the line's end off, and gives it.
std::string_view takeLineEnd(std::string_view* line) {
  size_t size = line->size();
  if (line->ends_with('\n')) --size;
  if (size < line->size() && size > 0 && (*line)[size - 1] == '\r') --size;
  const std::string_view end = line->substr(size);
  *line = line->substr(0, size);
  return end;
}

// Tells how much of a line's columns is to be seen, from the first column on.
class VisibleColumns {
 public:
  explicit VisibleColumns(const std::vector<Columns>& hidden) : hidden_(hidden) {}

  // Of the next `width` columns.
  size_t next(size_t width) {
    const size_t end = at_ + width;
    size_t seen = 0;
    while (at_ < end) {
      while (place_ < hidden_.size() && hidden_[place_].second <= at_) ++place_;
      const bool isLast = place_ == hidden_.size();
      const size_t open = isLast ? end : std::clamp(hidden_[place_].first - 1, at_, end);
      seen += open - at_;
      at_ = open < end ? std::min(end, hidden_[place_].second) : end;
    }
    return seen;
  }
  size_t column() const { return at_; }

 private:
  const std::vector<Columns>& hidden_;
  size_t place_ = 0;
  size_t at_ = 0;
};

}  // namespace

std::optional<std::vector<Columns>> LineRules::columns(std::string_view text) {
  std::vector<Columns> result;
  for (std::string_view piece : pieces(text, ",")) {
    const size_t dash = piece.find('-');
    const auto from = columnNumber(trimmed(piece.substr(0, dash)));
    const auto to =
        dash == std::string_view::npos ? from : columnNumber(trimmed(piece.substr(dash + 1)));
    if (!from || !to || *from > *to) return {};
    result.emplace_back(*from, *to);
  }
  if (result.empty() && !text.empty()) return {};
  std::sort(result.begin(), result.end());
  return result;
}

// A run of blanks is told by its length: a line of tabs may look like one of gigabytes. No line
// holds a line feed, so one marks what is no text of the line: a run, or whether and how the line
// ends. The CR of an end is white space.
std::string LineRules::whatCounts(std::string_view line) const {
  const std::string_view end = takeLineEnd(&line);
  std::string result;
  result.reserve(line.size() + sizeof "\n\r\n");
  if (tabWidth == 0 && hiddenColumns.empty() && !ignoreSpace && !ignoreCase) {
    result = line;
  } else {
    appendText(line, &result);
  }
  if (!ignoreLineEnds) result.append("\n").append(ignoreSpace && !end.empty() ? "\n" : end);
  return result;
}

void LineRules::appendText(std::string_view line, std::string* result) const {
  VisibleColumns columns(hiddenColumns);
  size_t blanks = 0;  // Not in *result yet.
  const auto appendBlanks = [&] {
    if (blanks == 1 || (blanks > 1 && ignoreSpace)) result->append(" ");
    if (blanks > 1 && !ignoreSpace)
      result->append("\n").append(std::to_string(blanks)).append("\n");
    blanks = 0;
  };
  for (const char c : line) {
    const bool isWideTab = c == '\t' && tabWidth != 0;
    const size_t seen = columns.next(isWideTab ? tabWidth - columns.column() % tabWidth : 1);
    if (c == ' ' || isWideTab || (c == '\t' && ignoreSpace)) {
      blanks += seen;
    } else if (seen != 0) {
      appendBlanks();
      *result += ignoreCase ? upperCase(c) : c;
    }
  }
  if (!ignoreSpace) appendBlanks();
}

}  // namespace btkf
