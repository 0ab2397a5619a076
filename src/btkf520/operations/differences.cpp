// btkf520/operations/differences.cpp: finds the two sides, compares them, and writes the result in
// one of three forms.
#include "btkf520/operations/differences.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/archive/archivereader.h"
#include "btkf520/btkf520.h"
#include "btkf520/operations/keywords.h"
#include "btkf520/operations/linediff.h"
#include "btkf520/operations/linerules.h"
#include "btkf520/operations/output.h"
#include "btkf520/operations/plaintext.h"
#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"
#include "btkf520/operations/workfile.h"

namespace btkf {
namespace {

constexpr int16_t kWidestTab = 64;

// One of the two sides: a revision of an archive, or a file.
class Side {
 public:
  // Without a revision, a name that is no archive is a file, and an archive means its trunk's tip.
  TrvsStatus open(const char* name, const char* revision, bool asStored);
  // The workfile of a target.
  TrvsStatus openWorkfile(const char* target);

  std::string_view bytes() const { return expanded_ ? expanded_->view() : bytes_.view(); }
  const std::string& title() const { return title_; }
  const std::string& path() const { return path_; }  // Of the file or archive, in the system.
  bool isArchive() const { return !isFile_; }

 private:
  TrvsStatus openFile(const std::string& path, const std::string& title);

  bool isFile_ = false;
  std::string path_;
  Bytes bytes_;  // Of the file, or the revision as it is stored.
  std::optional<Bytes> expanded_;
  std::string title_;
};

TrvsStatus Side::open(const char* name, const char* revision, bool asStored) {
  if (textOf(name).empty()) return TRVS_MISUSE;
  Task task;
  const TrvsStatus status = task.openContents(name);
  const bool mayBeFile = status == TRVS_NOT_AN_ARCHIVE || status == TRVS_NO_ARCHIVE;
  if (mayBeFile && textOf(revision).empty()) {
    const auto path = systemPath(name);  // Its name may look like "a(b)".
    const bool isOpen = path && openFile(*path, name) == TRVS_DONE;
    return isOpen && !bytes_.view().starts_with(archivefile::kHeader) ? TRVS_DONE : status;
  }
  if (status != TRVS_DONE) return status;
  const Revision* found = nullptr;
  if (const TrvsStatus missing = findRevision(task.model, revision, &found)) return missing;
  if (const TrvsStatus damaged = task.archive().read(found->content, &bytes_)) return damaged;
  if (!asStored) expanded_ = expanded(task.model, *found, task.archiveText(), bytes_.view());
  path_ = task.archivePath();
  title_ = plainText(task.archiveText()) + "\t" + found->number.text();
  return TRVS_DONE;
}

TrvsStatus Side::openWorkfile(const char* target) {
  Task task;
  std::string path;
  if (const TrvsStatus status = task.openToTell(target)) return status;
  if (const TrvsStatus status = task.findWorkfile(&path)) return status;
  return openFile(path, task.workfileText());
}

TrvsStatus Side::openFile(const std::string& path, const std::string& title) {
  isFile_ = true;
  path_ = path;
  title_ = plainText(title);
  return readBytes(path, &bytes_);
}

class Comparison {
 public:
  TrvsStatus open(const DifferenceRequest& request);

  bool isText() const { return isText_; }
  bool isEqual() const { return isText_ ? edits_.empty() : !differInBytes_; }
  const Side& first() const { return first_; }
  const Side& second() const { return second_; }
  const Lines& firstLines() const { return firstLines_; }
  const Lines& secondLines() const { return secondLines_; }
  const std::vector<Edit>& edits() const { return edits_; }
  std::vector<std::string> paths() const { return {first_.path(), second_.path()}; }
  std::string binaryLine() const {
    return "Binary files " + first_.title() + " and " + second_.title() + " differ";
  }

 private:
  TrvsStatus openSides(const DifferenceRequest& request);

