// cli/commands/locks.cpp: lock, unlock and locks.
#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/fetch.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/file.h"

namespace cli {
namespace {

constexpr const char* kWhoOwnsIt = "see who owns it";

bool setWritable(const std::string& path, bool isWritable) {
  return os::setWritable(path.c_str(), isWritable) == os::FileResult::kDone;
}

class Lock : public FileCommand {
 public:
  Lock() : FileCommand("lock", State::Use::kChange) {}

  void declare(Options& options) override {
    options.text(&note_, "-m,--message", "TEXT", "why, for colleagues");
    options.text(&revision_, "-r,--revision", "REV", "another revision than the one followed");
    options.text(&group_, "-g,--group", "NAME", "the development group that it is for");
    declareDry(options);
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    if (group_.empty()) group_ = local().directory().group;
    forEach(chosen(), [&](const FileRecord& file) { lock(file); });
  }

  void lock(const FileRecord& file) {
    const History& history = local().historyOf(file);
    const RevisionInfo& wanted =
        local().revisionOf(file, revision_.empty() ? "followed" : revision_);
    const std::string number = wanted.number;
    const RevisionInfo* const here = local().hereOf(file);
    const Fields before{{"before", numberOrNull(here)}};
    const Standing standing = local().standingOf(file);
    const bool isHere = here != nullptr && here->number == number;
    const bool isChanged = standing == Standing::kChanged || standing == Standing::kUnknown;
    refuseOther(file, history, wanted);
    if (wanted.isLockedBy(local().user())) {
      if (isChanged && !isHere && !local().isThere(file, number)) {
        refuseChanged(file, here, wanted);
      }
      if (!isDry_) resume(file, number, isHere && standing != Standing::kMissing);
      return tell(file, said(kLock), number, ", it was yours already", before);
    }
    if (isChanged && !isHere) refuseChanged(file, here, wanted);
    std::string rest;
    if (history.tipOf(wanted.branch) != &wanted) {
      rest = fmt::format(", checking it in will start branch {}", history.nextBranch(number));
    }
    if (isChanged) rest += ", your changes kept";
    if (!isHere) rest += ", checked out";
    if (!isDry_) take(file, number, isHere && standing == Standing::kSame, isChanged);
    tell(file, said(kLock), number, rest, before);
  }

  // The lock was taken before, in another directory or by a command that was killed.
  void resume(const FileRecord& file, const std::string& number, bool isHere) {
    if (!isHere) {
      fetch(local(), file, number, TRVS_GET_WRITABLE, Old::kDropped);
      return local().note(file, number, true);
    }
    if (!setWritable(local().pathToWrite(file), true)) {
      throw Problem{shownPath(file), "locked, but it can't be made writable", kWhoOwnsIt};
    }
    local().noteLock(file, true);
  }

  void refuseOther(const FileRecord& file, const History& history,
                   const RevisionInfo& wanted) const {
    const LockInfo* const other = history.lockOfOther(wanted.number, local().user());
    if (other == nullptr) return;
    throw Problem{
        shownPath(file),
        noted(fmt::format("{} has locked {} since {}", other->user, other->number, other->minute()),
              *other),
        fmt::format("ask {}, or look at 'trevault locks'", other->user), Exit::kFailed,
        TRVS_LOCKED};
  }

  void refuseChanged(const FileRecord& file, const RevisionInfo* here,
                     const RevisionInfo& wanted) const {
    if (here == nullptr) {
      throw Problem{shownPath(file), "is there, and no revision is known that it came from",
                    "move it away, and lock again"};
    }
    throw Problem{shownPath(file),
                  fmt::format("changed since {}, and {} by {} is newer", here->number,
                              wanted.number, wanted.author),
                  "'trevault revert' keeps your copy aside, then lock and bring your changes over"};
  }

  void take(const FileRecord& file, const std::string& number, bool isSame, bool isChanged) {
    const std::string path = local().pathToWrite(file);
    const Subject subject = local().subjectOf(file, number, group_);
    if (isSame || isChanged) {
      check(TrvsLockWithNote(TRVS_CONTEXT, file.archive.c_str(), number.c_str(), group_.c_str(),
                             note_.c_str()),
            subject);
      later([this, &file, number, path] {
        if (!setWritable(path, true)) giveBack(file, number);
      });
    } else {
      check(TrvsGetWithNote(TRVS_CONTEXT, target(file.archive, path).c_str(), number.c_str(),
                            group_.c_str(), note_.c_str(), TRVS_GET_OVERWRITE),
            subject);
    }
    local().forgetHistory(file);
    later([this, &file, number, isChanged] {
      isChanged ? local().noteLock(file, true) : local().note(file, number, true);
    });
  }

