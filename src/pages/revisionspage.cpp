// pages/revisionspage.cpp: two revisions side by side: the engine says which lines differ, and of
// lines that stand for each other the words that differ are marked.
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>

#include "cli/archives/engine.h"
#include "cli/text/text.h"
#include "pages/contents.h"
#include "pages/filepages.h"
#include "pages/words.h"

namespace pages {
namespace {

using Lines = std::vector<std::string_view>;

constexpr size_t kContext = 4;             // Equal lines that show around others.
constexpr size_t kLongLine = 2000;         // Bytes: of longer ones not all shows.
constexpr size_t kAround = 300;            // Of these what shows of equal text, at either end.
constexpr ptrdiff_t kMostLines = 200'000;  // Of a text that is compared.

// With their ends.
Lines linesOf(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return lines;
}

// Lines of both sides, from 0.
struct Range {
  bool isSame = false;
  size_t first = 0;
  size_t firstCount = 0;
  size_t second = 0;
  size_t secondCount = 0;
};

// Of a line such as "changed 3 1 3 2". Nothing for one that tells of no lines.
std::optional<Range> rangeOf(const std::string& line) {
  const auto words = cli::split(line, ' ');
  if (words.size() != 5) return {};
  Range range;
  range.isSame = words[0] == "same";
  size_t* const numbers[] = {&range.first, &range.firstCount, &range.second, &range.secondCount};
  for (size_t i = 0; i < 4; ++i) {
    const std::string& word = words[i + 1];
    if (std::from_chars(word.data(), word.data() + word.size(), *numbers[i]).ec != std::errc()) {
      return {};
    }
  }
  --range.first;
  --range.second;
  return range;
}

std::vector<Range> rangesOf(const cli::FileRecord& file, const std::string& older,
                            const std::string& newer) {
  const char* const archive = file.archive.c_str();
  const auto lines = cli::linesOf(
      [&] {
        return TrvsGenGuiDelta(TRVS_CONTEXT, archive, older.c_str(), archive, newer.c_str(), 0,
                               nullptr, nullptr, 0, 0, 0, 0, 0, 0, 0,
                               TRVS_DIFF_NO_HEADING | TRVS_DIFF_STORED);
      },
      {.file = file.path, .archive = file.archive, .revision = newer});
  std::vector<Range> ranges;
  for (const std::string& line : lines) {
    if (const auto range = rangeOf(line)) ranges.push_back(*range);
  }
  return ranges;
}

class Sides {
 public:
  Sides(Html& html, const Content& first, const Content& second)
      : html_(html), first_(linesOf(first.bytes)), second_(linesOf(second.bytes)) {}

  // Whether all shows.
  bool write(const std::vector<Range>& ranges) {
    for (const Range& each : ranges) left_ += std::max(each.firstCount, each.secondCount);
    const auto table = html_.in("table", {{"class", "sides"}});
    {
      // The first row may be one cell, of which no width comes.
      const auto columns = html_.in("colgroup");
      for (int side = 0; side < 2; ++side) {
        html_.lone("col", {{"class", "at"}});
        html_.lone("col", {});
      }
    }
    for (size_t i = 0; i < ranges.size() && !isFull(html_); ++i) {
      if (ranges[i].isSame) {
        writeSame(ranges[i], i == 0, i + 1 == ranges.size());
      } else {
        writeChanged(ranges[i]);
      }
    }
    if (left_ > 0) writeFold(cli::counted(left_, "more line"));
    return left_ == 0 && isWhole_;
  }

 private:
  void writeSame(const Range& range, bool isFirst, bool isLast) {
    const size_t before = isFirst ? 0 : std::min(kContext, range.firstCount);
    const size_t after = isLast ? 0 : std::min(kContext, range.firstCount - before);
    size_t folded = range.firstCount - before - after;
    if (folded < 3) folded = 0;
    for (size_t i = 0; i < range.firstCount && !isFull(html_); ++i) {
      if (folded != 0 && i == before) {
        writeFold(cli::counted(folded, "equal line"));
        i += folded;
        left_ -= folded;
        if (i >= range.firstCount) break;
      }
      const auto row = html_.in("tr", {{"class", "same"}});
      writeCell(range.first + i, first_, {{first_[range.first + i], false}}, false);
      writeCell(range.second + i, second_, {{second_[range.second + i], false}}, false);
      --left_;
    }
  }

  void writeChanged(const Range& range) {
    const size_t count = std::max(range.firstCount, range.secondCount);
    for (size_t i = 0; i < count && !isFull(html_); ++i) {
      const bool hasFirst = i < range.firstCount;
      const bool hasSecond = i < range.secondCount;
      Pieces pieces;
      if (hasFirst && hasSecond) {
        pieces = changedWords(first_[range.first + i], second_[range.second + i]);
      } else if (hasFirst) {
        pieces.first = {{first_[range.first + i], false}};
      } else {
        pieces.second = {{second_[range.second + i], false}};
      }
      const auto row = html_.in("tr", {{"class", !hasSecond ? "deleted"
                                                 : hasFirst ? "changed"
                                                            : "added"}});
      hasFirst ? writeCell(range.first + i, first_, pieces.first, true) : writeGap();
      hasSecond ? writeCell(range.second + i, second_, pieces.second, true) : writeGap();
      --left_;
    }
  }

  void writeGap() { html_.put("td", {{"class", "gap"}, {"colspan", "2"}}, ""); }

