// cli/commands/diff.cpp: diff: how files and revisions differ.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/differences.h"
#include "cli/commands/filecommand.h"
#include "cli/text/text.h"

namespace cli {
namespace {

class Diff : public FileCommand {
 public:
  Diff() : FileCommand("diff", State::Use::kRead) { takeArchives(); }

  void declare(Options& options) override {
    options.text(&range_, "-r,--revision", "REV", "against REV, or FROM..TO");
    options.flag(&isStat_, "--stat", "only how many lines");
    options.flag(&isNames_, "--names", "only which files");
    options.text(&context_, "-U", "N", "lines around each difference");
    options.flag(&ignoresSpace_, "--ignore-space", "how much white space there is doesn't count");
    options.flag(&ignoresCase_, "--ignore-case", "nor does the case of letters");
    options.flag(&ignoresEnds_, "--ignore-line-ends", "nor how lines end");
    options.flag(&isStored_, "--stored", "revisions as stored, keywords not expanded");
    declareFiles(options, Need::kOptional, "else all that is changed");
  }

 private:
  void work() override {
    if (context_.find_first_not_of("0123456789") != std::string::npos || context_.size() > 4) {
      throw misuse(fmt::format("-U {}", context_), "not a number of lines");
    }
    auto files = chosen();
    const Ends ends = endsOf(range_);
    if (!local().isOfProject() && (!ends.isRange || ends.first.empty())) {
      throw misuse("diff", "an archive has no file to compare", "'-r FROM..TO' names revisions");
    }
    for (const std::string& side : {ends.first, ends.last}) {
      local().refuseUnknown(side, files);
      if (isNumber(side)) leaveOutLacking(side, &files);
    }
    const auto former = formerFiles();
    for (const FileRecord& each : former) files.push_back(&each);
    forEach(files, [&](const FileRecord& file) { diff(file); });
    if (isStat_ && differing_ > 0) {
      output().line(fmt::format("{} {}", counted(differing_, "file"),
                                differing_ == 1 ? "differs" : "differ"));
    }
  }

  struct Side {
    std::string revision;  // Empty: the file itself.
  };

  void diff(const FileRecord& file) {
    Side from{"here"};
    Side to;
    const Ends ends = endsOf(range_);
    if (ends.isRange) {
      if (!ends.first.empty()) from.revision = ends.first;
      to.revision = ends.last.empty() ? "followed" : ends.last;
    } else if (!range_.empty()) {
      from.revision = range_;
    } else if (local().standingOf(file) != Standing::kChanged) {
      return;
    }
    if (isWhole() && !range_.empty() && isOneSided(file, from, to)) return;
    from.revision = numberOf(file, from.revision);
    if (!to.revision.empty()) to.revision = numberOf(file, to.revision);
    if (from.revision != to.revision) tell(file, from, to, report(file, from, to));
  }

  // What had one of both labels and is no longer in the project.
  std::vector<FileRecord> formerFiles() {
    const Ends ends = endsOf(range_);
    std::vector<FileRecord> found;
    if (!ends.isRange || !isWhole()) return found;
    for (const std::string& side : {ends.first, ends.last}) {
      for (FileRecord& each : local().formerFiles(local().labelIn(side))) {
        const auto has = [&](const FileRecord& file) { return file.archive == each.archive; };
        if (std::any_of(found.begin(), found.end(), has) ||
            std::any_of(local().files().begin(), local().files().end(), has)) {
          continue;
        }
        found.push_back(std::move(each));
      }
    }
    return found;
  }

  // Tells a file that one side only has; nothing is told of one that none has.
  bool isOneSided(const FileRecord& file, const Side& from, const Side& to) {
    const auto has = [&](const std::string& text) {
      const bool isMark = !local().labelIn(text).empty() || text.find('@') != std::string::npos;
      return !isMark || local().find(file, text) != nullptr;
    };
    const bool isInFirst = has(from.revision);
    const bool isInSecond = has(to.revision);
    if (isInFirst && isInSecond) return false;
    if (!isInFirst && !isInSecond) return true;
    ++differing_;
    const std::string& only = isInFirst ? from.revision : to.revision;
    const std::string where = only.empty() ? "here" : "in " + only;
    output().result({{"file", file.path}, {"only_in", only.empty() ? "here" : only}},
                    fmt::format("only {}: {}", where, shownPath(file)));
    return true;
  }

  std::string numberOf(const FileRecord& file, const std::string& text) {
    return local().revisionOf(file, text).number;
  }

  std::vector<std::string> report(const FileRecord& file, const Side& from, const Side& to) {
    uint32_t flags = 0;
    if (ignoresSpace_) flags |= TRVS_DIFF_IGNORE_SPACE;
    if (ignoresCase_) flags |= TRVS_DIFF_IGNORE_CASE;
    if (ignoresEnds_) flags |= TRVS_DIFF_IGNORE_LINE_ENDS;
    if (isStored_) flags |= TRVS_DIFF_STORED;
    Subject subject = about(file, from.revision);
    subject.workfile = local().pathOf(file);
    const int lines = context_.empty() ? kContextLines : std::stoi(context_);
    return differencesOf(subject, from.revision, to.revision, static_cast<int16_t>(lines), flags);
  }

  void tell(const FileRecord& file, const Side& from, const Side& to,
            const std::vector<std::string>& lines) {
    if (lines.empty()) return;
    ++differing_;
    Output& output = session().output();
    const std::string path = shownPath(file);
    size_t added = 0;
    size_t removed = 0;
    std::string text;
    for (const std::string& line : lines) {
      added += line.starts_with('+') ? 1 : 0;
      removed += line.starts_with('-') ? 1 : 0;
      text += line + '\n';
    }
    const Value end = orNull(to.revision);
    output.result({{"file", file.path},
                   {"from", from.revision},
                   {"to", end},
                   {"added", added},
                   {"removed", removed},
                   {"binary", isBinary(lines)},
                   {"text", text}},
                  "");
    if (isNames_) return output.line(path);
    if (isStat_ && isBinary(lines)) return output.line(path + "  binary");
    if (isStat_) return output.line(fmt::format("{}  +{} -{}", path, added, removed));
    tellDifferences(output, path, from.revision, to.revision, lines);
  }

  std::string range_;
  bool isStat_ = false;
  bool isNames_ = false;
  std::string context_;
  bool ignoresSpace_ = false;
  bool ignoresCase_ = false;
  bool ignoresEnds_ = false;
  bool isStored_ = false;
  size_t differing_ = 0;
};

}  // namespace

std::unique_ptr<Command> makeDiff() { return makeCommand<Diff>(); }

}  // namespace cli
