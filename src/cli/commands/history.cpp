// cli/commands/history.cpp: log and diff: what happened to files.
#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/command.h"
#include "cli/commands/bulk.h"
#include "cli/commands/commands.h"
#include "cli/commands/revisionfields.h"
#include "cli/local/localfiles.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/text.h"

namespace cli {
namespace {

using Need = Options::Need;

Fields itemOf(const FileRecord& file, const RevisionInfo& revision) {
  Fields item = fieldsOf(revision);
  item.emplace(item.begin(), "file", file.path);
  return item;
}

class Log : public Command {
 public:
  void declare(Options& options) override {
    options.text(&range_, "-r,--revision", "FROM..TO", "these revisions only, or one");
    options.text(&user_, "-u,--user", "NAME", "by this author");
    options.text(&label_, "-l,--label", "NAME", "with this label");
    options.text(&group_, "-g,--group", "NAME", "in this group");
    options.text(&words_, "--grep", "TEXT", "with this text in the message");
    options.text(&last_, "--last", "N", "the newest N of each file, or of the project's entries");
    options.flag(&isReversed_, "--reverse", "the oldest first");
    options.words(&names_, "FILE", Need::kOptional, "else all of the project");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kRead);
    session_ = &session;
    local_ = &local;
    const auto files = local.choose(names_);
    if (names_.empty()) return tellProject(files);
    const bool isOne = files.size() == 1;
    forEachFile(session, "log", files, [&](const FileRecord& file) { tellFile(file, isOne); });
  }

 private:
  // What somebody checked in at one time, as far as anybody can tell: check-ins of one author with
  // one message, each within five minutes of the one before.
  struct Entry {
    std::vector<std::pair<const FileRecord*, RevisionInfo>> revisions;
    const RevisionInfo& newest() const { return revisions.back().second; }
  };

  void tellProject(const std::vector<const FileRecord*>& files) {
    Entry all;
    forEachFile(*session_, "log", files, [&](const FileRecord& file) {
      for (RevisionInfo& each : chosenOf(file)) all.revisions.emplace_back(&file, std::move(each));
    });
    std::stable_sort(
        all.revisions.begin(), all.revisions.end(),
        [](const auto& left, const auto& right) { return left.second.time < right.second.time; });
    std::vector<Entry> entries = entriesOf(std::move(all));
    std::reverse(entries.begin(), entries.end());
    if (!last_.empty()) entries.resize(std::min(entries.size(), countOf(last_)));
    if (isReversed_) std::reverse(entries.begin(), entries.end());
    for (const Entry& each : entries) tellEntry(each);
  }

  static std::vector<Entry> entriesOf(Entry all) {
    constexpr int64_t kWindow = 5 * 60;
    std::vector<Entry> entries;
    std::map<std::pair<std::string, std::string>, size_t> latest;  // By author and message.
    for (auto& [file, revision] : all.revisions) {
      const auto key = std::pair(revision.author, revision.message);
      const auto found = latest.find(key);
      const bool isNew =
          found == latest.end() ||
          secondsOf(revision.time) - secondsOf(entries[found->second].newest().time) > kWindow;
      if (isNew) {
        latest[key] = entries.size();
        entries.emplace_back();
      }
      entries[latest[key]].revisions.emplace_back(file, std::move(revision));
    }
    return entries;
  }

  // Of "2026-11-23 10:31:06", counted from a fixed day.
  static int64_t secondsOf(const std::string& time) {
    int64_t parts[6] = {};
    size_t place = 0;
    for (int64_t& part : parts) {
      for (; place < time.size() && time[place] >= '0' && time[place] <= '9'; ++place) {
        part = part * 10 + (time[place] - '0');
      }
      ++place;
    }
    // Years that begin with March: then the day that may be missing is the last of them.
    const bool isEarly = parts[1] <= 2;
    const int64_t year = parts[0] - (isEarly ? 1 : 0);
    const int64_t month = parts[1] + (isEarly ? 9 : -3);
    const int64_t day =
        365 * year + year / 4 - year / 100 + year / 400 + (153 * month + 2) / 5 + parts[2];
    return day * 86'400 + parts[3] * 3600 + parts[4] * 60 + parts[5];
  }

  void tellEntry(Entry entry) const {
    Output& output = session_->output();
    const RevisionInfo newest = entry.newest();
    std::stable_sort(
        entry.revisions.begin(), entry.revisions.end(),
        [](const auto& left, const auto& right) { return left.first->path < right.first->path; });
    output.line(fmt::format("{}  {}  {}", newest.minute(), shown(newest.author),
                            shown(newest.firstLine())));
    for (const auto& [file, revision] : entry.revisions) {
      output.result(itemOf(*file, revision),
                    fmt::format("  {} {}", local_->shownPath(*file), revision.number));
      if (output.manner().verbose) tellMore(revision);
    }
    output.line("");
  }

  std::vector<RevisionInfo> chosenOf(const FileRecord& file) {
    std::vector<RevisionInfo> chosen;
    const std::vector<RevisionInfo>& all = local_->historyOf(file).revisions();
    if (all.empty()) return chosen;
    const auto [from, to] = rangeOf(file, all);
    for (const RevisionInfo* each = from; each <= to; ++each) {
      if (fits(*each)) chosen.push_back(*each);
    }
    return chosen;
  }

