// cli/commands/checkout.cpp: checkout, revert and cat: contents from archives.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/command.h"
#include "cli/commands/bulk.h"
#include "cli/commands/commands.h"
#include "cli/local/fetch.h"
#include "cli/local/localfiles.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"
#include "os/terminal.h"

namespace cli {
namespace {

using Need = Options::Need;

class CheckOut : public Command {
 public:
  void declare(Options& options) override {
    options.text(&revision_, "-r,--revision", "REV", "another revision than the one followed");
    options.text(&group_, "-g,--group", "NAME", "the revision in this group");
    options.text(&copy_, "--to", "DIR", "a plain copy, in an empty or new directory");
    options.flag(&isWritable_, "-w,--writable", "make the files writable without a lock");
    options.flag(&keepsTimes_, "--times", "give the files the time of their check-in");
    options.flag(&isDry_, "-n,--dry-run", "say what would be done");
    options.words(&names_, "FILE", Need::kOptional, "else all of the project");
  }

  void run(Session& session) override {
    LocalFiles local(session, copy_.empty() ? State::Use::kChange : State::Use::kRead);
    session_ = &session;
    local_ = &local;
    if (!group_.empty()) chooseGroup();
    auto files = local.choose(names_);
    const auto former =
        names_.empty() ? local.formerFiles(local.labelIn(revision_)) : std::vector<FileRecord>();
    if (!copy_.empty()) {
      std::erase_if(files, [&](const FileRecord* file) { return isAmong(former, *file); });
      for (const FileRecord& each : former) files.push_back(&each);
      return copy(files);
    }
    const size_t passed =
        forEachFile(session, "checkout", files, [&](const FileRecord& file) { checkOut(file); });
    if (names_.empty() && revision_.empty() && passed == files.size()) removeGone();
    if (done_ + gone_ + lacking_ == 0 && passed == files.size())
      session.output().line("up to date");
    if (done_ > 1) {
      session.output().line(
          fmt::format("{} {}", counted(done_, "file"), isDry_ ? "to check out" : "checked out"));
    }
    tellLacking();
    tellFormer(former);
    local.save();
  }

 private:
  void chooseGroup() {
    if (!revision_.empty()) throw misuse("checkout", "-r and -g exclude each other");
    const PromotionModel& model = local_->promotion();
    if (!model.has(group_)) throw misuse(group_, "no such group", "'trevault groups' lists them");
    revision_ = "group:" + group_;
  }

  static bool isAmong(const std::vector<FileRecord>& files, const FileRecord& file) {
    return std::any_of(files.begin(), files.end(),
                       [&](const FileRecord& each) { return each.archive == file.archive; });
  }

  // Who asks for an old release gets the project's files of today; a copy is exact.
  void tellFormer(const std::vector<FileRecord>& former) const {
    for (const FileRecord& each : former) {
      session_->output().result(
          {{"file", each.path}, {"action", "skipped"}},
          fmt::format(
              "skipped {}, in {} but no longer in the project by that name; '--to' brings it",
              shown(each.path), revision_));
    }
  }

  void tellLacking() const {
    if (lacking_ == 0) return;
    session_->output().line(
        fmt::format("{} {} {}", counted(lacking_, "file"), lacking_ == 1 ? "has" : "have",
                    group_.empty() ? "no " + revision_ : "nothing in " + group_));
  }

  // What the revision lacks is not there either, and the work directory stays as it is.
  void copy(const std::vector<const FileRecord*>& files) {
    const std::string top = session_->absolute(copy_);
    bool isEmpty = true;
    os::forEachEntry(top.c_str(), [&](const char* name) {
      isEmpty = isEmpty && (std::string_view(name) == "." || std::string_view(name) == "..");
    });
    const bool isOther = os::hasEntry(top.c_str()) && !os::directoryState(top.c_str());
    if (!isEmpty || isOther)
      throw misuse(copy_, isOther ? "is no directory" : "not empty", "give a new directory");
    if (!isDry_ && !os::makeDirectories(top)) {
      throw Problem{copy_, "can't be made", "choose another directory"};
    }
    forEachFile(*session_, "checkout", files, [&](const FileRecord& file) { copyFile(file, top); });
    const std::string of = revision_.empty() ? "" : " of " + (group_.empty() ? revision_ : group_);
    session_->output().line(fmt::format("{} {}{} to {}", isDry_ ? "would check out" : "checked out",
                                        counted(done_, "file"), of, shown(copy_)));
    tellLacking();
  }

