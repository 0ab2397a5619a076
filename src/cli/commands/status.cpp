// cli/commands/status.cpp: status and list: how the files here stand to the project.
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/moment.h"
#include "cli/local/unknown.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"

namespace cli {
namespace {

constexpr size_t kWord = 7;  // The columns of the longest words.

Colour colourOf(const std::string& word) {
  if (word == "broken" || word == "lost" || word == "unknown") return Colour::kRed;
  if (word == "changed" || word == "missing" || word == "gone") return Colour::kYellow;
  if (word == "behind") return Colour::kCyan;
  return word == "locked" ? Colour::kGreen : Colour::kPlain;
}

class Status : public FileCommand {
 public:
  Status() : FileCommand("status", State::Use::kRead) {}

  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "also files as they were checked out");
    options.flag(&isFast_, "--fast", "without a look at archives and for new files");
    declareNull(options);
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    if (isFast_) looking_ = LocalFiles::Looking::kFilesOnly;
    if (names_.empty()) local().lookAtAll(looking_);
    for (const FileRecord* file : chosen()) {
      output().mayStop();
      try {
        look(*file);
      } catch (const Problem& problem) {
        tellBroken(*file, problem);
      }
    }
    if (isWhole()) {
      lookForGone();
      if (!isFast_) lookForNew();
    }
    tell();
  }

  struct Row {
    std::string word, path, here, remark;
  };

  // Of one file.
  struct Said {
    std::string word, remark;
  };

  void add(Fields item, const std::string& word, Row row) {
    ++counts_[word];
    item.insert(item.begin() + 1, {"state", word});
    row.word = word;
    rows_.push_back(std::move(row));
    items_.push_back(std::move(item));
  }

  void look(const FileRecord& file) {
    Standing standing = local().standingOf(file);
    const Told& told = toldOf(file);
    if (standing == Standing::kSame && !told.hasHere) standing = Standing::kUnknown;
    if (standing == Standing::kNone && told.followed.empty()) return;  // What is followed lacks it.
    const FileState* const state = local().stateOf(file);
    const std::string here = told.hasHere ? state->here : "";
    const LockInfo* const lock = lockOf(told, here.empty() ? told.followed : here);
    const bool isMine = lock != nullptr && lock->user == local().user();
    const bool isBehind = !told.followed.empty() && told.followed != here;
    const bool isLost = state != nullptr && state->isLockedFromHere && !isMine;
    const auto [word, remark] = [&]() -> Said {
      if (isLost) return {"lost", lostText(standing, lock)};
      if (standing == Standing::kUnknown) return {"unknown", unknownText(file, told)};
      if (standing == Standing::kMissing) return {"missing", lockText(lock)};
      if (standing == Standing::kChanged) return {"changed", changedText(told, lock, isBehind)};
      if (isBehind) return {"behind", behindText(told, lock)};
      return isMine ? Said{"locked", lock->note} : Said{"same", lockText(lock)};
    }();
    if (word == "same" && !isAll_) {
      ++counts_[word];
      return;
    }
    add({{"file", file.path},
         {"here", orNull(here)},
         {"followed", orNull(told.followed)},
         {"author", orNull(told.author)},
         {"time", orNull(isoTime(told.time))},
         {"changed", standing == Standing::kChanged},
         {"locked_by_me", isMine},
         {"lockers", lockersOf(told, here)},
         {"lock", lock == nullptr ? Value() : fieldsOf(*lock)}},
        word, {"", shownPath(file), here.empty() ? "-" : here, remark});
  }

  static std::string lostText(Standing standing, const LockInfo* lock) {
    return fmt::format(
        "{}, and your lock was taken back; {}",
        standing == Standing::kChanged ? "changed" : "unchanged",
        lock == nullptr ? "nobody has it now" : noted(lock->user + " has it now", *lock));
  }

  std::string unknownText(const FileRecord& file, const Told& told) const {
    const LockInfo* const mine = ownLock(told);
    const bool isOther = os::directoryState(local().pathOf(file).c_str()).has_value();
    return (mine == nullptr ? "" : fmt::format("you have locked {}, and ", mine->number)) +
           (isOther ? "a directory is there" : "no revision is known that it came from");
  }

  std::string changedText(const Told& told, const LockInfo* lock, bool isBehind) const {
    const std::string text = lock == nullptr ? "not locked" : lockText(lock);
    if (!isBehind) return text;
    return fmt::format("{}, newer: {} by {}", text, told.followed, told.author);
  }

  std::string behindText(const Told& told, const LockInfo* lock) const {
    const std::string text =
        fmt::format("{} by {}, {}", told.followed, told.author, told.time.substr(0, 16));
    return lock == nullptr ? text : text + ", " + lockText(lock);
  }

