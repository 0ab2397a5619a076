// cli/commands/checkout.cpp: checkout, revert and cat: contents from archives.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/fetch.h"
#include "cli/local/walk.h"
#include "cli/text/paths.h"
#include "cli/text/shellword.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"
#include "os/terminal.h"

namespace cli {
namespace {

class CheckOut : public FileCommand {
 public:
  CheckOut() : FileCommand("checkout", State::Use::kChange) {}

  void declare(Options& options) override {
    options.text(&revision_, "-r,--revision", "REV", "another revision than the one followed");
    options.text(&group_, "-g,--group", "NAME", "the revision in this group");
    options.text(&copy_, "--to", "DIR", "a plain copy, in an empty or new directory");
    options.flag(&isWritable_, "-w,--writable", "make the files writable without a lock");
    options.flag(&keepsTimes_, "--times", "give the files the time of their check-in");
    declareDry(options);
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    if (!copy_.empty()) use_ = State::Use::kRead;
    if (!group_.empty()) chooseGroup();
    auto files = chosen();
    local().refuseUnknown(revision_, files);
    const auto former =
        isWhole() ? local().formerFiles(local().labelIn(revision_)) : std::vector<FileRecord>();
    if (!copy_.empty()) {
      std::erase_if(files, [&](const FileRecord* file) { return isAmong(former, *file); });
      for (const FileRecord& each : former) files.push_back(&each);
      return copy(files);
    }
    const size_t passed = forEach(files, [&](const FileRecord& file) { checkOut(file); });
    if (isWhole() && revision_.empty() && passed == files.size()) removeGone();
    if (done_ + gone_ + lacking_ + kept_ == 0 && passed == files.size()) tellNothing("up to date");
    if (done_ > 1) tellCount(done_, kCheckOut);
    tellLacking();
    tellFormer(former);
  }

  void chooseGroup() {
    if (!revision_.empty()) throw misuse("checkout", "-r and -g exclude each other");
    revision_ = "group:" + group_;
  }

  static bool isAmong(const std::vector<FileRecord>& files, const FileRecord& file) {
    return std::any_of(files.begin(), files.end(),
                       [&](const FileRecord& each) { return each.archive == file.archive; });
  }

  // Who asks for an old release gets the project's files of today; a copy is exact.
  void tellFormer(const std::vector<FileRecord>& former) const {
    for (const FileRecord& each : former) {
      output().result(
          {{"file", each.path}, {"action", "skipped"}},
          fmt::format(
              "skipped {}, in {} but no longer in the project by that name; '--to' brings it",
              shown(each.path), revision_));
    }
  }

  void tellLacking() const {
    if (lacking_ == 0) return;
    output().line(lacking(lacking_, group_.empty() ? "no " + revision_ : "nothing in " + group_));
  }

  // What the revision lacks is not there either, and the work directory stays as it is.
  void copy(const Files& files) {
    const std::string top = session().absolute(copy_);
    const bool isOther = os::hasEntry(top.c_str()) && !os::directoryState(top.c_str());
    if (isOther || !isEmptyDirectory(top)) {
      throw misuse(copy_, isOther ? "is no directory" : "not empty", "give a new directory");
    }
    if (!isDry_ && !os::makeDirectories(top)) {
      throw Problem{copy_, "can't be made", "choose another directory"};
    }
    forEach(files, [&](const FileRecord& file) { copyFile(file, top); });
    const std::string of = revision_.empty() ? "" : " of " + (group_.empty() ? revision_ : group_);
    output().line(
        fmt::format("{} {}{} to {}", said(kCheckOut), counted(done_, "file"), of, shown(copy_)));
    tellLacking();
  }

  void copyFile(const FileRecord& file, const std::string& top) {
    const RevisionInfo* const wanted = wantedOf(file);
    if (wanted == nullptr) return;
    const std::string path =
        absolutePath(top, relativePath(local().directory().top, local().pathOf(file)));
    uint32_t flags = TRVS_GET_WRITABLE;
    if (keepsTimes_) flags |= TRVS_GET_ARCHIVE_TIME;
    if (!isDry_) fetchTo(path, local(), file, wanted->number, flags);
    ++done_;
    const std::string verb = said(kCheckOut);
    const bool isTold = output().manner().verbose;
    output().result(
        {{"file", file.path}, {"action", verb}, {"revision", wanted->number}, {"path", path}},
        isTold ? fmt::format("{} {} {}", verb, shown(file.path), wanted->number) : "");
  }