  void copyFile(const FileRecord& file, const std::string& top) {
    const RevisionInfo* const wanted = wantedOf(file);
    if (wanted == nullptr) return;
    const std::string path =
        absolutePath(top, relativePath(local_->directory().top, local_->pathOf(file)));
    uint32_t flags = TRVS_GET_WRITABLE;
    if (keepsTimes_) flags |= TRVS_GET_ARCHIVE_TIME;
    if (!isDry_) fetchTo(path, *local_, file, wanted->number, flags);
    ++done_;
    const char* const verb = isDry_ ? "would check out" : "checked out";
    const bool isTold = session_->output().manner().verbose;
    session_->output().result(
        {{"file", file.path}, {"action", verb}, {"revision", wanted->number}, {"path", path}},
        isTold ? fmt::format("{} {} {}", verb, shown(file.path), wanted->number) : "");
  }

  // Files that a colleague took off the project; a changed one stays, and is no longer known.
  void removeGone() {
    for (const std::string& path : local_->gone()) {
      const FileRecord file{path, "", ""};
      const bool isUntouched = local_->isUntouched(path);
      try {
        if (!isDry_ && isUntouched) {
          static_cast<void>(os::removeFile(local_->pathToWrite(file).c_str()));
        }
        if (!isDry_) local_->forget(file);
      } catch (const Problem& problem) {
        session_->output().problem(problem);
        continue;
      }
      const std::string verb = isUntouched ? isDry_ ? "would remove" : "removed" : "left";
      session_->output().result(
          {{"file", path}, {"action", verb}},
          fmt::format("{} {}, which the project has no more", verb, local_->shownPath(file)));
      ++gone_;
    }
  }

  const RevisionInfo* wantedOf(const FileRecord& file) {
    if (revision_.empty()) return local_->followedOf(file);
    try {
      return &local_->revisionOf(file, revision_);
    } catch (const Problem&) {
      if (!names_.empty()) throw;
      ++lacking_;
      return nullptr;
    }
  }

  void checkOut(const FileRecord& file) {
    const RevisionInfo* const wanted = wantedOf(file);
    if (wanted == nullptr) return;
    const std::string number = wanted->number;
    Standing standing = local_->standingOf(file);
    const RevisionInfo* const here = local_->hereOf(file);
    const bool isHere = here != nullptr && here->number == number;
    // Its revision was deleted: this may be the last copy.
    if (here == nullptr && standing == Standing::kSame) standing = Standing::kUnknown;
    if (isHere && standing == Standing::kSame) return;
    bool isKept = false;
    if (standing == Standing::kChanged || standing == Standing::kUnknown) {
      if (isHere && names_.empty()) return;  // Work in progress on what is wanted anyway.
      isKept = mayOverwrite(file, here, *wanted);
      if (!isKept) return;
    }
    if (!isDry_) {
      const bool isMine = wanted->isLockedBy(local_->user());
      uint32_t flags = isWritable_ || isMine ? uint32_t{TRVS_GET_WRITABLE} : 0;
      if (keepsTimes_) flags |= TRVS_GET_ARCHIVE_TIME;
      fetch(*local_, file, number, flags, isKept ? Old::kKept : Old::kDropped);
      local_->note(file, number, isMine);
    }
    ++done_;
    const char* const verb = isDry_ ? "would check out" : "checked out";
    session_->output().result({{"file", file.path},
                               {"action", verb},
                               {"revision", number},
                               {"before", here == nullptr ? Value() : Value(here->number)}},
                              fmt::format("{} {} {}{}", verb, local_->shownPath(file), number,
                                          isKept ? ", old content kept" : ""));
  }

