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
// With libgit2 a line takes some 200 bytes. So of long texts as many lines of each are compared at
// once; where those have little in common somewhat more, or a line for so many bytes of the longer
// text. Where lines are equal as far as the last number it is no chance, and the next stretch can
// begin after them.
constexpr size_t kLinesOfStretch = 40'000;
constexpr size_t kBytesForLine = 1024;
constexpr size_t kSureLines = 20;

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

  std::string numbered(const Lines& lines, size_t begin, size_t count) {
    std::string result;
    for (size_t line = begin; line < begin + count; ++line) {
      const std::string counts = rules_.whatCounts(lines[line]);
      const Fingerprint print{os::fingerprintText(counts, 0), os::fingerprintText(counts, 1)};
      const auto [entry, isNew] = numbers_.try_emplace(print, numbers_.size());
      result += std::to_string(entry->second);
      result += '\n';
    }
    return result;
  }

 private:
  // Of this process: whoever writes the lines can't choose those that meet, and by chance none do.
  struct Fingerprint {
    uint64_t first;
    uint64_t second;
    bool operator==(const Fingerprint&) const = default;
  };
  struct Hash {
    size_t operator()(const Fingerprint& print) const noexcept {
      return static_cast<size_t>(print.first);
    }
  };

  const LineRules& rules_;
  std::unordered_map<Fingerprint, size_t, Hash> numbers_;
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

// The edits within the lines that `where` shows.
class Stretch {
 public:
  Stretch(const Lines& first, const Lines& second, const LineRules& rules, const Edit& where)
      : where_(where) {
    static const Git git;
    Numbering numbering(rules);
    const std::string from = numbering.numbered(first, where.first, where.firstCount);
    const std::string to = numbering.numbered(second, where.second, where.secondCount);
    git_diff_options options;
    git.setOptions(&options, GIT_DIFF_OPTIONS_VERSION);
    options.context_lines = 0;
    options.interhunk_lines = 0;
    options.max_size = -1;
    options.flags = GIT_DIFF_FORCE_TEXT;
    if (where.firstCount + where.secondCount <= kMostLinesForShortest) {
      options.flags |= GIT_DIFF_MINIMAL;
    }
    const int status = git.compare(from.data(), from.size(), nullptr, to.data(), to.size(), nullptr,
                                   &options, nullptr, nullptr, takeHunk, nullptr, this);
    if (status == GIT_EUSER) throw std::bad_alloc();
    if (status != 0) throw std::runtime_error("libgit2 can't compare");
  }

  const std::vector<Edit>& edits() const { return edits_; }

  // Forgets what comes after the last `least` lines or more that are equal. Whether there are any.
  bool cutAfterEqual(size_t least) {
    const size_t end = where_.first + where_.firstCount;
    for (size_t count = edits_.size() + 1; count-- > 0;) {
      const bool isWhole = count == edits_.size();
      const size_t runEnd = isWhole ? end : edits_[count].first;
      const size_t runBegin =
          count == 0 ? where_.first : edits_[count - 1].first + edits_[count - 1].firstCount;
      if (runEnd - runBegin < least) continue;
      if (!isWhole) {
        where_.firstCount = edits_[count].first - where_.first;
        where_.secondCount = edits_[count].second - where_.second;
      }
      edits_.resize(count);
      return true;
    }
    return false;
  }
  const Edit& where() const { return where_; }

 private:
  // Called by libgit2 for each run of changed lines. It must not throw.
  static int takeHunk(const git_diff_delta*, const git_diff_hunk* hunk, void* payload) noexcept
      try {
    // An empty run is told by the line before it.
    const auto start = [](int line, int count) {
      return static_cast<size_t>(count == 0 ? line : line - 1);
    };
    auto* const self = static_cast<Stretch*>(payload);
    self->edits_.push_back({self->where_.first + start(hunk->old_start, hunk->old_lines),
                            static_cast<size_t>(hunk->old_lines),
                            self->where_.second + start(hunk->new_start, hunk->new_lines),
                            static_cast<size_t>(hunk->new_lines)});
    return 0;
  } catch (...) {
    return GIT_EUSER;
  }

  Edit where_;
  std::vector<Edit> edits_;
};

bool areFew(const Edit& where) {
  return where.firstCount + where.secondCount <= 2 * kLinesOfStretch;
}

// Leaves the first lines of both out.
void leaveOut(size_t first, size_t second, Edit* where) {
  where->first += first;
  where->firstCount -= first;
  where->second += second;
  where->secondCount -= second;
}

void leaveOutEqual(const Lines& first, const Lines& second, Edit* where) {
  size_t count = 0;
  const size_t most = std::min(where->firstCount, where->secondCount);
  while (count < most && first[where->first + count] == second[where->second + count]) ++count;
  leaveOut(count, count, where);
}

// An edit that continues the last one becomes part of it.
void add(const Edit& edit, std::vector<Edit>* edits) {
  if (!edits->empty()) {
    Edit& last = edits->back();
    if (last.first + last.firstCount == edit.first &&
        last.second + last.secondCount == edit.second) {
      last.firstCount += edit.firstCount;
      last.secondCount += edit.secondCount;
      return;
    }
  }
  edits->push_back(edit);
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

Lines::Lines(std::string_view text) : text_(text) {
  const auto feeds = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
  size_ = feeds + (text.empty() || text.ends_with('\n') ? 0 : 1);
  ends_ = Bytes(uint64_t{size_} * sizeof(size_t));
  auto* end = reinterpret_cast<size_t*>(ends_.data());
  for (size_t at = 0; at < text.size(); *end++ = at) {
    at = std::min(text.find('\n', at), text.size() - 1) + 1;
  }
}

std::vector<Edit> compareLines(const Lines& first, const Lines& second, const LineRules& rules) {
  const size_t widest = std::max(first.bytes(), second.bytes());
  const size_t limit = std::max(2 * kLinesOfStretch, widest / kBytesForLine);
  std::vector<Edit> edits;
  size_t most = kLinesOfStretch;
  for (Edit rest{0, first.size(), 0, second.size()}; rest.firstCount + rest.secondCount > 0;) {
    const bool isLast = areFew(rest);
    if (!isLast) leaveOutEqual(first, second, &rest);
    if (!isLast && (rest.firstCount == 0 || rest.secondCount == 0)) {
      if (rest.firstCount + rest.secondCount > 0) add(rest, &edits);
      break;
    }
    const Edit where = isLast ? rest
                              : Edit{rest.first, std::min(rest.firstCount, most), rest.second,
                                     std::min(rest.secondCount, most)};
    Stretch stretch(first, second, rules, where);
    const bool isCut = isLast || stretch.cutAfterEqual(kSureLines);
    if (!isCut && most < limit) {
      most = std::min(2 * most, limit);
      continue;
    }
    if (!isCut) stretch.cutAfterEqual(1);
    for (const Edit& edit : stretch.edits()) add(edit, &edits);
    leaveOut(stretch.where().firstCount, stretch.where().secondCount, &rest);
    most = kLinesOfStretch;
  }
  return edits;
}

}  // namespace btkf