  // A lock that the user can't work with would keep others from the file for nothing.
  [[noreturn]] void giveBack(const FileRecord& file, const std::string& number) const {
    check(TrvsUnLockRevision(TRVS_CONTEXT, file.archive.c_str(), number.c_str(), nullptr),
          about(file, number));
    throw Problem{shownPath(file), "can't be made writable, and was not locked", kWhoOwnsIt};
  }

  static constexpr Verb kLock{"lock", "locked"};

  std::string note_;
  std::string revision_;
  std::string group_;
};

class Unlock : public FileCommand {
 public:
  Unlock() : FileCommand("unlock", State::Use::kChange) {}

  void declare(Options& options) override {
    options.flag(&keeps_, "--keep", "leave a changed file as it is, writable");
    options.flag(&isForced_, "--force", "take back the lock of another user");
    options.text(&user_, "-u,--user", "NAME", "whose lock, where several have one");
    declareDry(options);
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    Files files = chosen();
    std::set<std::string> named;
    for (const std::string& name : names_) named.insert(session().absolute(name));
    std::erase_if(files, [&](const FileRecord* file) {
      return !named.contains(absolutePath(local().directory().top, file->path)) && !isMeant(*file);
    });
    if (files.empty()) return tellNothing("nothing to unlock");
    forEach(files, [&](const FileRecord& file) { unlock(file); });
  }

  // Of the files of a directory those with a lock that it is about, or that was lost.
  bool isMeant(const FileRecord& file) const {
    output().mayStop();
    const FileState* const state = local().stateOf(file);
    if (state != nullptr && state->isLockedFromHere) return true;
    try {
      const Told& told = *local().toldOf(file, LocalFiles::Reading::kIfChanged);
      return std::ranges::any_of(told.locks, [&](const LockInfo& each) {
        const std::string& user = each.user;
        return user_.empty() ? isForced_ || user == local().user() : user == user_;
      });
    } catch (const Problem&) {
      return true;  // It is told when its turn comes.
    }
  }

  void unlock(const FileRecord& file) {
    const History& history = local().historyOf(file);
    const RevisionInfo* const mine = history.lockedBy(local().user());
    const bool isForAnother = !user_.empty() && user_ != local().user();
    if (mine == nullptr || isForAnother) {
      const bool isLost = !isForAnother && !isForced_ && !isDry_ && local().settleLost(file);
      if (!isLost) return takeBack(file, history);
      return tellUnlocked(file, local().hereOf(file)->number, ", the lock was gone before");
    }
    const std::string number = mine->number;
    const bool isChanged = local().standingOf(file) == Standing::kChanged;
    if (isChanged && !keeps_) {
      const RevisionInfo* const here = local().hereOf(file);
      throw Problem{shownPath(file), fmt::format("changed since {}", here->number),
                    "'revert' drops the changes, '--keep' leaves them"};
    }
    if (!isDry_) {
      remove(file, number, local().user());
      later([this, &file] {
        const bool isSame = local().standingOf(file) == Standing::kSame;
        local().noteLock(file, false);
        if (isSame && !setWritable(local().pathToWrite(file), false)) {
          throw Problem{shownPath(file), "unlocked, but it can't be made read-only", kWhoOwnsIt};
        }
      });
    }
    tellUnlocked(file, number, isChanged ? ", your changes kept" : "");
  }