  bool mayOverwrite(const FileRecord& file, const RevisionInfo* here, const RevisionInfo& wanted) {
    const std::string path = local_->shownPath(file);
    if (isDry_ || session_->output().ask(
                      fmt::format("{} is changed; overwrite it with {}", path, wanted.number))) {
      return true;
    }
    if (here != nullptr && here->number != wanted.number) {
      throw Problem{
          path, fmt::format("changed here, and {} by {} is newer", wanted.number, wanted.author),
          fmt::format("see 'trevault diff -r followed {}', then revert it", path)};
    }
    throw Problem{path,
                  here == nullptr ? "is there, and no revision is known that it came from"
                                  : "changed here, and left as it is",
                  fmt::format("'trevault revert {}' drops the changes", path)};
  }

  std::string revision_;
  std::string group_;
  std::string copy_;
  bool isWritable_ = false;
  bool keepsTimes_ = false;
  bool isDry_ = false;
  std::vector<std::string> names_;
  Session* session_ = nullptr;
  LocalFiles* local_ = nullptr;
  size_t done_ = 0;
  size_t lacking_ = 0;
  size_t gone_ = 0;
};

class Revert : public Command {
 public:
  void declare(Options& options) override {
    options.flag(&keepsLock_, "-k,--keep-lock", "keep the lock");
    options.text(&revision_, "-r,--revision", "REV", "another revision than the one here");
    options.flag(&isDry_, "-n,--dry-run", "say what would be done");
    options.words(&names_, "FILE", Need::kRequired, "files and directories");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kChange);
    session_ = &session;
    local_ = &local;
    std::vector<const FileRecord*> files = local.choose(names_);
    std::erase_if(files, [&](const FileRecord* file) { return !hasSomething(*file); });
    if (files.empty()) return session.output().line("nothing to revert");
    const auto changed =
        static_cast<size_t>(std::count_if(files.begin(), files.end(), [&](const FileRecord* file) {
          return local_->standingOf(*file) == Standing::kChanged;
        }));
    if (changed > 0 && !isDry_ &&
        !session.output().ask(fmt::format("drop the changes of {}", counted(changed, "file")))) {
      throw Problem{"revert", "nothing was done", "'--yes' says that it is sure", Exit::kFailed};
    }
    forEachFile(session, "revert", files, [&](const FileRecord& file) { revert(file); });
    local.save();
  }

 private:
  bool hasSomething(const FileRecord& file) {
    const RevisionInfo* const here = local_->hereOf(file);
    return here != nullptr && (!revision_.empty() || here->isLockedBy(local_->user()) ||
                               local_->standingOf(file) != Standing::kSame);
  }

  void revert(const FileRecord& file) {
    const RevisionInfo& wanted = local_->revisionOf(file, revision_.empty() ? "here" : revision_);
    const std::string number = wanted.number;
    const bool isChanged = local_->standingOf(file) == Standing::kChanged;
    const RevisionInfo* const locked = local_->historyOf(file).lockedBy(local_->user());
    const bool isMine = locked != nullptr && locked->number == number;
    if (!isDry_) {
      fetch(*local_, file, number, keepsLock_ && isMine ? uint32_t{TRVS_GET_WRITABLE} : 0,
            isChanged ? Old::kKept : Old::kDropped);
      if (isMine && !keepsLock_) {
        check(TrvsUnLockRevision(TRVS_CONTEXT, file.archive.c_str(), number.c_str(), nullptr),
              {.file = local_->shownPath(file), .archive = file.archive, .revision = number});
        local_->forgetHistory(file);
      }
      local_->note(file, number, keepsLock_ && isMine);
    }
    const char* const verb = isDry_ ? "would revert" : "reverted";
    session_->output().result({{"file", file.path}, {"action", verb}, {"revision", number}},
                              fmt::format("{} {} to {}{}", verb, local_->shownPath(file), number,
                                          isChanged ? ", old content kept" : ""));
  }

  bool keepsLock_ = false;
  std::string revision_;
  bool isDry_ = false;
  std::vector<std::string> names_;
  Session* session_ = nullptr;
  LocalFiles* local_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> makeCheckOut() { return makeCommand<CheckOut>(); }
std::unique_ptr<Command> makeRevert() { return makeCommand<Revert>(); }

}  // namespace cli
