// cli/commands/log.cpp: log: the revisions of files, and the history of the project.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/commands/revisionfields.h"
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
  Log() : FileCommand("log", State::Use::kRead) {}

  void declare(Options& options) override {
    options.text(&range_, "-r,--revision", "FROM..TO", "these revisions only, or one");
    options.text(&user_, "-u,--user", "NAME", "by this author");
    options.text(&label_, "-l,--label", "NAME", "with this label");
    options.text(&group_, "-g,--group", "NAME", "in this group");
    options.text(&words_, "--grep", "TEXT", "with this text in the message");
    options.text(&last_, "--last", "N", "the newest N of each file, or of the project's entries");
    options.flag(&isReversed_, "--reverse", "the oldest first");
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    const auto files = chosen();
    if (names_.empty()) return tellProject(files);
    const bool isOne = files.size() == 1;
    forEach(files, [&](const FileRecord& file) { tellFile(file, isOne); });
  }

  // What somebody checked in at one time, as far as anybody can tell: check-ins of one author with
  // one message, each within five minutes of the one before.
  struct Entry {
    std::vector<std::pair<const FileRecord*, RevisionInfo>> revisions;
    const RevisionInfo& newest() const { return revisions.back().second; }
  };

  void tellProject(const Files& files) {
    Entry all;
    forEach(files, [&](const FileRecord& file) {
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
    Output& output = session().output();
    const RevisionInfo newest = entry.newest();
    std::stable_sort(
        entry.revisions.begin(), entry.revisions.end(),
        [](const auto& left, const auto& right) { return left.first->path < right.first->path; });
    output.line(fmt::format("{}  {}  {}", newest.minute(), shown(newest.author),
                            shown(newest.firstLine())));
    for (const auto& [file, revision] : entry.revisions) {
      output.result(itemOf(*file, revision),
                    fmt::format("  {} {}", local().shownPath(*file), revision.number));
      if (output.manner().verbose) tellMore(revision);
    }
    output.line("");
  }

  std::vector<RevisionInfo> chosenOf(const FileRecord& file) {
    std::vector<RevisionInfo> chosen;
    const std::vector<RevisionInfo>& all = local().historyOf(file).revisions();
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
    Output& output = session().output();
    if (!isOne) output.line(shownPath(file));
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
      if (!names.empty()) output().line(fmt::format("     {} {}", what, listed(names)));
    };
    tell("labels", revision.labels);
    tell("groups", revision.groups);
    tell("locked by", revision.lockers);
    for (const std::string& line : split(revision.message, '\n')) {
      if (line != revision.firstLine()) output().line("     " + shown(line));
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
      return text.empty() ? &fallback : &local().revisionOf(file, text);
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
};

}  // namespace

std::unique_ptr<Command> makeLog() { return makeCommand<Log>(); }

}  // namespace cli
