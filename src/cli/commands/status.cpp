// cli/commands/status.cpp: status and list: how the files here stand to the project.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/local/localfiles.h"
#include "cli/local/walk.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"

namespace cli {
namespace {

constexpr size_t kWord = 7;  // The columns of the longest words.

Colour colourOf(const std::string& word) {
  if (word == "broken" || word == "lost" || word == "unknown") return Colour::kRed;
  if (word == "changed" || word == "missing" || word == "gone") return Colour::kYellow;
  if (word == "behind") return Colour::kCyan;
  return word == "locked" ? Colour::kGreen : Colour::kPlain;
}

std::string newer(const RevisionInfo& revision) {
  return fmt::format("{} by {}, {}", revision.number, revision.author, revision.minute());
}

class Status : public Command {
 public:
  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "also files as they were checked out");
    options.flag(&isNull_, "-0,--null", "names alone, each ended by NUL");
    options.words(&names_, "FILE", Options::Need::kOptional, "else all of the project");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kRead);
    session_ = &session;
    local_ = &local;
    for (const FileRecord* file : local.choose(names_)) {
      try {
        look(*file);
      } catch (const Problem& problem) {
        tellBroken(*file, problem);
      }
    }
    if (names_.empty()) {
      lookForGone();
      lookForNew();
    }
    tell();
    local.save();
  }

 private:
  struct Row {
    std::string word, path, here, remark;
  };

  void add(Fields item, const std::string& word, Row row) {
    ++counts_[word];
    item.insert(item.begin() + 1, {"state", word});
    if (word == "same" && !isAll_) return;
    row.word = word;
    rows_.push_back(std::move(row));
    items_.push_back(std::move(item));
  }

  void look(const FileRecord& file) {
    Standing standing = local_->standingOf(file);
    const FileState* const state = local_->stateOf(file);
    const RevisionInfo* const here = local_->hereOf(file);
    if (here == nullptr && standing == Standing::kSame) standing = Standing::kUnknown;
    const RevisionInfo* const followed = local_->followedOf(file);
    if (standing == Standing::kNone && followed == nullptr) return;  // What is followed lacks it.
    const std::string number = here == nullptr ? "" : here->number;
    const bool isMine = here != nullptr && here->isLockedBy(local_->user());
    const bool isBehind = followed != nullptr && (here == nullptr || followed != here);
    Fields item{
        {"file", file.path},
        {"here", number.empty() ? Value() : Value(number)},
        {"followed", followed == nullptr ? Value() : Value(followed->number)},
        {"author", followed == nullptr ? Value() : Value(followed->author)},
        {"time", followed == nullptr ? Value() : Value(isoTime(followed->time))},
        {"changed", standing == Standing::kChanged},
        {"locked_by_me", isMine},
        {"lockers", here == nullptr ? Value(std::vector<std::string>()) : Value(here->lockers)}};
    Row row{"", local_->shownPath(file), number.empty() ? "-" : number, ""};
    if (state != nullptr && state->isLockedFromHere && !isMine) {
      row.remark = standing == Standing::kChanged ? "changed" : "unchanged";
      row.remark +=
          ", and your lock was taken back; " + (here == nullptr || here->lockers.empty()
                                                    ? "nobody has it now"
                                                    : here->lockers.front() + " has it now");
      add(std::move(item), "lost", std::move(row));
    } else if (standing == Standing::kUnknown) {
      row.remark = "no revision is known that it came from";
      add(std::move(item), "unknown", std::move(row));
    } else if (standing == Standing::kMissing) {
      add(std::move(item), "missing", std::move(row));
    } else if (standing == Standing::kChanged) {
      row.remark = isMine                  ? "locked by you"
                   : here->lockers.empty() ? "not locked"
                                           : "locked by " + here->lockers.front();
      if (isBehind)
        row.remark += fmt::format(", newer: {} by {}", followed->number, followed->author);
      add(std::move(item), "changed", std::move(row));
    } else if (isBehind) {
      row.remark = newer(*followed);
      add(std::move(item), "behind", std::move(row));
    } else {
      if (here != nullptr && !here->lockers.empty() && !isMine) {
        row.remark = "locked by " + here->lockers.front();
      }
      add(std::move(item), isMine ? "locked" : "same", std::move(row));
    }
  }

  static std::string isoTime(std::string time) {
    std::replace(time.begin(), time.end(), ' ', 'T');
    return time;
  }

  void tellBroken(const FileRecord& file, const Problem& problem) {
    session_->output().problem(problem);
    add({{"file", file.path}, {"here", nullptr}}, "broken",
        {"", local_->shownPath(file), "-", problem.why});
  }

  void lookForGone() {
    for (const std::string& path : local_->gone()) {
      const FileRecord file{path, "", ""};
      const std::string here = local_->stateOf(file)->here;
      const bool isUntouched = local_->isUntouched(path);
      add({{"file", path}, {"here", here}, {"changed", !isUntouched}}, "gone",
          {"", local_->shownPath(file), here,
           isUntouched ? "'trevault checkout' removes it" : "changed"});
      gone_.insert(path);
    }
  }

  // What the project doesn't know; whole directories where it knows nothing below.
  void lookForNew() {
    std::set<std::string> known;
    const auto know = [&](std::string path) {
      while (!path.empty() && known.insert(path).second) path = directoryPart(path);
    };
    for (const FileRecord& file : local_->files()) know(file.path);
    for (const std::string& path : gone_) know(path);
    const std::string& top = local_->directory().top;
    walk(
        top, ".", Ignoring::kByRules,
        [&](const std::string& path) {
          if (!known.contains(path)) addNew(path, "");
        },
        [&](const std::string& directory) {
          if (known.contains(directory)) return true;
          bool hasFiles = false;
          walk(top, directory, Ignoring::kByRules, [&](const std::string&) { hasFiles = true; });
          if (hasFiles) addNew(directory, "/");
          return false;
        });
  }

  void addNew(const std::string& path, const char* end) {
    const FileRecord file{path, "", ""};
    add({{"file", path}, {"here", nullptr}}, "new", {"", local_->shownPath(file) + end, "", ""});
  }

  void tell() {
    Output& output = session_->output();
    output.set("project", local_->directory().project);
    output.set("work", local_->directory().top);
    output.set("follows", local_->directory().follows);
    output.set("group", local_->directory().group);
    if (isNull_) return tellNames();
    output.line(local_->directory().line());
    output.line("");
    std::vector<std::vector<std::string>> cells;
    for (const Row& row : rows_)
      cells.push_back({padded(row.word, kWord), row.path, row.here, row.remark});
    const auto lines = table(cells);
    for (size_t i = 0; i < lines.size(); ++i) {
      const std::string& word = rows_[i].word;
      output.result(items_[i],
                    output.coloured(word, colourOf(word)) + lines[i].substr(word.size()));
    }
    if (!lines.empty()) output.line("");
    output.line(summary());
  }

  void tellNames() const {
    std::string names;
    for (const Fields& item : items_) {
      const FileRecord file{std::get<std::string>(item.front().second), "", ""};
      names += local_->pathFromHere(file) + '\0';
    }
    session_->output().bytes(names);
  }

  std::string summary() const {
    std::string text;
    for (const char* word :
         {"broken", "lost", "unknown", "missing", "behind", "changed", "locked", "new", "gone"}) {
      const auto found = counts_.find(word);
      if (found == counts_.end()) continue;
      text += fmt::format("{}{} {}", text.empty() ? "" : ", ", number(found->second), word);
    }
    const auto same = counts_.find("same");
    const size_t count = same == counts_.end() ? 0 : same->second;
    if (text.empty()) return counted(count, "file") + " as checked out";
    return count == 0 ? text : fmt::format("{}, {} as checked out", text, number(count));
  }

  bool isAll_ = false;
  bool isNull_ = false;
  std::vector<std::string> names_;
  Session* session_ = nullptr;
  LocalFiles* local_ = nullptr;
  std::vector<Row> rows_;
  std::vector<Fields> items_;
  std::map<std::string, size_t> counts_;
  std::set<std::string> gone_;
};