  void tellFile(const FileRecord& file, bool isOne) {
    std::vector<RevisionInfo> chosen = chosenOf(file);
    std::stable_sort(
        chosen.begin(), chosen.end(),
        [](const RevisionInfo& left, const RevisionInfo& right) { return left.time < right.time; });
    std::reverse(chosen.begin(), chosen.end());
    if (!last_.empty()) chosen.resize(std::min(chosen.size(), countOf(last_)));
    if (isReversed_) std::reverse(chosen.begin(), chosen.end());
    if (chosen.empty()) return;
    Output& output = session_->output();
    if (!isOne) output.line(local_->shownPath(file));
    std::vector<std::vector<std::string>> rows;
    for (const RevisionInfo& each : chosen) {
      rows.push_back({each.number, each.minute(), each.author, shown(each.firstLine())});
    }
    const auto lines = table(rows);
    for (size_t i = 0; i < lines.size(); ++i) {
      output.result(itemOf(file, chosen[i]), (isOne ? "" : "  ") + lines[i]);
      if (output.manner().verbose) tellMore(chosen[i]);
    }
    if (!isOne) output.line("");
  }

  static size_t countOf(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() < 10 &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber) throw misuse("--last", fmt::format("'{}' is not a number", text));
    return std::stoul(text);
  }

  void tellMore(const RevisionInfo& revision) const {
    const auto tell = [&](const char* what, const std::vector<std::string>& names) {
      if (!names.empty()) session_->output().line(fmt::format("     {} {}", what, listed(names)));
    };
    tell("labels", revision.labels);
    tell("groups", revision.groups);
    tell("locked by", revision.lockers);
    for (const std::string& line : split(revision.message, '\n')) {
      if (line != revision.firstLine()) session_->output().line("     " + shown(line));
    }
  }

  bool fits(const RevisionInfo& revision) const {
    const auto has = [](const std::vector<std::string>& list, const std::string& name) {
      return name.empty() || std::find(list.begin(), list.end(), name) != list.end();
    };
    return (user_.empty() || revision.author == user_) && has(revision.labels, label_) &&
           has(revision.groups, group_) && revision.message.find(words_) != std::string::npos;
  }

  // The first and the last one, by their order on one branch, which is that of the list.
  std::pair<const RevisionInfo*, const RevisionInfo*> rangeOf(
      const FileRecord& file, const std::vector<RevisionInfo>& all) const {
    const auto placeOf = [&](const std::string& text, const RevisionInfo& fallback) {
      return text.empty() ? &fallback : &local_->revisionOf(file, text);
    };
    const size_t dots = range_.find("..");
    if (dots != std::string::npos) {
      return {placeOf(range_.substr(0, dots), all.front()),
              placeOf(range_.substr(dots + 2), all.back())};
    }
    return {placeOf(range_, all.front()), placeOf(range_, all.back())};
  }

  std::string range_;
  std::string user_;
  std::string label_;
  std::string group_;
  std::string words_;
  std::string last_;
  bool isReversed_ = false;
  std::vector<std::string> names_;
  Session* session_ = nullptr;
  LocalFiles* local_ = nullptr;
};

