// cli/commands/checkin.cpp: checkin: new revisions from changed files.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/differences.h"
#include "cli/commands/filecommand.h"
#include "cli/commands/message.h"
#include "cli/text/shellword.h"
#include "cli/text/text.h"

namespace cli {
namespace {

class CheckIn : public FileCommand {
 public:
  CheckIn() : FileCommand("checkin", State::Use::kChange) {}

  void declare(Options& options) override {
    options.text(&message_, "-m,--message", "TEXT", "what was changed, and why");
    options.text(&messageFile_, "-F,--file", "FILE", "the message from a file, - for the input");
    options.text(&label_, "-l,--label", "NAME", "a label for the new revisions");
    options.flag(&movesLabel_, "--move", "the label may stand at others until now");
    options.text(&group_, "-g,--group", "NAME", "their development group");
    options.flag(&keepsLock_, "-k,--keep-lock", "keep the file writable and locked");
    options.flag(&locks_, "--lock", "take the lock in the same step where nobody has it");
    options.flag(&branches_, "-b,--branch", "start a branch even from a tip");
    options.flag(&unchanged_, "--unchanged", "also what has not changed");
    options.flag(&older_, "--older", "also what is older than its parent was");
    declareDry(options);
    declareFiles(options, Need::kOptional, "else what is changed and locked by you");
  }

 private:
  void work() override {
    message_ = messageFrom(session(), message_, messageFile_);
    Files files = chosen();
    if (names_.empty()) files = changedOnes(files);
    if (files.empty()) return tellNothing("nothing to check in");
    const bool isWritten = message_.empty() && !isDry_;
    if (isWritten && !output().mayAsk()) throw misuse("checkin", "no message", "give -m or -F");
    if (isWritten) message_ = messageFromEditor(session(), hintsFor(files));
    const size_t done = forEach(files, [&](const FileRecord& file) { checkIn(file); });
    local().listLabelled(local().followedLabel(), moved_);
    local().listLabelled(label_, labelled_);
    if (isWritten && done == files.size()) forgetMessage(session());
    if (done > 1) output().line(counted(done, "file") + (isDry_ ? "" : " checked in"));
  }

  // What helps to word the message: the names and the differences.
  std::string hintsFor(const Files& files) const {
    std::string text = fmt::format("{}: {} to check in\n", local().directory().project,
                                   counted(files.size(), "file"));
    std::string changes;
    for (const FileRecord* file : files) {
      const FileState* const state = local().stateOf(*file);
      const std::string here = state == nullptr ? "" : state->here;
      const std::string path = shownPath(*file);
      text += fmt::format("  {}  {}\n", path, here);
      Subject subject = about(*file, here);
      subject.workfile = local().pathOf(*file);
      try {
        const auto lines = differencesOf(subject, here, "", kContextLines, 0);
        if (lines.empty()) continue;
        const std::string heading =
            isBinary(lines) ? "" : fmt::format("--- {0}\t{1}\n+++ {0}\n", path, here);
        changes += fmt::format("\n{}{}", heading, fmt::join(lines, "\n"));
      } catch (const Problem&) {
        continue;  // It is told when the turn of the file comes.
      }
    }
    return text + changes;
  }

  Files changedOnes(const Files& files) {
    Files chosen;
    for (const FileRecord* file : files) {
      output().mayStop();
      try {
        if (!isDry_) local().settleLost(*file);
        const Standing standing = local().standingOf(*file);
        if (standing == Standing::kUnknown) refuseUnknown(*file);
        if (standing != Standing::kChanged) continue;
        const RevisionInfo* const here = local().hereOf(*file);
        if (locks_ || here->isLockedBy(local().user()) || !needsLock(*file)) {
          chosen.push_back(file);
        } else {
          output().result({{"file", file->path}, {"action", "skipped"}},
                          fmt::format("skipped {}, changed but not locked", shownPath(*file)));
        }
      } catch (const Problem& problem) {
        output().problem(problem);
      }
    }
    return chosen;
  }

