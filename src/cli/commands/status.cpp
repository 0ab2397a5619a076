// cli/commands/status.cpp: status and list: how the files here stand to the project.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/walk.h"
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

class Status : public FileCommand {
 public:
  Status() : FileCommand("status", State::Use::kRead) {}

  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "also files as they were checked out");
    options.flag(&isNull_, "-0,--null", "names alone, each ended by NUL");
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    for (const FileRecord* file : chosen()) {
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
  }

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
    Standing standing = local().standingOf(file);
    const FileState* const state = local().stateOf(file);
    const RevisionInfo* const here = local().hereOf(file);
    if (here == nullptr && standing == Standing::kSame) standing = Standing::kUnknown;
    const RevisionInfo* const followed = local().followedOf(file);
    if (standing == Standing::kNone && followed == nullptr) return;  // What is followed lacks it.
    const std::string number = here == nullptr ? "" : here->number;
    const bool isMine = here != nullptr && here->isLockedBy(local().user());
    const bool isBehind = followed != nullptr && (here == nullptr || followed != here);
    Fields item{
        {"file", file.path},
        {"here", numberOrNull(here)},
        {"followed", numberOrNull(followed)},
        {"author", followed == nullptr ? Value() : Value(followed->author)},
        {"time", followed == nullptr ? Value() : Value(followed->isoTime())},
        {"changed", standing == Standing::kChanged},
        {"locked_by_me", isMine},
        {"lockers", here == nullptr ? Value(std::vector<std::string>()) : Value(here->lockers)}};
    Row row{"", shownPath(file), number.empty() ? "-" : number, ""};
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

  void tellBroken(const FileRecord& file, const Problem& problem) {
    output().problem(problem);
    add({{"file", file.path}, {"here", nullptr}}, "broken",
        {"", shownPath(file), "-", problem.why});
  }

  void lookForGone() {
    for (const std::string& path : local().gone()) {
      const FileRecord file{path, "", ""};
      const std::string here = local().stateOf(file)->here;
      const bool isUntouched = local().isUntouched(path);
      add({{"file", path}, {"here", here}, {"changed", !isUntouched}}, "gone",
          {"", shownPath(file), here, isUntouched ? "'trevault checkout' removes it" : "changed"});
      gone_.insert(path);
    }
  }

  // What the project doesn't know; whole directories where it knows nothing below.
  void lookForNew() {
    std::set<std::string> known;
    const auto know = [&](std::string path) {
      while (!path.empty() && known.insert(path).second) path = directoryPart(path);
    };
    for (const FileRecord& file : local().files()) know(file.path);
    for (const std::string& path : gone_) know(path);
    const std::string& top = local().directory().top;
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
    add({{"file", path}, {"here", nullptr}}, "new", {"", shownPath(file) + end, "", ""});
  }

  void tell() {
    Output& output = session().output();
    output.set("project", local().directory().project);
    output.set("work", local().directory().top);
    output.set("follows", local().directory().follows);
    output.set("group", local().directory().group);
    if (isNull_) return tellNames();
    output.line(local().directory().line());
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
      names += local().pathFromHere(file) + '\0';
    }
    output().bytes(names);
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
  std::vector<Row> rows_;
  std::vector<Fields> items_;
  std::map<std::string, size_t> counts_;
  std::set<std::string> gone_;
};

class List : public FileCommand {
 public:
  List() : FileCommand("list", State::Use::kRead) {}

  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "with revisions, lockers and folder");
    options.flag(&isNull_, "-0,--null", "names alone, each ended by NUL");
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    std::string names;
    std::vector<Fields> items;
    std::vector<std::vector<std::string>> rows;
    for (const FileRecord* file : chosen()) {
      const std::string path = local().shownPath(*file);
      names += local().pathFromHere(*file) + '\0';
      items.push_back({{"file", file->path}, {"archive", file->archive}, {"folder", file->folder}});
      rows.push_back({path});
      if (isAll_) addMore(*file, &items.back(), &rows.back());
    }
    if (isNull_) return output().bytes(names);
    output().results(items, rows);
  }

  void addMore(const FileRecord& file, Fields* item, std::vector<std::string>* row) const {
    const RevisionInfo* const here = local().hereOf(file);
    const RevisionInfo* const followed = local().followedOf(file);
    std::vector<std::string> lockers;
    for (const RevisionInfo& each : local().historyOf(file).revisions()) {
      lockers.insert(lockers.end(), each.lockers.begin(), each.lockers.end());
    }
    const auto numberOf = [](const RevisionInfo* revision) {
      return revision == nullptr ? std::string("-") : revision->number;
    };
    item->insert(
        item->end(),
        {{"here", numberOrNull(here)}, {"followed", numberOrNull(followed)}, {"lockers", lockers}});
    row->insert(row->end(), {numberOf(here), numberOf(followed), listed(lockers), file.folder});
  }

  bool isAll_ = false;
  bool isNull_ = false;
};

}  // namespace

std::unique_ptr<Command> makeStatus() { return makeCommand<Status>(); }
std::unique_ptr<Command> makeList() { return makeCommand<List>(); }

}  // namespace cli
