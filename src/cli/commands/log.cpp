// cli/commands/log.cpp: log: the revisions of files, and the history of the project.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/commands/differences.h"
#include "cli/commands/filecommand.h"
#include "cli/commands/revisionfields.h"
#include "cli/local/entries.h"
#include "cli/local/moment.h"
#include "cli/text/text.h"

namespace cli {
namespace {

Fields itemOf(const FileRecord& file, const RevisionInfo& revision) {
  Fields item = fieldsOf(revision);
  item.emplace(item.begin(), "file", file.path);
  return item;
}

class Log : public FileCommand {
 public:
  Log() : FileCommand("log", State::Use::kRead) { takeArchives(); }

  void declare(Options& options) override {
    options.text(&range_, "-r,--revision", "FROM..TO", "these revisions only, or one");
    options.text(&user_, "-u,--user", "NAME", "by this author");
    options.text(&label_, "-l,--label", "NAME", "with this label");
    options.text(&group_, "-g,--group", "NAME", "in this group");
    options.text(&words_, "--grep", "TEXT", "with this text in the message");
    options.text(&since_, "--since", "DATE", "from then on, such as 2026-11-23 or '3 days ago'");
    options.text(&until_, "--until", "DATE", "up to then");
    options.text(&last_, "--last", "N", "the newest N of each file, or of the project's entries");
    options.flag(&isReversed_, "--reverse", "the oldest first");
    options.flag(&isDiff_, "--diff", "and what each one changed");
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    if (!since_.empty()) earliest_ = spanNamed(since_).first;
    if (!until_.empty()) latest_ = spanNamed(until_).last;
    auto files = chosen();
    const Ends ends = endsOf(range_);
    for (const std::string& end : {ends.first, ends.last}) {
      local().refuseUnknown(end, files);
      leaveOutLacking(end, &files);
    }
    local().refuseUnknown(label_.empty() ? "" : "label:" + label_, files);
    local().refuseUnknown(group_.empty() ? "" : "group:" + group_, files);
    if (names_.empty()) return tellProject(files);
    const bool isOne = files.size() == 1;
    forEach(files, [&](const FileRecord& file) { tellFile(file, isOne); });
  }

  void tellProject(const Files& files) {
    std::vector<CheckIn> all;
    forEach(files, [&](const FileRecord& file) {
      for (const RevisionInfo* each : chosenOf(file)) {
        all.push_back({&file, each, secondsOf(each->time)});
      }
    });
    std::stable_sort(all.begin(), all.end(), [](const CheckIn& left, const CheckIn& right) {
      return left.seconds < right.seconds;
    });
    std::vector<Entry> entries = entriesOf(all, kEntryWindow);
    std::reverse(entries.begin(), entries.end());
    if (!last_.empty()) entries.resize(std::min(entries.size(), countOf(last_)));
    if (isReversed_) std::reverse(entries.begin(), entries.end());
    for (const Entry& each : entries) tellEntry(each);
  }

  void tellEntry(Entry entry) {
    Output& output = session().output();
    const RevisionInfo& newest = *entry.back().revision;
    std::stable_sort(entry.begin(), entry.end(), [](const CheckIn& left, const CheckIn& right) {
      return left.file->path < right.file->path;
    });
    const std::string begin = fmt::format("{}  {}  ", newest.minute(), shown(newest.author));
    output.line(begin + output.fitted(shown(newest.firstLine()), columnsOf(begin)));
    for (const CheckIn& each : entry) {
      tellRevision(*each.file, *each.revision,
                   fmt::format("  {} {}", local().shownPath(*each.file), each.revision->number));
    }
    output.line("");
  }

  std::vector<const RevisionInfo*> chosenOf(const FileRecord& file) {
    std::vector<const RevisionInfo*> chosen;
    const std::vector<RevisionInfo>& all = local().historyOf(file).revisions();
    if (all.empty()) return chosen;
    const auto [from, to] = rangeOf(file, all);
    for (const RevisionInfo* each = from; each <= to; ++each) {
      if (fits(*each)) chosen.push_back(each);
    }
    return chosen;
  }

