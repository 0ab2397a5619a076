// btkf520/operations/linediff.cpp: lines become numbers, and libgit2 compares those.
//
// Two lines get the same number if all that counts of them is equal. So the library's comparison,
// which knows bytes only, obeys any rule, and never sees the contents themselves.
#include "btkf520/operations/linediff.h"

#include <git2.h>

#include <algorithm>
#include <charconv>
#include <new>
#include <stdexcept>
#include <unordered_map>

#include "btkf520/configuration/text.h"
#include "os/fingerprint.h"
#include "os/library.h"

namespace btkf {
namespace {

// Up to here the shortest list of edits is worth its time.
constexpr size_t kMostLinesForShortest = 20000;

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

// Each line as its number, and a line end: what libgit2 compares.
class Numbering {
 public:
  explicit Numbering(const LineRules& rules) : rules_(rules) {}

  std::string numbered(const std::vector<std::string_view>& lines) {
    std::string result;
    for (std::string_view line : lines) {
      const auto [entry, isNew] = numbers_.try_emplace(rules_.whatCounts(line), numbers_.size());
      result += std::to_string(entry->second);
      result += '\n';
    }
    return result;
  }

 private:
  const LineRules& rules_;
  // By fingerprints of this process: whoever writes the lines can't choose those that meet.
  std::unordered_map<std::string, size_t, os::TextHash> numbers_;
};

// What is used of libgit2, from the first comparison on.
struct Git {
  Git() {
    if (start() < 0) throw std::runtime_error("libgit2 does not start");
  }

  const os::LoadedLibrary library{LIBGIT2_SONAME};
  decltype(&git_libgit2_init) start = library.find<decltype(start)>("git_libgit2_init");
  decltype(&git_diff_options_init) setOptions =
      library.find<decltype(setOptions)>("git_diff_options_init");
  decltype(&git_diff_buffers) compare = library.find<decltype(compare)>("git_diff_buffers");
};

// Called by libgit2 for each run of changed lines. It must not throw.
int takeHunk(const git_diff_delta*, const git_diff_hunk* hunk, void* payload) noexcept try {
  // An empty run is told by the line before it.
  const auto start = [](int line, int count) {
    return static_cast<size_t>(count == 0 ? line : line - 1);
  };
  static_cast<std::vector<Edit>*>(payload)->push_back(
      {start(hunk->old_start, hunk->old_lines), static_cast<size_t>(hunk->old_lines),
       start(hunk->new_start, hunk->new_lines), static_cast<size_t>(hunk->new_lines)});
  return 0;
} catch (...) {
  return GIT_EUSER;
}

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

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, size));
    text.remove_prefix(size);
  }
  return lines;
}

std::vector<Edit> compareLines(const std::vector<std::string_view>& first,
                               const std::vector<std::string_view>& second,
                               const LineRules& rules) {
  static const Git git;
  Numbering numbering(rules);
  const std::string from = numbering.numbered(first);
  const std::string to = numbering.numbered(second);
  git_diff_options options;
  git.setOptions(&options, GIT_DIFF_OPTIONS_VERSION);
  options.context_lines = 0;
  options.interhunk_lines = 0;
  options.max_size = -1;
  options.flags = GIT_DIFF_FORCE_TEXT;
  if (first.size() + second.size() <= kMostLinesForShortest) options.flags |= GIT_DIFF_MINIMAL;
  std::vector<Edit> edits;
  const int status = git.compare(from.data(), from.size(), nullptr, to.data(), to.size(), nullptr,
                                 &options, nullptr, nullptr, takeHunk, nullptr, &edits);
  if (status == GIT_EUSER) throw std::bad_alloc();
  if (status != 0) throw std::runtime_error("libgit2 can't compare");
  return edits;
}

}  // namespace btkf