  // The user's own, else another's.
  const LockInfo* lockOf(const Told& told, const std::string& number) const {
    const LockInfo* found = nullptr;
    for (const LockInfo& each : told.locks) {
      const bool isBetter = found == nullptr || each.user == local().user();
      if (each.number == number && isBetter) found = &each;
    }
    return found;
  }

  const LockInfo* ownLock(const Told& told) const {
    const auto found = std::ranges::find(told.locks, local().user(), &LockInfo::user);
    return found == told.locks.end() ? nullptr : &*found;
  }

  std::string lockText(const LockInfo* lock) const {
    if (lock == nullptr) return "";
    if (lock->user == local().user()) return noted("locked by you", *lock);
    std::string text = "locked by " + lock->user;
    if (!lock->note.empty()) text += " since " + lock->minute();
    return noted(text, *lock);
  }

  static Fields fieldsOf(const LockInfo& lock) {
    return {{"user", lock.user}, {"since", orNull(isoTime(lock.time))}, {"note", lock.note}};
  }

  static std::vector<std::string> lockersOf(const Told& told, const std::string& number) {
    std::vector<std::string> users;
    for (const LockInfo& each : told.locks) {
      if (each.number == number) users.push_back(each.user);
    }
    return users;
  }

  // Where nothing is known, and nothing may be read, archives are taken to be as they were left.
  const Told& toldOf(const FileRecord& file) {
    const auto reading = isFast_ ? LocalFiles::Reading::kNever : LocalFiles::Reading::kIfChanged;
    const Told* const told = local().toldOf(file, reading);
    if (told != nullptr) return *told;
    assumed_ = Told();
    if (const FileState* const state = local().stateOf(file)) {
      assumed_.hasHere = !state->here.empty();
      if (state->isLockedFromHere) {
        assumed_.locks.push_back({state->here, local().user(), "", ""});
      }
    }
    return assumed_;
  }

  void tellBroken(const FileRecord& file, const Problem& problem) {
    output().problem(problem);
    add({{"file", file.path}, {"here", nullptr}}, "broken",
        {"", shownPath(file), "-", reasonOf(problem)});
  }

  void lookForGone() {
    const auto gone = local().gone();
    const char* const untouched = local().areGone(gone) ? "'trevault checkout' removes it" : "";
    for (const auto& [file, here, isUntouched] : gone) {
      add({{"file", file.path}, {"here", here}, {"changed", !isUntouched}}, "gone",
          {"", shownPath(file), here, isUntouched ? untouched : "changed"});
      gone_.push_back(file.path);
    }
  }

  void lookForNew() {
    forEachUnknown(local(), gone_, [this](const std::string& path) {
      const bool isDirectory = path.ends_with('/');
      const FileRecord file{path.substr(0, path.size() - (isDirectory ? 1 : 0)), "", ""};
      add({{"file", file.path}, {"here", nullptr}}, "new",
          {"", shownPath(file) + (isDirectory ? "/" : ""), "", ""});
    });
  }

  void tell() {
    Output& output = session().output();
    output.set("work", local().directory().top);
    output.set("follows", local().directory().follows);
    output.set("group", local().directory().group);
    const std::string known =
        isFast_ ? momentOf(local().remembered() / 1'000'000'000) : std::string();
    if (isFast_) output.set("known", isoTime(known));
    if (isNull_) return tellNames();
    output.line(local().directory().line());
    if (isFast_) output.line("archives as they were at " + known.substr(0, 16));
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
  bool isFast_ = false;
  Told assumed_;
  std::vector<Row> rows_;
  std::vector<Fields> items_;
  std::map<std::string, size_t> counts_;
  std::vector<std::string> gone_;  // In their order.
};

class List : public FileCommand {
 public:
  List() : FileCommand("list", State::Use::kRead) {}

  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "with revisions, lockers and folder");
    declareNull(options);
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
      if (isAll_ || !output().isText()) addMore(*file, &items.back(), &rows.back());
    }
    if (isNull_) return output().bytes(names);
    output().results(items, rows);
  }

  void addMore(const FileRecord& file, Fields* item, std::vector<std::string>* row) const {
    const Told& told = *local().toldOf(file, LocalFiles::Reading::kIfChanged);
    const std::string here = told.hasHere ? local().stateOf(file)->here : "";
    std::vector<std::string> lockers;
    for (const LockInfo& each : told.locks) lockers.push_back(each.user);
    const auto orDash = [](const std::string& number) { return number.empty() ? "-" : number; };
    item->insert(item->end(), {{"here", orNull(here)},
                               {"followed", orNull(told.followed)},
                               {"lockers", lockers},
                               {"missing", !os::hasEntry(local().pathOf(file).c_str())}});
    row->insert(row->end(), {orDash(here), orDash(told.followed), listed(lockers), file.folder});
  }

  bool isAll_ = false;
};

}  // namespace

std::unique_ptr<Command> makeStatus() { return makeCommand<Status>(); }
std::unique_ptr<Command> makeList() { return makeCommand<List>(); }

}  // namespace cli