  // It may come from any revision: as the next one of the wrong parent it would undo others' work.
  void refuseUnknown(const FileRecord& file) const {
    const RevisionInfo* const locked = local().historyOf(file).lockedBy(local().user());
    if (locked == nullptr) return;
    throw Problem{
        shownPath(file),
        fmt::format("you have locked {}, and no revision is known that this file came from",
                    locked->number),
        "'trevault revert' keeps your copy aside, then lock and bring your changes over"};
  }

  void checkIn(const FileRecord& file) {
    if (local().standingOf(file) == Standing::kUnknown) refuseUnknown(file);
    const RevisionInfo& here = local().revisionOf(file, "here");
    const std::string parent = here.number;
    refuseUnlocked(file, here);
    const History& history = local().historyOf(file);
    const RevisionInfo* const tip = history.tipOf(here.branch);
    const std::string group = groupFor(here);
    Subject subject = local().subjectOf(file, parent, group);
    subject.workfile = local().pathToWrite(file);
    subject.label = label_;
    const Along along = alongOf(file, here);
    const bool willBranch = branches_ || tip != &here;
    const bool isLocked = here.isLockedBy(local().user());
    if (!isLocked && tip != &here && !branches_) {
      throw Problem{subject.file,
                    fmt::format("{} by {} came after your {}", tip->number, tip->author, parent),
                    fmt::format("see 'trevault diff -r here..followed {}'", subject.file)};
    }
    if (isDry_) {
      return tell(file, said(kCheckIn), numberAfter(history, here, willBranch), along.words,
                  {{"before", parent}});
    }
    if (locks_ && !isLocked && needsLock(file)) {
      check(TrvsLockRevision(TRVS_CONTEXT, file.archive.c_str(), parent.c_str(), group.c_str()),
            subject);
    }
    // The label that is followed comes along with the revision, if no other one is asked for.
    const bool isAlong = along.moves && label_.empty();
    const std::string label = isAlong ? local().followedLabel() : label_;
    const Stamp before = local().stampOf(file);
    check(TrvsPutRevision(TRVS_CONTEXT, 0, target(file.archive, subject.workfile).c_str(), 0,
                          parent.c_str(), label.c_str(), nullptr, message_.c_str(), group.c_str(),
                          nullptr, 0, flags(file, !willBranch, isAlong)),
          subject);
    local().forgetHistory(file);
    later([=, this, &file] { finish(file, parent, before, willBranch, along); });
  }

  // The group worked in, unless the file was locked for another one.
  std::string groupFor(const RevisionInfo& here) {
    if (!group_.empty()) return group_;
    const std::string& own = local().directory().group;
    const auto& groups = here.groups;
    const bool hasOwn = std::find(groups.begin(), groups.end(), own) != groups.end();
    const bool hasOther = std::any_of(groups.begin(), groups.end(), [&](const std::string& each) {
      return local().promotion().isDevelopment(each);
    });
    return hasOther && !hasOwn ? "" : own;
  }

  // What becomes of the label that the work directory follows.
  struct Along {
    bool moves = false;
    std::string words;
  };

  Along alongOf(const FileRecord& file, const RevisionInfo& here) {
    const std::string label = local().followedLabel();
    if (label.empty() || label == label_) return {};
    const RevisionInfo* const now = local().historyOf(file).withLabel(label);
    if (now == nullptr) return {true, ", labelled " + label};
    if (now != &here) return {false, fmt::format(", {} stays at {}", label, now->number)};
    if (!branches_ && floatingLabels(file.archive, file.path).contains(label)) return {};
    return {true, ", moved " + label};
  }

  // The number that a check-in would make.
  static std::string numberAfter(const History& history, const RevisionInfo& here,
                                 bool willBranch) {
    if (willBranch) return history.nextBranch(here.number) + ".0";
    const size_t dot = here.number.rfind('.') + 1;
    return here.number.substr(0, dot) + std::to_string(std::stoul(here.number.substr(dot)) + 1);
  }