  Side first_;
  Side second_;
  bool isText_ = false;
  bool differInBytes_ = false;
  Lines firstLines_;
  Lines secondLines_;
  std::vector<Edit> edits_;
};

bool areGood(const DifferenceRequest& request) {
  constexpr uint32_t kKnown = TRVS_DIFF_IGNORE_SPACE | TRVS_DIFF_IGNORE_CASE |
                              TRVS_DIFF_IGNORE_LINE_ENDS | TRVS_DIFF_NO_HEADING | TRVS_DIFF_STORED;
  return (request.flags & ~kKnown) == 0 && request.tabWidth >= 0 && request.tabWidth <= kWidestTab;
}

TrvsStatus Comparison::open(const DifferenceRequest& request) {
  if (!areGood(request)) return TRVS_MISUSE;
  auto columns = LineRules::columns(textOf(request.columns));
  if (!columns) return TRVS_BAD_COLUMNS;
  if (const TrvsStatus status = openSides(request)) return status;
  if (const TrvsStatus status = client().goOn()) return status;
  differInBytes_ = first_.bytes() != second_.bytes();
  isText_ = btkf::isText(first_.bytes()) && btkf::isText(second_.bytes());
  if (!isText_) return TRVS_DONE;
  firstLines_ = Lines(first_.bytes());
  secondLines_ = Lines(second_.bytes());
  if (!differInBytes_) return TRVS_DONE;
  const auto has = [&request](uint32_t flag) { return (request.flags & flag) != 0; };
  const LineRules rules{has(TRVS_DIFF_IGNORE_SPACE), has(TRVS_DIFF_IGNORE_CASE),
                        has(TRVS_DIFF_IGNORE_LINE_ENDS), static_cast<size_t>(request.tabWidth),
                        std::move(*columns)};
  edits_ = compareLines(firstLines_, secondLines_, rules);
  return TRVS_DONE;
}

// Without a second name: another revision of the first one's archive, or else its workfile.
TrvsStatus Comparison::openSides(const DifferenceRequest& request) {
  const bool asStored = (request.flags & TRVS_DIFF_STORED) != 0;
  if (const TrvsStatus status = first_.open(request.first, request.firstRevision, asStored)) {
    return status;
  }
  if (!textOf(request.second).empty()) {
    return second_.open(request.second, request.secondRevision, asStored);
  }
  if (!first_.isArchive()) return TRVS_MISUSE;
  return textOf(request.secondRevision).empty()
             ? second_.openWorkfile(request.first)
             : second_.open(request.first, request.secondRevision, asStored);
}

// Edits that stand close enough to share their context, and the lines around them.
struct Hunk {
  size_t firstEdit = 0;
  size_t endEdit = 0;
  Edit lines;  // All lines of the hunk, on both sides.
};

// The hunk that begins with the edit `begin`.
Hunk hunkFrom(const Comparison& comparison, size_t begin, size_t context) {
  const std::vector<Edit>& edits = comparison.edits();
  size_t end = begin + 1;
  const auto isNear = [&](size_t next) {
    const size_t gap = edits[next].first - edits[next - 1].first - edits[next - 1].firstCount;
    return gap <= 2 * context;
  };
  while (end < edits.size() && isNear(end)) ++end;
  const Edit& last = edits[end - 1];
  const size_t before = std::min(context, edits[begin].first);
  const size_t after =
      std::min(context, comparison.firstLines().size() - last.first - last.firstCount);
  const size_t first = edits[begin].first - before;
  const size_t second = edits[begin].second - before;
  return {begin,
          end,
          {first, last.first + last.firstCount + after - first, second,
           last.second + last.secondCount + after - second}};
}

// "12,3": first line and count; the count is left out if it is 1, and nothing begins before the
// line that it would come after.
std::string rangeText(size_t first, size_t count) {
  std::string text = std::to_string(count == 0 ? first : first + 1);
  return count == 1 ? text : text + "," + std::to_string(count);
}

class UnifiedReport {
 public:
  UnifiedReport(const Comparison& comparison, ReportOutput* output)
      : comparison_(comparison), output_(*output) {}

  TrvsStatus write(size_t context, bool withHeading) {
    if (comparison_.isEqual()) return TRVS_DONE;
    if (!comparison_.isText())
      return output_.line(comparison_.binaryLine(), TRVS_OUTPUT_DIFFERENCES);
    if (withHeading) {
      for (const std::string& line :
           {"--- " + comparison_.first().title(), "+++ " + comparison_.second().title()}) {
        if (const TrvsStatus status = output_.line(line, TRVS_OUTPUT_HEADING)) return status;
      }
    }
    for (size_t edit = 0; edit < comparison_.edits().size();) {
      const Hunk hunk = hunkFrom(comparison_, edit, context);
      if (const TrvsStatus status = writeHunk(hunk)) return status;
      edit = hunk.endEdit;
    }
    return TRVS_DONE;
  }

 private:
  TrvsStatus writeHunk(const Hunk& hunk) {
    const std::string ranges = "@@ -" + rangeText(hunk.lines.first, hunk.lines.firstCount) + " +" +
                               rangeText(hunk.lines.second, hunk.lines.secondCount) + " @@";
    if (const TrvsStatus status = output_.line(ranges, TRVS_OUTPUT_DIFFERENCES)) return status;
    const auto& firstLines = comparison_.firstLines();
    const auto& secondLines = comparison_.secondLines();
    size_t at = hunk.lines.first;
    for (size_t i = hunk.firstEdit; i < hunk.endEdit; ++i) {
      const Edit& edit = comparison_.edits()[i];
      const size_t end = edit.first + edit.firstCount;
      if (const TrvsStatus status = writeLines(' ', firstLines, at, edit.first)) return status;
      if (const TrvsStatus status = writeLines('-', firstLines, edit.first, end)) return status;
      if (const TrvsStatus status =
              writeLines('+', secondLines, edit.second, edit.second + edit.secondCount)) {
        return status;
      }
      at = end;
    }
    return writeLines(' ', firstLines, at, hunk.lines.first + hunk.lines.firstCount);
  }