class List : public Command {
 public:
  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "with revisions, lockers and folder");
    options.flag(&isNull_, "-0,--null", "names alone, each ended by NUL");
    options.words(&names_, "FILE", Options::Need::kOptional, "else all of the project");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kRead);
    Output& output = session.output();
    std::string names;
    std::vector<Fields> items;
    std::vector<std::vector<std::string>> rows;
    for (const FileRecord* file : local.choose(names_)) {
      const std::string path = local.shownPath(*file);
      names += local.pathFromHere(*file) + '\0';
      items.push_back({{"file", file->path}, {"archive", file->archive}, {"folder", file->folder}});
      rows.push_back({path});
      if (isAll_) addMore(local, *file, &items.back(), &rows.back());
    }
    if (isNull_) return output.bytes(names);
    const auto lines = table(rows);
    for (size_t i = 0; i < lines.size(); ++i) output.result(items[i], lines[i]);
  }

 private:
  static void addMore(LocalFiles& local, const FileRecord& file, Fields* item,
                      std::vector<std::string>* row) {
    const RevisionInfo* const here = local.hereOf(file);
    const RevisionInfo* const followed = local.followedOf(file);
    std::vector<std::string> lockers;
    for (const RevisionInfo& each : local.historyOf(file).revisions()) {
      lockers.insert(lockers.end(), each.lockers.begin(), each.lockers.end());
    }
    const auto numberOf = [](const RevisionInfo* revision) {
      return revision == nullptr ? std::string("-") : revision->number;
    };
    item->insert(item->end(),
                 {{"here", here == nullptr ? Value() : Value(here->number)},
                  {"followed", followed == nullptr ? Value() : Value(followed->number)},
                  {"lockers", lockers}});
    row->insert(row->end(), {numberOf(here), numberOf(followed), listed(lockers), file.folder});
  }

  bool isAll_ = false;
  bool isNull_ = false;
  std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<Command> makeStatus() { return makeCommand<Status>(); }
std::unique_ptr<Command> makeList() { return makeCommand<List>(); }

}  // namespace cli