  uint32_t attributesOf(const FileRecord& file) const {
    uint32_t attributes = 0;
    check(TrvsGetAttributes(TRVS_CONTEXT, file.archive.c_str(), &attributes),
          {.file = shownPath(file), .archive = file.archive});
    return attributes;
  }
  bool needsLock(const FileRecord& file) const {
    return (attributesOf(file) & TRVS_ATTRIBUTE_CHECK_LOCKS) != 0;
  }

  void refuseUnlocked(const FileRecord& file, const RevisionInfo& here) const {
    if (locks_ || here.isLockedBy(local().user()) || !needsLock(file)) return;
    const std::string path = shownPath(file);
    if (const RevisionInfo* other = local().historyOf(file).lockedBy(local().user())) {
      throw Problem{path,
                    fmt::format("you have locked {}, and this file comes from {}", other->number,
                                here.number),
                    "lock that too, or check in where you locked it"};
    }
    if (const LockInfo* lock = local().historyOf(file).lockOfOther(here.number, local().user())) {
      throw Problem{
          path, fmt::format("{} has locked {} since {}", lock->user, lock->number, lock->minute()),
          fmt::format("ask {}, or look at 'trevault locks'", lock->user)};
    }
    throw Problem{path, "you have not locked it",
                  fmt::format("'trevault ci --lock {}' locks and checks in",
                              shellWord(local().pathFromHere(file)))};
  }

  // What nobody has followed when it was looked at, nobody may follow meanwhile.
  uint32_t flags(const FileRecord& file, bool isTip, bool isAlong) const {
    constexpr uint32_t kGuards = TRVS_ATTRIBUTE_CHECK_LOCKS | TRVS_ATTRIBUTE_READ_ONLY;
    const bool staysWritable = keepsLock_ || (attributesOf(file) & kGuards) == 0;
    uint32_t flags = staysWritable ? TRVS_PUT_KEEP_LOCK : TRVS_PUT_READ_ONLY;
    if (branches_) flags |= TRVS_PUT_BRANCH;
    if (isTip && !branches_) flags |= TRVS_PUT_NO_BRANCH;
    if (older_) flags |= TRVS_PUT_OLDER;
    if (unchanged_) flags |= TRVS_PUT_UNCHANGED;
    if (movesLabel_ || isAlong) flags |= TRVS_PUT_MOVE_LABEL;
    return flags;
  }

  // The new revision is the child of the parent that came last.
  void finish(const FileRecord& file, const std::string& parent, const Stamp& before,
              bool hasBranched, const Along& along) {
    const History& history = local().historyOf(file);
    const RevisionInfo* made = history.tipOf(branchOf(parent));
    for (int i = 1; hasBranched; ++i) {
      const RevisionInfo* const tip = history.tipOf(fmt::format("{}.{}", parent, i));
      if (tip == nullptr) break;
      made = tip;
    }
    const std::string number = made->number;
    if (!label_.empty()) labelled_.push_back({file.path, file.archive, number});
    local().noteStored(file, number, before, keepsLock_);
    if (along.moves) {
      if (!label_.empty()) moveFollowed(file, number);
      moved_.push_back({file.path, file.archive, number});
    }
    tell(file, said(kCheckIn), number, along.words, {{"before", parent}});
  }

  void moveFollowed(const FileRecord& file, const std::string& number) const {
    const std::string label = local().followedLabel();
    Subject subject = about(file);
    subject.label = label;
    check(TrvsSetLabel(TRVS_CONTEXT, file.archive.c_str(), label.c_str(), number.c_str(),
                       TRVS_LABEL_MOVE),
          subject);
    local().forgetHistory(file);
  }

  static constexpr Verb kCheckIn{"check in", "checked in"};

  std::string message_;
  std::string messageFile_;
  std::string label_;
  bool movesLabel_ = false;
  std::string group_;
  bool keepsLock_ = false;
  bool locks_ = false;
  bool branches_ = false;
  bool unchanged_ = false;
  bool older_ = false;
  std::vector<LabelledFile> moved_;     // With the label that is followed.
  std::vector<LabelledFile> labelled_;  // With the label that was asked for.
};

}  // namespace

std::unique_ptr<Command> makeCheckIn() { return makeCommand<CheckIn>(); }

}  // namespace cli