  TrvsStatus writeLines(char mark, const Lines& lines, size_t from, size_t to) {
    for (size_t i = from; i < to; ++i) {
      const bool hasEnd = lines[i].ends_with('\n');
      const std::string_view text = lines[i].substr(0, lines[i].size() - (hasEnd ? 1 : 0));
      if (const TrvsStatus status =
              output_.line(std::string(1, mark).append(text), TRVS_OUTPUT_DIFFERENCES)) {
        return status;
      }
      if (hasEnd) continue;
      if (const TrvsStatus status =
              output_.line("\\ No newline at end of file", TRVS_OUTPUT_DIFFERENCES)) {
        return status;
      }
    }
    return TRVS_DONE;
  }

  const Comparison& comparison_;
  ReportOutput& output_;
};

// One line for a range: what it is, and where it stands in either text, from 1.
std::string deltaLine(const Edit& range, const char* what) {
  return std::string(what) + " " + std::to_string(range.first + 1) + " " +
         std::to_string(range.firstCount) + " " + std::to_string(range.second + 1) + " " +
         std::to_string(range.secondCount);
}

// All ranges of both texts, one line for each.
TrvsStatus writeRanges(const Comparison& comparison, ReportOutput* output) {
  Edit same;  // What follows the edits seen so far.
  const auto write = [&](const Edit& range, const char* what) {
    return output->line(deltaLine(range, what), TRVS_OUTPUT_DIFFERENCES);
  };
  const auto writeSame = [&](size_t end) {
    same.firstCount = same.secondCount = end - same.first;
    return same.firstCount == 0 ? TRVS_DONE : write(same, "same");
  };
  for (const Edit& edit : comparison.edits()) {
    if (const TrvsStatus status = writeSame(edit.first)) return status;
    const char* const what = edit.firstCount == 0    ? "added"
                             : edit.secondCount == 0 ? "deleted"
                                                     : "changed";
    if (const TrvsStatus status = write(edit, what)) return status;
    same.first = edit.first + edit.firstCount;
    same.second = edit.second + edit.secondCount;
  }
  return writeSame(comparison.firstLines().size());
}

}  // namespace

TrvsStatus testDifferences(const DifferenceRequest& request, bool* differ) {
  Comparison comparison;
  if (const TrvsStatus status = comparison.open(request)) return status;
  *differ = !comparison.isEqual();
  return TRVS_DONE;
}

TrvsStatus reportDifferences(const DifferenceRequest& request, const char* output, int context) {
  Comparison comparison;
  ReportOutput lines;
  if (const TrvsStatus status = comparison.open(request)) return status;
  if (const TrvsStatus status = lines.open(output, comparison.paths())) return status;
  const size_t most = comparison.firstLines().size();
  const size_t count = context < 0 ? most : std::min(static_cast<size_t>(context), most);
  const bool withHeading = (request.flags & TRVS_DIFF_NO_HEADING) == 0;
  if (const TrvsStatus status = UnifiedReport(comparison, &lines).write(count, withHeading)) {
    return status;
  }
  return lines.close();
}

TrvsStatus listDifferences(const DifferenceRequest& request, const char* output,
                           const Colour (&colours)[3]) {
  Comparison comparison;
  ReportOutput lines;
  if (const TrvsStatus status = comparison.open(request)) return status;
  if (const TrvsStatus status = lines.open(output, comparison.paths())) return status;
  std::string viewer = "viewer";
  for (const Colour& each : colours) {
    viewer += " " + std::to_string(each.colour) + " " + std::to_string(each.style);
  }
  std::vector<std::string> all;
  if ((request.flags & TRVS_DIFF_NO_HEADING) == 0) {
    const auto side = [](const char* which, size_t count, const Side& about) {
      return std::string(which) + " " + std::to_string(count) + " " + about.title();
    };
    all = {"delta 1", side("first", comparison.firstLines().size(), comparison.first()),
           side("second", comparison.secondLines().size(), comparison.second()), viewer};
  }
  if (!comparison.isText()) {
    all.emplace_back(comparison.isEqual() ? "binary same" : "binary differ");
  }
  for (const std::string& line : all) {
    if (const TrvsStatus status = lines.line(line, TRVS_OUTPUT_DIFFERENCES)) return status;
  }
  if (comparison.isText()) {
    if (const TrvsStatus status = writeRanges(comparison, &lines)) return status;
  }
  return lines.close();
}

}  // namespace btkf
