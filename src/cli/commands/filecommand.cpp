// cli/commands/filecommand.cpp: one thing done to many files.
#include "cli/commands/filecommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "btkf520/btkf520.h"
#include "cli/archives/batch.h"
#include "cli/commands/message.h"
#include "cli/text/text.h"
#include "os/clock.h"

namespace cli {
namespace {

void tellFailed(Session& session, std::string_view command, size_t failed, size_t all) {
  if (failed == 0 || all < 2 || !session.output().isText()) return;
  session.output().problem({std::string(command),
                            fmt::format("{} of {} failed", number(failed), counted(all, "file")),
                            ""});
}

}  // namespace

void FileCommand::run(Session& session) {
  session_ = &session;
  const bool hasFile = !namesFile_.empty();
  if (hasFile) readNames();
  if (hasFile && names_.empty()) return output().line("no names, nothing to do");
  work();
  if (local_ && !isDry_) local_->save();
}

void FileCommand::declareDry(Options& options) { options.dryRun(&isDry_); }

void FileCommand::declareNull(Options& options, const char* help) {
  options.flag(&isNull_, "-0,--null", help);
  hasNull_ = true;
}

void FileCommand::declareNames(Options& options, Need need, const char* help, const char* word) {
  options.text(&namesFile_, "--files-from", "FILE", "further names, one a line; - for the input");
  if (!hasNull_) declareNull(options, "the names in that file are ended by NUL");
  const bool isRequired = need == Need::kRequired;
  if (help == nullptr) help = isRequired ? "files and directories" : "else all of the project";
  options.words(&names_, word, need, help, &namesFile_);
}

void FileCommand::declareFiles(Options& options, Need need, const char* help) {
  options.text(&folder_, "-f,--folder", "NAME", "files of that folder only");
  declareNames(options, need, help);
}

// A file without names means no files, and never all.
void FileCommand::readNames() {
  const std::string text = textOf(session(), namesFile_);
  for (std::string& name : split(text, isNull_ ? '\0' : '\n')) {
    if (!name.empty()) names_.push_back(std::move(name));
  }
}

LocalFiles& FileCommand::local() const {
  if (local_) return *local_;
  const auto archives = archivesNamed();
  return archives.empty() ? local_.emplace(*session_, isDry_ ? State::Use::kRead : use_, looking_)
                          : local_.emplace(*session_, archives);
}

// All names, if one of them is an archive's, and there is no project to say whose it is: what is
// wrong with the others is told in their turn. If none is, that comes before the lack of a project.
std::vector<std::string> FileCommand::archivesNamed() const {
  std::vector<std::string> paths;
  std::vector<Problem> others;
  if (!takesArchives_ || names_.empty() || session_->hasProject()) return {};
  for (const std::string& name : names_) {
    paths.push_back(session_->absolute(name));
    char owner[256];
    const int32_t status = TrvsGetOwner(TRVS_CONTEXT, paths.back().c_str(), owner, sizeof owner);
    if (status == TRVS_DONE) continue;
    others.push_back(problemOf(status, {.file = name, .archive = paths.back()}));
    others.back().todo.clear();
  }
  if (others.size() < paths.size()) return paths;
  for (const Problem& each : others) output().problem(each);
  return {};
}

Subject FileCommand::about(const FileRecord& file, const std::string& revision) const {
  return {.file = shownPath(file), .archive = file.archive, .revision = revision};
}

void FileCommand::leaveOutLacking(const std::string& revision, Files* files) const {
  if (!isWhole() || revision.empty()) return;
  const size_t count = std::erase_if(*files, [&](const FileRecord* file) {
    output().mayStop();
    try {
      return local().find(*file, revision) == nullptr;
    } catch (const Problem&) {
      return false;  // It is told when its turn comes.
    }
  });
  if (count > 0) output().aside(lacking(count, "no " + revision));
}

class FileCommand::Group {
 public:
  explicit Group(const FileCommand& command) : command_(command) {}

  void next(const FileRecord& file) {
    const bool isLate = os::steadyMilliseconds() - begun_ >= kLongest;
    if (waiting_.size() == kMost || (isLate && !waiting_.empty())) settle();
    if (waiting_.empty()) begun_ = os::steadyMilliseconds();
    waiting_.push_back({&file, {}, {}});
  }
  void later(Deed deed) { waiting_.back().deeds.push_back(std::move(deed)); }
  // Told at once, unless something of the files before it is still to be told.
  void fail(const Problem& problem) {
    const bool isFirst = std::all_of(waiting_.begin(), waiting_.end() - 1,
                                     [](const Waiting& each) { return each.isSilent(); });
    if (!isFirst) {
      waiting_.back().problem = problem;
      return;
    }
    tell(problem);
    waiting_.back().deeds.clear();
  }

  // Nothing was done to the file at hand.
  void leaveOut() { waiting_.pop_back(); }