  // Files that a colleague took off the project; a changed one stays, and is no longer known.
  void removeGone() {
    const auto gone = local().gone();
    if (!local().areGone(gone)) return;
    for (const auto& [file, here, isUntouched] : gone) {
      try {
        if (!isDry_ && isUntouched) remove(file);
        if (!isDry_) local().forget(file);
      } catch (const Problem& problem) {
        output().problem(problem);
        continue;
      }
      const std::string verb = isUntouched ? said({"remove", "removed"}) : "left";
      output().result({{"file", file.path}, {"action", verb}},
                      fmt::format("{} {}, which the project has no more", verb, shownPath(file)));
      ++gone_;
    }
  }

  void remove(const FileRecord& file) {
    const os::FileResult result = os::removeFile(local().pathToWrite(file).c_str());
    if (result == os::FileResult::kDone || result == os::FileResult::kMissing) return;
    throw Problem{shownPath(file), "can't be removed", "see who owns its directory"};
  }

  const RevisionInfo* wantedOf(const FileRecord& file) {
    if (revision_.empty()) return local().followedOf(file);
    if (!names_.empty()) return &local().revisionOf(file, revision_);
    const RevisionInfo* const wanted = local().find(file, revision_);
    if (wanted == nullptr) ++lacking_;
    return wanted;
  }

  void checkOut(const FileRecord& file) {
    const RevisionInfo* const wanted = wantedOf(file);
    if (wanted == nullptr) return;
    const std::string number = wanted->number;
    Standing standing = local().standingOf(file);
    const RevisionInfo* const here = local().hereOf(file);
    const bool isHere = here != nullptr && here->number == number;
    if (!isDry_) local().settleLost(file);
    if (isHere && standing == Standing::kSame) {
      if (isWritable_) makeWritable(file, number);
      return;
    }
    const bool isThere = isThereAlready(file, standing, *wanted);
    // Its revision was deleted: this may be the last copy.
    if (here == nullptr && standing == Standing::kSame) standing = Standing::kUnknown;
    bool isKept = false;
    if (!isThere && (standing == Standing::kChanged || standing == Standing::kUnknown)) {
      if (isHere && names_.empty()) return;  // Work in progress on what is wanted anyway.
      isKept = mayOverwrite(file, here, *wanted);
      if (!isKept) return;
    }
    if (!isDry_) {
      const bool isMine = wanted->isLockedBy(local().user());
      uint32_t flags = isWritable_ || isMine ? uint32_t{TRVS_GET_WRITABLE} : 0;
      if (keepsTimes_) flags |= TRVS_GET_ARCHIVE_TIME;
      fetch(local(), file, number, flags, isKept ? Old::kKept : Old::kDropped);
      local().note(file, number, isMine);
    }
    ++done_;
    tell(file, said(kCheckOut), number, isKept ? ", old content kept" : "",
         {{"before", numberOrNull(here)}});
  }

  // By a check-out that was killed before it could remember it, or by other means.
  bool isThereAlready(const FileRecord& file, Standing standing, const RevisionInfo& wanted) {
    if (standing != Standing::kChanged && standing != Standing::kSame) return false;
    const RevisionInfo* const here = local().hereOf(file);
    const bool mayBe = here == nullptr
                           ? standing == Standing::kSame
                           : here->number != wanted.number && standing == Standing::kChanged &&
                                 !here->isLockedBy(local().user());
    return mayBe && local().isThere(file, wanted.number);
  }

  // What is there already, without a new time.
  void makeWritable(const FileRecord& file, const std::string& number) {
    const std::string path = local().pathToWrite(file);
    os::FileStatus status;
    static_cast<void>(os::readEntryStatus(path.c_str(), &status));
    if (status.ownerMayWrite) return;
    if (!isDry_ && os::setWritable(path.c_str(), true) != os::FileResult::kDone) {
      throw Problem{shownPath(file), "can't be made writable", "see who owns it"};
    }
    ++done_;
    tell(file, said({"make", "made"}), "", " writable", {{"revision", number}});
  }