  void tellFile(const FileRecord& file, bool isOne) {
    std::vector<const RevisionInfo*> chosen = chosenOf(file);
    std::stable_sort(chosen.begin(), chosen.end(),
                     [](const RevisionInfo* left, const RevisionInfo* right) {
                       return left->time < right->time;
                     });
    std::reverse(chosen.begin(), chosen.end());
    if (!last_.empty()) chosen.resize(std::min(chosen.size(), countOf(last_)));
    if (isReversed_) std::reverse(chosen.begin(), chosen.end());
    if (chosen.empty()) return;
    Output& output = session().output();
    if (!isOne) output.line(shownPath(file));
    if (output.manner().verbose) tellDescription(file, isOne ? "" : "  ");
    std::vector<std::vector<std::string>> rows;
    for (const RevisionInfo* each : chosen) {
      rows.push_back({each->number, each->minute(), each->author});
    }
    size_t taken = 0;
    for (const std::string& each : table(rows)) taken = std::max(taken, columnsOf(each));
    taken += isOne ? 2 : 4;
    for (size_t i = 0; i < rows.size(); ++i) {
      rows[i].push_back(output.fitted(shown(chosen[i]->firstLine()), taken));
    }
    const auto lines = table(rows);
    for (size_t i = 0; i < lines.size(); ++i) {
      tellRevision(file, *chosen[i], (isOne ? "" : "  ") + lines[i]);
    }
    if (!isOne) output.line("");
  }

  void tellRevision(const FileRecord& file, const RevisionInfo& revision, const std::string& line) {
    Fields item = itemOf(file, revision);
    const RevisionInfo* const parent = local().historyOf(file).parentOf(revision);
    item.emplace_back("parent", numberOrNull(parent));
    const bool isFull = output().manner().verbose || !output().isText();
    const int64_t size = isFull ? sizeOf(file, revision.number) : 0;
    item.emplace_back("size", size);
    const std::string before = isDiff_ && parent != nullptr ? parent->number : "";
    std::vector<std::string> changes;
    if (!before.empty()) {
      Subject subject = about(file, revision.number);
      subject.workfile = local().pathOf(file);
      changes = differencesOf(subject, before, revision.number, kContextLines, 0);
      item.emplace_back("text", fmt::format("{}\n", fmt::join(changes, "\n")));
    }
    output().result(item, line);
    if (output().manner().verbose) tellMore(revision, size);
    if (changes.empty()) return;
    tellDifferences(output(), shownPath(file), before, revision.number, changes);
  }

  static size_t countOf(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() < 10 &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber) throw misuse("--last", fmt::format("'{}' is not a number", text));
    return std::stoul(text);
  }

  int64_t sizeOf(const FileRecord& file, const std::string& number) {
    auto& contents = contents_[file.archive];
    if (contents.empty()) contents = contentsOf(file.archive, shownPath(file));
    return contents[number].size;
  }

  void tellDescription(const FileRecord& file, const std::string& before) const {
    const std::string text = descriptionOf(file.archive, "", shownPath(file));
    if (text.empty()) return;
    for (const std::string& line : split(text, '\n')) output().line(before + shown(line));
  }

  void tellMore(const RevisionInfo& revision, int64_t size) const {
    const auto tell = [&](const char* what, const std::vector<std::string>& names) {
      if (!names.empty()) output().line(fmt::format("     {} {}", what, listed(names)));
    };
    tell("labels", revision.labels);
    tell("groups", revision.groups);
    tell("locked by", revision.lockers);
    tell("size", {sizeText(static_cast<uint64_t>(size))});
    for (const std::string& line : split(revision.message, '\n')) {
      if (line != revision.firstLine()) output().line("     " + shown(line));
    }
  }

  bool fits(const RevisionInfo& revision) const {
    const auto has = [](const std::vector<std::string>& list, const std::string& name) {
      return name.empty() || std::find(list.begin(), list.end(), name) != list.end();
    };
    const bool isThen = revision.time >= earliest_ && (latest_.empty() || revision.time <= latest_);
    return isThen && (user_.empty() || revision.author == user_) && has(revision.labels, label_) &&
           has(revision.groups, group_) && revision.message.find(words_) != std::string::npos;
  }

  // The first and the last one, by their order on one branch, which is that of the list.
  std::pair<const RevisionInfo*, const RevisionInfo*> rangeOf(
      const FileRecord& file, const std::vector<RevisionInfo>& all) const {
    const auto placeOf = [&](const std::string& text, const RevisionInfo& fallback) {
      return text.empty() ? &fallback : &local().revisionOf(file, text);
    };
    const Ends ends = endsOf(range_);
    return {placeOf(ends.first, all.front()),
            placeOf(ends.isRange ? ends.last : ends.first, all.back())};
  }

  std::string range_;
  std::string user_;
  std::string label_;
  std::string group_;
  std::string words_;
  std::string last_;
  std::string since_;
  std::string until_;
  std::string earliest_;
  std::string latest_;
  std::map<std::string, std::map<std::string, StoredContent>> contents_;  // By archive, and number.
  bool isReversed_ = false;
  bool isDiff_ = false;
};

}  // namespace

std::unique_ptr<Command> makeLog() { return makeCommand<Log>(); }

}  // namespace cli