  // But for the file at hand what was done is told.
  void settleOthers() {
    Waiting last = std::move(waiting_.back());
    waiting_.pop_back();
    if (!waiting_.empty()) settle();
    waiting_.push_back(std::move(last));
  }

  void settle() {
    isSettling_ = true;
    const auto undone = batch_.end();
    for (Waiting& each : waiting_) {
      const auto status = undone.find(each.file->archive);
      if (!each.problem && status != undone.end()) {
        each.problem = problemOf(status->second, command_.about(*each.file));
      }
      if (!each.problem) finish(&each);
      if (each.problem) tell(*each.problem);
    }
    waiting_.clear();
    batch_.begin();
    isSettling_ = false;
  }

  bool isSettling() const { return isSettling_; }
  size_t failed() const { return failed_; }

 private:
  static constexpr size_t kMost = 1000;      // The toolkit lets few more wait.
  static constexpr int64_t kLongest = 1000;  // Milliseconds.

  struct Waiting {
    const FileRecord* file;
    std::vector<Deed> deeds;
    std::optional<Problem> problem;
    bool isSilent() const { return deeds.empty() && !problem; }
  };

  void tell(const Problem& problem) {
    command_.output().problem(problem);
    ++failed_;
  }

  static void finish(Waiting* waiting) {
    try {
      for (const Deed& deed : waiting->deeds) deed();
    } catch (const Problem& problem) {
      waiting->problem = problem;
    }
  }

  const FileCommand& command_;
  Batch batch_;
  bool isSettling_ = false;
  int64_t begun_ = 0;
  std::vector<Waiting> waiting_;
  size_t failed_ = 0;
};

size_t FileCommand::forEach(const Files& files, const Step& step, const Deed& last) {
  Group group(*this);
  group_ = &group;
  count_ = files.size();
  size_t tried = 0;
  std::optional<Problem> wish;  // To stop.
  output().begin(files.size());
  for (const FileRecord* file : files) {
    group.next(*file);
    try {
      output().mayStop();
      step(*file);
    } catch (const Problem& problem) {
      if (problem.exit == Exit::kCancelled) {
        wish = problem;
        group.leaveOut();
        break;
      }
      group.fail(problem);
    }
    ++tried;
    output().step();
  }
  group.settle();
  output().end();
  group_ = nullptr;
  if (last) last();
  if (wish) output().stop(*wish);
  tellFailed(session(), name_, group.failed(), files.size());
  return tried - group.failed();
}

void FileCommand::later(Deed deed) const {
  if (group_ == nullptr || group_->isSettling()) return deed();
  group_->later(std::move(deed));
}

bool FileCommand::ask(const std::string& question) const {
  if (group_ != nullptr) group_->settleOthers();
  return output().ask(question, {.isOneOfMany = group_ != nullptr && count_ > 1});
}

void FileCommand::beSure(const std::string& question) const {
  cli::beSure(session(), name_, question, isDry_);
}

bool FileCommand::isSure(const FileRecord& file, const std::string& question,
                         const char* why) const {
  if (isDry_ || ask(question)) return true;
  if (count_ > 1 && output().isAnswered()) return false;
  throw Problem{shownPath(file), why, "'--yes' says that it is sure", output().exitOfNo()};
}

std::string saidOf(const Verb& verb, bool isDry) {
  return isDry ? fmt::format("would {}", verb.plain) : verb.done;
}

void FileCommand::tell(const FileRecord& file, const std::string& said, const std::string& number,
                       std::string_view rest, const Fields& more) const {
  Fields item{{"file", file.path}, {"action", said}, {"revision", orNull(number)}};
  item.insert(item.end(), more.begin(), more.end());
  std::string line =
      fmt::format("{} {}{}{}{}", said, shownPath(file), number.empty() ? "" : " ", number, rest);
  later([this, item = std::move(item), line = std::move(line)] { output().result(item, line); });
}

void FileCommand::tellCount(size_t count, const Verb& verb, std::string_view rest) const {
  const std::string deed = isDry_ ? fmt::format("to {}", verb.plain) : verb.done;
  output().line(fmt::format("{} {}{}", counted(count, "file"), deed, rest));
}

size_t forEachFile(Session& session, std::string_view command,
                   const std::vector<const FileRecord*>& files,
                   const std::function<void(const FileRecord& file)>& step) {
  Output& output = session.output();
  size_t failed = 0;
  output.begin(files.size());
  for (const FileRecord* file : files) {
    output.mayStop();
    try {
      step(*file);
    } catch (const Problem& problem) {
      output.problem(problem);
      ++failed;
    }
    output.step();
  }
  output.end();
  tellFailed(session, command, failed, files.size());
  return files.size() - failed;
}

void beSure(Session& session, std::string_view command, const std::string& question, bool isDry) {
  if (isDry || session.output().ask(question)) return;
  throw Problem{std::string(command), "nothing was changed", "'--yes' says that it is sure",
                session.output().exitOfNo()};
}

}  // namespace cli