class Diff : public Command {
 public:
  void declare(Options& options) override {
    options.text(&range_, "-r,--revision", "REV", "against REV, or FROM..TO");
    options.flag(&isStat_, "--stat", "only how many lines");
    options.flag(&isNames_, "--names", "only which files");
    options.text(&context_, "-U", "N", "lines around each difference");
    options.flag(&ignoresSpace_, "--ignore-space", "how much white space there is doesn't count");
    options.flag(&ignoresCase_, "--ignore-case", "nor does the case of letters");
    options.flag(&ignoresEnds_, "--ignore-line-ends", "nor how lines end");
    options.flag(&isStored_, "--stored", "revisions as stored, keywords not expanded");
    options.words(&names_, "FILE", Need::kOptional, "else all that is changed");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kRead);
    session_ = &session;
    local_ = &local;
    if (context_.find_first_not_of("0123456789") != std::string::npos || context_.size() > 4) {
      throw misuse(fmt::format("-U {}", context_), "not a number of lines");
    }
    auto files = local.choose(names_);
    const auto former = formerFiles();
    for (const FileRecord& each : former) files.push_back(&each);
    forEachFile(session, "diff", files, [&](const FileRecord& file) { diff(file); });
    if (isStat_ && differing_ > 0) {
      session.output().line(fmt::format("{} {}", counted(differing_, "file"),
                                        differing_ == 1 ? "differs" : "differ"));
    }
  }

 private:
  struct Side {
    std::string revision;  // Empty: the file itself.
  };

  void diff(const FileRecord& file) {
    Side from{"here"};
    Side to;
    const size_t dots = range_.find("..");
    if (dots != std::string::npos) {
      from.revision = range_.substr(0, dots);
      to.revision = range_.substr(dots + 2).empty() ? "followed" : range_.substr(dots + 2);
    } else if (!range_.empty()) {
      from.revision = range_;
    } else if (local_->standingOf(file) != Standing::kChanged) {
      return;
    }
    if (names_.empty() && dots != std::string::npos && isOneSided(file, from, to)) return;
    from.revision = numberOf(file, from.revision);
    if (!to.revision.empty()) to.revision = numberOf(file, to.revision);
    if (from.revision != to.revision) tell(file, from, to, report(file, from, to));
  }

  // What had one of both labels and is no longer in the project.
  std::vector<FileRecord> formerFiles() {
    const size_t dots = range_.find("..");
    std::vector<FileRecord> found;
    if (dots == std::string::npos || !names_.empty()) return found;
    for (const std::string& side : {range_.substr(0, dots), range_.substr(dots + 2)}) {
      for (FileRecord& each : local_->formerFiles(local_->labelIn(side))) {
        const auto has = [&](const FileRecord& file) { return file.archive == each.archive; };
        if (std::any_of(found.begin(), found.end(), has) ||
            std::any_of(local_->files().begin(), local_->files().end(), has)) {
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
      const std::string label = local_->labelIn(text);
      return label.empty() || local_->historyOf(file).withLabel(label) != nullptr;
    };
    const bool isInFirst = has(from.revision);
    const bool isInSecond = has(to.revision);
    if (isInFirst && isInSecond) return false;
    if (!isInFirst && !isInSecond) return true;
    ++differing_;
    const std::string& only = isInFirst ? from.revision : to.revision;
    session_->output().result({{"file", file.path}, {"only_in", only}},
                              fmt::format("only in {}: {}", only, local_->shownPath(file)));
    return true;
  }

  std::string numberOf(const FileRecord& file, const std::string& text) {
    return local_->revisionOf(file, text).number;
  }

  std::vector<std::string> report(const FileRecord& file, const Side& from, const Side& to) {
    const std::string path = local_->pathOf(file);
    const bool isFile = to.revision.empty();
    const std::string first = target(file.archive, path);
    uint32_t flags = TRVS_DIFF_NO_HEADING;
    if (ignoresSpace_) flags |= TRVS_DIFF_IGNORE_SPACE;
    if (ignoresCase_) flags |= TRVS_DIFF_IGNORE_CASE;
    if (ignoresEnds_) flags |= TRVS_DIFF_IGNORE_LINE_ENDS;
    if (isStored_) flags |= TRVS_DIFF_STORED;
    const auto lines = static_cast<int16_t>(context_.empty() ? 3 : std::stoi(context_));
    return linesOf(
        [&] {
          return TrvsReportDifferences(TRVS_CONTEXT, first.c_str(), from.revision.c_str(),
                                       isFile ? path.c_str() : first.c_str(),
                                       isFile ? nullptr : to.revision.c_str(), nullptr, lines, 0, 0,
                                       nullptr, flags);
        },
        {.file = local_->shownPath(file),
         .archive = file.archive,
         .workfile = path,
         .revision = from.revision});
  }

  void tell(const FileRecord& file, const Side& from, const Side& to,
            const std::vector<std::string>& lines) {
    if (lines.empty()) return;
    ++differing_;
    Output& output = session_->output();
    const std::string path = local_->shownPath(file);
    size_t added = 0;
    size_t removed = 0;
    std::string text;
    for (const std::string& line : lines) {
      added += line.starts_with('+') ? 1 : 0;
      removed += line.starts_with('-') ? 1 : 0;
      text += line + '\n';
    }
    const Value end = to.revision.empty() ? Value() : Value(to.revision);
    output.result({{"file", file.path},
                   {"from", from.revision},
                   {"to", end},
                   {"added", added},
                   {"removed", removed},
                   {"text", text}},
                  "");
    if (isNames_) return output.line(path);
    if (isStat_) return output.line(fmt::format("{}  +{} -{}", path, added, removed));
    output.line(output.coloured(fmt::format("--- {}\t{}", path, from.revision), Colour::kRed));
    output.line(output.coloured(
        to.revision.empty() ? "+++ " + path : fmt::format("+++ {}\t{}", path, to.revision),
        Colour::kGreen));
    for (const std::string& line : lines) output.line(output.coloured(line, colourOf(line)));
  }

  static Colour colourOf(const std::string& line) {
    if (line.starts_with("@@")) return Colour::kCyan;
    if (line.starts_with('+')) return Colour::kGreen;
    return line.starts_with('-') ? Colour::kRed : Colour::kPlain;
  }

  std::string range_;
  bool isStat_ = false;
  bool isNames_ = false;
  std::string context_;
  bool ignoresSpace_ = false;
  bool ignoresCase_ = false;
  bool ignoresEnds_ = false;
  bool isStored_ = false;
  std::vector<std::string> names_;
  Session* session_ = nullptr;
  LocalFiles* local_ = nullptr;
  size_t differing_ = 0;
};

}  // namespace

std::unique_ptr<Command> makeLog() { return makeCommand<Log>(); }
std::unique_ptr<Command> makeDiff() { return makeCommand<Diff>(); }

}  // namespace cli