  void takeBack(const FileRecord& file, const History& history) {
    const LockInfo* lock = nullptr;
    for (const LockInfo& each : history.locks()) {
      if (each.user != local().user() && (user_.empty() || each.user == user_)) lock = &each;
    }
    if (lock == nullptr) {
      throw Problem{shownPath(file),
                    user_.empty() ? "you have not locked it" : user_ + " has not locked it",
                    "'trevault locks' lists all locks", Exit::kFailed, TRVS_NO_LOCK};
    }
    if (!isForced_) {
      throw Problem{shownPath(file), fmt::format("{}'s lock, not yours", lock->user),
                    "'--force' takes it back"};
    }
    const LockInfo was = *lock;
    const std::string question =
        noted(fmt::format("take back {}'s lock of {} {}, held since {}", was.user, shownPath(file),
                          was.number, was.minute()),
              was);
    if (!isSure(file, question, "left locked")) return;
    if (!isDry_) remove(file, was.number, was.user);
    tellUnlocked(file, was.number, noted(", held by " + was.user, was));
    later([this, user = was.user] {
      output().hint(
          fmt::format("{0}'s copy is still writable; {0}'s next 'trevault status' tells it", user));
    });
  }

  void remove(const FileRecord& file, const std::string& number, const std::string& user) {
    check(TrvsUnLockRevision(TRVS_CONTEXT, file.archive.c_str(), number.c_str(), user.c_str()),
          about(file, number));
    local().forgetHistory(file);
  }

  // What is here stays as it is.
  void tellUnlocked(const FileRecord& file, const std::string& number,
                    const std::string& rest) const {
    tell(file, said(kUnlock), number, rest, {{"before", numberOrNull(local().hereOf(file))}});
  }

  static constexpr Verb kUnlock{"unlock", "unlocked"};

  bool keeps_ = false;
  bool isForced_ = false;
  std::string user_;
};

class Locks : public FileCommand {
 public:
  Locks() : FileCommand("locks", State::Use::kRead) {}

  void declare(Options& options) override {
    options.text(&user_, "-u,--user", "NAME", "of that user only");
    options.flag(&isEverywhere_, "--everywhere", "of all projects");
    declareNull(options);
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    if (isEverywhere_) {
      if (!isWhole() || isNull_) throw misuse("--everywhere", "takes no files, nor -0");
      for (const std::string& name : session().database().projects()) lookInto(name);
    } else {
      forEach(chosen(), [&](const FileRecord& file) {
        const size_t before = items_.size();
        const Told* const told = local().toldOf(file, LocalFiles::Reading::kIfChanged);
        take(file, told->locks, local().user(), {shownPath(file)});
        if (items_.size() > before) paths_ += local().pathFromHere(file) + '\0';
      });
    }
    if (isNull_) return output().bytes(paths_);
    output().results(items_, rows_);
    if (rows_.empty() && user_.empty()) tellNothing("no locks");
    if (rows_.empty() && !user_.empty()) {
      output().problem({user_, "nobody of this name has a lock", "", Exit::kDone});
    }
  }

  // What can't be read of one project is told, and the others are looked into.
  void lookInto(const std::string& name) {
    try {
      const Project project = session().database().open(name);
      project.useConfiguration();
      const std::string user = presentUser();
      const auto files = project.files();
      Files all;
      for (const FileRecord& file : files) all.push_back(&file);
      forEach(all, [&](const FileRecord& file) {
        const size_t before = items_.size();
        take(file, locksOf(file.archive, file.path), user, {shown(name), shown(file.path)});
        for (size_t i = before; i < items_.size(); ++i) items_[i].emplace_back("project", name);
      });
    } catch (const Problem& problem) {
      output().problem(problem);
    }
  }

  void take(const FileRecord& file, const std::vector<LockInfo>& locks, const std::string& user,
            const std::vector<std::string>& start) {
    for (const LockInfo& each : locks) {
      if (!user_.empty() && each.user != user_) continue;
      items_.push_back({{"file", file.path},
                        {"revision", each.number},
                        {"user", each.user},
                        {"since", isoTime(each.time)},
                        {"note", each.note},
                        {"mine", each.user == user}});
      rows_.push_back(start);
      rows_.back().insert(rows_.back().end(), {each.number, each.user, each.minute(), each.note});
    }
  }

  std::string user_;
  bool isEverywhere_ = false;
  std::vector<Fields> items_;
  std::vector<std::vector<std::string>> rows_;
  std::string paths_;  // Each ended by NUL.
};

}  // namespace

std::unique_ptr<Command> makeLock() { return makeCommand<Lock>(); }
std::unique_ptr<Command> makeUnlock() { return makeCommand<Unlock>(); }
std::unique_ptr<Command> makeLocks() { return makeCommand<Locks>(); }

}  // namespace cli