  void writeFold(const std::string& text) {
    const auto row = html_.in("tr", {{"class", "fold"}});
    html_.put("td", {{"colspan", "4"}}, text);
  }

  // What ends a line is told where lines differ.
  void writeCell(size_t number, const Lines& lines, const std::vector<Piece>& pieces,
                 bool isChanged) {
    html_.put("td", {{"class", "at"}}, std::to_string(number + 1));
    const auto cell = html_.in("td", {{"class", "text"}});
    const std::string_view line = lines[number];
    const size_t ends = line.ends_with("\r\n") ? 2 : line.ends_with('\n') ? 1 : 0;
    writePieces(line.substr(0, line.size() - ends), pieces);
    if (!isChanged || ends == 1) return;
    writeMark(html_, Mark::kNote, ends == 2 ? "CR" : "no line end",
              ends == 2 ? "the line ends with CR LF" : "the text ends here, without a line end");
  }

  void writePieces(std::string_view line, const std::vector<Piece>& pieces) {
    const bool isLong = line.size() > kLongLine;
    const char* const end = line.data() + line.size();
    size_t room = kLongLine;
    for (const Piece& each : pieces) {
      const auto left = static_cast<size_t>(std::max<ptrdiff_t>(end - each.text.data(), 0));
      const std::string_view text = each.text.substr(0, left);
      const bool isShort = text.size() <= (each.isChanged ? room : 2 * kAround);
      if (!isLong || isShort) {
        each.isChanged ? html_.put("mark", text) : html_.text(text);
      } else if (each.isChanged) {
        const size_t cut = letterAt(text, room);
        html_.put("mark", text.substr(0, cut));
        return writeLeftOut(left - cut);
      } else {
        const size_t from = letterAt(text, kAround);
        const size_t to = letterAt(text, text.size() - kAround);
        html_.text(text.substr(0, from));
        writeLeftOut(to - from);
        html_.text(text.substr(to));
      }
      room -= std::min(room, isShort ? text.size() : 2 * kAround);
    }
  }

  void writeLeftOut(size_t bytes) {
    isWhole_ = false;
    writeMark(html_, Mark::kNote, cli::counted(bytes, "more byte"), "they are not shown");
  }

  Html& html_;
  Lines first_;
  Lines second_;
  size_t left_ = 0;  // Rows that are still to come.
  bool isWhole_ = true;
};

void writeSide(Html& html, const Context& context, const File& file,
               const cli::RevisionInfo& revision) {
  const auto side = html.in("div", {{"class", "side"}});
  {
    const auto line = html.in("p");
    html.put("strong", {{"class", "number"}}, revision.number);
    html.text(" ");
    writeTime(html, revision.time);
    html.text(" ");
    html.put("span", {{"class", "who"}}, cli::shown(revision.author));
    html.text(" ");
    writeMarks(html, context, *file.archive, revision);
  }
  html.put("p", {{"class", "message"}}, shortened(revision.message));
}

bool hasFewLines(const Content& text) {
  return std::count(text.bytes.begin(), text.bytes.end(), '\n') <= kMostLines;
}

void writeComparison(Html& html, const cli::FileRecord& file, const cli::RevisionInfo& older,
                     const cli::RevisionInfo& newer) {
  const Content first = contentOf(file, older.number);
  const Content second = contentOf(file, newer.number);
  const std::string diff = fmt::format("diff -r {}..{}", older.number, newer.number);
  const bool areTexts = first.kind == Kind::kText && second.kind == Kind::kText;
  if (areTexts && hasFewLines(first) && hasFewLines(second)) {
    const std::vector<Range> ranges = rangesOf(file, older.number, newer.number);
    const bool isSame =
        std::all_of(ranges.begin(), ranges.end(), [](const Range& each) { return each.isSame; });
    if (isSame) return writeNothing(html, "Both have the same content.");
    if (!Sides(html, first, second).write(ranges)) {
      writeNothing(html, "Not all is shown here; " + toldBy(diff, file.path));
    }
    return;
  }
  const bool isSame = first.stored && second.stored && first.stored->size == second.stored->size &&
                      first.stored->checksum == second.stored->checksum;
  if (isSame) return writeNothing(html, "Both have the same content.");
  if (areTexts || first.kind == Kind::kTooLarge || second.kind == Kind::kTooLarge) {
    writeTooLarge(html, diff, file.path);
  }
  const auto both = html.in("div", {{"class", "both"}});
  for (const auto& [content, revision] : {std::pair(&first, &older), std::pair(&second, &newer)}) {
    const auto side = html.in("div", {{"class", "side"}});
    writeContent(html, *content, fmt::format("{} {}", file.path, revision->number));
  }
}

}  // namespace

void writeRevisions(Html& html, const Context& context, const File& file,
                    const cli::RevisionInfo& older, const cli::RevisionInfo& newer) {
  writePage(html, {.title = file.record.path, .context = &context, .tab = ""}, [&] {
    {
      const auto line = html.in("p", {{"class", "summary"}});
      html.text(fmt::format("{} and {} of ", older.number, newer.number));
      writeFileLink(html, context, file.record.path);
    }
    {
      const auto both = html.in("div", {{"class", "both"}});
      writeSide(html, context, file, older);
      writeSide(html, context, file, newer);
    }
    try {
      writeComparison(html, file.record, older, newer);
    } catch (const cli::Problem& problem) {
      writeProblem(html, cli::reasonOf(problem));
    }
  });
}

}  // namespace pages
