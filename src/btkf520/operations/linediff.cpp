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

// The line as it looks with tab stops every `width` columns.
std::string withoutTabs(std::string_view line, size_t width) {
  std::string result;
  for (const char c : line) {
    if (c == '\t') {
      result.append(width - result.size() % width, ' ');
    } else {
      result += c;
    }
  }
  return result;
}

std::string withoutColumns(std::string_view line, const std::vector<Columns>& hidden) {
  std::string result;
  size_t next = 0;  // The columns before it are in `result`, or hidden.
  for (const auto& [first, last] : hidden) {
    if (first > line.size()) break;
    if (next < first - 1) result += line.substr(next, first - 1 - next);
    next = std::max(next, last);
  }
  return result += line.substr(std::min(next, line.size()));
}

// Each run of blanks and tabs as one blank, and none at the end.
std::string withSingleBlanks(std::string_view line) {
  std::string result;
  result.reserve(line.size());
  for (const char c : line) {
    const bool isBlank = c == ' ' || c == '\t';
    if (!isBlank || !result.ends_with(' ')) result += isBlank ? ' ' : c;
  }
  if (result.ends_with(' ')) result.pop_back();
  return result;
}

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
  std::unordered_map<std::string, size_t> numbers_;
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

std::string LineRules::whatCounts(std::string_view line) const {
  const std::string_view end = takeLineEnd(&line);
  std::string result = tabWidth == 0 ? std::string(line) : withoutTabs(line, tabWidth);
  if (!hiddenColumns.empty()) result = withoutColumns(result, hiddenColumns);
  if (ignoreSpace) result = withSingleBlanks(result);
  if (ignoreCase) result = upperCase(result);
  // No line holds a line feed, so whether and how it ends is told apart from what it says. The CR
  // of an end is white space.
  if (!ignoreLineEnds) result.append("\n").append(ignoreSpace && !end.empty() ? "\n" : end);
  return result;
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