  bool mayOverwrite(const FileRecord& file, const RevisionInfo* here, const RevisionInfo& wanted) {
    const std::string path = shownPath(file);
    if (isDry_ || ask(fmt::format("{} is changed; overwrite it with {}", path, wanted.number))) {
      return true;
    }
    if (output().isAnswered()) {
      tell(file, "kept", here == nullptr ? "" : here->number, ", changed");
      ++kept_;
      return false;
    }
    const std::string word = shellWord(local().pathFromHere(file));
    if (here != nullptr && here->number != wanted.number) {
      throw Problem{path,
                    fmt::format("changed here, and {} by {} is {}", wanted.number, wanted.author,
                                revision_.empty() ? "newer" : "another revision"),
                    fmt::format("see 'trevault diff -r followed {}', then revert it", word)};
    }
    throw Problem{path,
                  here == nullptr ? "is there, and no revision is known that it came from"
                                  : "changed here, and left as it is",
                  fmt::format("'trevault revert {}' drops the changes", word)};
  }

  static constexpr Verb kCheckOut{"check out", "checked out"};

  std::string revision_;
  std::string group_;
  std::string copy_;
  bool isWritable_ = false;
  bool keepsTimes_ = false;
  size_t done_ = 0;
  size_t lacking_ = 0;
  size_t kept_ = 0;
  size_t gone_ = 0;
};

class Revert : public FileCommand {
 public:
  Revert() : FileCommand("revert", State::Use::kChange) {}

  void declare(Options& options) override {
    options.flag(&keepsLock_, "-k,--keep-lock", "keep the lock");
    options.text(&revision_, "-r,--revision", "REV", "another revision than the one here");
    declareDry(options);
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    Files files = chosen();
    std::erase_if(files, [&](const FileRecord* file) { return !hasSomething(*file); });
    if (files.empty()) return tellNothing("nothing to revert");
    std::vector<std::string> changed;
    for (const FileRecord* file : files) {
      output().mayStop();
      if (differs(*file)) changed.push_back(shownPath(*file));
    }
    if (!changed.empty() && !isDry_ &&
        !output().ask(fmt::format("drop the changes of {}", counted(changed.size(), "file")),
                      {.things = changed})) {
      throw Problem{"revert", "nothing was done", "'--yes' says that it is sure",
                    output().exitOfNo()};
    }
    forEach(files, [&](const FileRecord& file) { revert(file); });
  }

  bool hasSomething(const FileRecord& file) {
    if (!isDry_) local().settleLost(file);
    const RevisionInfo* const here = local().hereOf(file);
    if (here == nullptr) return differs(file);
    return !revision_.empty() || here->isLockedBy(local().user()) ||
           local().standingOf(file) != Standing::kSame;
  }

  // Of a revision that was deleted this may be the last copy.
  bool differs(const FileRecord& file) const {
    const Standing standing = local().standingOf(file);
    if (standing == Standing::kSame) return local().hereOf(file) == nullptr;
    return standing == Standing::kChanged || standing == Standing::kUnknown;
  }

  void revert(const FileRecord& file) {
    const RevisionInfo* const here = local().hereOf(file);
    const Value before = numberOrNull(here);
    const char* const target = here == nullptr ? "followed" : "here";
    const RevisionInfo& wanted = local().revisionOf(file, revision_.empty() ? target : revision_);
    const std::string number = wanted.number;
    const bool isChanged = differs(file);
    const RevisionInfo* const locked = local().historyOf(file).lockedBy(local().user());
    const bool isMine = locked != nullptr && locked->number == number;
    if (!isDry_) {
      fetch(local(), file, number, keepsLock_ && isMine ? uint32_t{TRVS_GET_WRITABLE} : 0,
            isChanged ? Old::kKept : Old::kDropped);
      if (isMine && !keepsLock_) {
        check(TrvsUnLockRevision(TRVS_CONTEXT, file.archive.c_str(), number.c_str(), nullptr),
              about(file, number));
        local().forgetHistory(file);
      }
      local().note(file, number, isMine);
      if (!keepsLock_) later([this, &file] { local().noteLock(file, false); });
    }
    const std::string verb = said({"revert", "reverted"});
    later([=, this, &file] {
      output().result(
          {{"file", file.path}, {"action", verb}, {"revision", number}, {"before", before}},
          fmt::format("{} {} to {}{}", verb, shownPath(file), number,
                      isChanged ? ", old content kept" : ""));
    });
  }

  bool keepsLock_ = false;
  std::string revision_;
};

}  // namespace

std::unique_ptr<Command> makeCheckOut() { return makeCommand<CheckOut>(); }
std::unique_ptr<Command> makeRevert() { return makeCommand<Revert>(); }

}  // namespace cli
