// btkf520/operations/checkin.cpp: a check-in, from the parent to the fate of the workfile.
//
// The new revision follows the parent: the revision that the user has locked, or in an archive that
// checks no locks the one that is asked for. After a tip it continues the branch; after any other
// revision, or where that is asked for, it starts a new one.
#include "btkf520/operations/checkin.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/text.h"
#include "btkf520/operations/attempt.h"
#include "btkf520/operations/comparedfile.h"
#include "btkf520/operations/keywords.h"
#include "btkf520/operations/labels.h"
#include "btkf520/operations/locks.h"
#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"
#include "btkf520/operations/times.h"
#include "btkf520/operations/workfile.h"
#include "os/clock.h"
#include "os/directory.h"

namespace btkf {
namespace {

constexpr uint32_t kUnchangedFlags =
    TRVS_PUT_UNCHANGED | TRVS_PUT_REFUSE_UNCHANGED | TRVS_PUT_ASK_UNCHANGED;

bool areGood(uint32_t flags) {
  constexpr uint32_t kKnown = kUnchangedFlags | TRVS_PUT_KEEP_LOCK | TRVS_PUT_READ_ONLY |
                              TRVS_PUT_BRANCH | TRVS_PUT_OLDER | TRVS_PUT_MOVE_LABEL |
                              TRVS_PUT_ASK_LABEL | TRVS_PUT_NO_BRANCH | TRVS_PUT_NEW_NUMBER |
                              TRVS_PUT_NO_GROUP;
  const auto hasAll = [flags](uint32_t bits) { return (flags & bits) == bits; };
  return (flags & ~kKnown) == 0 && !hasAll(TRVS_PUT_KEEP_LOCK | TRVS_PUT_READ_ONLY) &&
         !hasAll(TRVS_PUT_MOVE_LABEL | TRVS_PUT_ASK_LABEL) &&
         !hasAll(TRVS_PUT_BRANCH | TRVS_PUT_NO_BRANCH);
}

// The name of a user that may be left out.
bool isGoodOrNone(const char* name) { return textOf(name).empty() || isGoodName(name); }

// A packed time that may be left out.
bool isTimeOrNone(PackedTime time) { return time == 0 || dates::isTime(dates::unpackTime(time)); }

uint32_t attributesOf(const Configuration& configuration) {
  uint32_t attributes = TRVS_ATTRIBUTE_CHECK_LOCKS | TRVS_ATTRIBUTE_READ_ONLY;
  if (configuration.exclusiveLock()) attributes |= TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS;
  if (configuration.expandKeywords()) attributes |= TRVS_ATTRIBUTE_KEYWORDS;
  return attributes;
}

// Begins an archive that the task's commit makes.
TrvsStatus beginArchive(const NewArchive& wanted, Task* task) {
  if (!isGoodOrNone(wanted.owner)) return TRVS_BAD_NAME;
  if (!isTimeOrNone(wanted.time)) return TRVS_BAD_DATE;
  if (const TrvsStatus status = task->openNew(wanted.archive, wanted.workfile)) return status;
  std::string workfilePath;
  if (const TrvsStatus status = task->findWorkfile(&workfilePath)) return status;
  if (!os::directoryState(os::parentOf(task->archivePath()).c_str())) return TRVS_BAD_NAME;
  if (statusAt(task->archivePath())) return TRVS_ARCHIVE_EXISTS;
  ArchiveModel& model = task->model;
  model.workName = fileName(wanted.workfile);
  model.owner = textOf(wanted.owner).empty() ? task->user() : wanted.owner;
  model.description = textOf(wanted.description);
  model.creationTime = wanted.time != 0 ? wanted.time : presentTime();
  model.attributes = attributesOf(configuration());
  model.accessList = configuration().accessList();
  return TRVS_DONE;
}

// A workfile as it was when it was read.
struct SeenWorkfile {
  os::FileStatus status;
  int64_t time = 0;  // When it was asked for that.
  Content content;
};

// Whether it still is, nothing if that can't be told. Times that were set back, or move in steps,
// don't show each change: then its bytes have to, if they are to be removed.
std::optional<bool> isStill(const std::string& path, const SeenWorkfile& seen, bool isRemoved) {
  const auto now = statusAt(path);
  if (now != seen.status) return false;
  const bool isSure = now->changed == seen.status.changed && os::isSettled(now->changed, seen.time);
  if (isSure || !isRemoved) return true;
  ComparedFile file;
  if (file.open(path) != TRVS_DONE) return {};
  return file.seems(seen.content);
}

// Does with a workfile whose content an archive has by now what the flags say. One that was changed
// meanwhile holds what no revision has: it stays as it is.
bool settleWorkfile(const std::string& path, const SeenWorkfile& seen, uint32_t flags) {
  const bool isRemoved = (flags & (TRVS_PUT_KEEP_LOCK | TRVS_PUT_READ_ONLY)) == 0;
  const auto still = isStill(path, seen, isRemoved);
  if (still != true) return still.has_value();
  const os::FileResult result =
      (flags & TRVS_PUT_KEEP_LOCK) != 0   ? os::setWritable(path.c_str(), true)
      : (flags & TRVS_PUT_READ_ONLY) != 0 ? os::setWritable(path.c_str(), false)
                                          : os::removeFile(path.c_str());
  return result == os::FileResult::kDone;
}

// One check-in, step by step. Nothing is changed on disk before the commit.
class CheckIn {
 public:
  // `wanted` is an archive to be made with it; null for one that is there.
  CheckIn(const CheckInRequest& request, const NewArchive* wanted)
      : request_(request), wanted_(wanted) {}

  TrvsStatus run();

 private:
  bool asks(uint32_t flag) const { return (request_.flags & flag) != 0; }

  TrvsStatus open();
  TrvsStatus readWorkfile();
  TrvsStatus findPlace();
  TrvsStatus findFirst();
  TrvsStatus findLockedParent();
  TrvsStatus findNamedParent(std::string_view text);
  TrvsStatus placeBeforeNumber(const Number& number);
  TrvsStatus checkParentLock() const;
  TrvsStatus chooseNumber();
  TrvsStatus checkWorkfile();
  TrvsStatus checkUnchanged();
  TrvsStatus assignGroup();
  TrvsStatus add();
  Lock takeLock();
  void fillRevision(Revision* revision) const;
  WrittenChange::Sequel settlesWorkfile() const;

  const CheckInRequest& request_;
  const NewArchive* const wanted_;
  Task task_;
  std::string workfilePath_;
  os::FileStatus workfile_;
  int64_t seenAt_ = 0;
  Bytes bytes_;
  Content content_;               // The same, put into the archive.
  std::optional<Number> parent_;  // Nothing for the archive's first revision.
  Number number_;                 // Of the new revision.
  std::string group_;
};

TrvsStatus CheckIn::run() {
  if (!areGood(request_.flags)) return TRVS_MISUSE;
  if (!isGoodOrNone(request_.author)) return TRVS_BAD_NAME;
  if (!isTimeOrNone(request_.time)) return TRVS_BAD_DATE;
  for (auto step : {&CheckIn::open, &CheckIn::readWorkfile, &CheckIn::findPlace,
                    &CheckIn::checkWorkfile, &CheckIn::assignGroup, &CheckIn::add}) {
    if (const TrvsStatus status = (this->*step)()) return status;
  }
  if (const TrvsStatus status = client().goOn()) return status;
  std::vector<Event> events;
  if (wanted_ != nullptr) events.push_back({"CREATE", ""});
  events.push_back({"CHECKIN", number_.text()});
  return task_.commitAll(std::move(events), settlesWorkfile());
}

TrvsStatus CheckIn::open() {
  if (wanted_ == nullptr) return task_.openToUpdate(request_.archive, "CHECKIN");
  if (const TrvsStatus status = beginArchive(*wanted_, &task_)) return status;
  if (const TrvsStatus status = task_.checkAccess()) return status;
  return task_.ask("CHECKIN");
}

TrvsStatus CheckIn::readWorkfile() {
  if (const TrvsStatus status = task_.findWorkfile(&workfilePath_)) return status;
  seenAt_ = os::wallClockNanoseconds();
  const auto state = statusAt(workfilePath_);
  if (!state) return TRVS_NO_WORKFILE;
  workfile_ = *state;
  if (workfile_.size > Surroundings::current().largestContent()) return TRVS_TOO_LARGE;
  if (const TrvsStatus status = readBytes(workfilePath_, &bytes_)) return status;
  content_ = task_.archive().put(bytes_.view());
  return TRVS_DONE;
}

TrvsStatus CheckIn::findPlace() {
  const std::string_view text = textOf(request_.revision);
  if (asks(TRVS_PUT_NEW_NUMBER)) {
    const auto number = Number::parse(text);
    if (!number || !number->isRevision()) return TRVS_BAD_NUMBER;
    if (task_.model.findRevision(*number) != nullptr) return TRVS_REVISION_EXISTS;
  }
  if (task_.model.revisionCount() == 0) return findFirst();
  const TrvsStatus status = text.empty() ? findLockedParent() : findNamedParent(text);
  if (status != TRVS_DONE) return status;
  if (const TrvsStatus locked = checkParentLock()) return locked;
  return chooseNumber();
}

TrvsStatus CheckIn::findFirst() {
  const std::string_view text = textOf(request_.revision);
  const auto number = text.empty() ? Number({1, 0}) : Number::parse(text);
  if (!number || number->components().size() != 2) return TRVS_BAD_NUMBER;
  number_ = *number;
  return TRVS_DONE;
}

// The user's only lock tells what the workfile was made from.
TrvsStatus CheckIn::findLockedParent() {
  const auto locked = lockedBy(task_.model, task_.user());
  if (locked.size() > 1) return TRVS_BAD_NUMBER;
  if (locked.size() == 1) {
    parent_ = locked.front()->number;
    return TRVS_DONE;
  }
  if (task_.model.has(TRVS_ATTRIBUTE_CHECK_LOCKS)) return TRVS_NO_LOCK;
  if (task_.model.trunk().revisions.empty()) return TRVS_NO_REVISIONS;
  parent_ = task_.model.trunk().tip()->number;
  return TRVS_DONE;
}

TrvsStatus CheckIn::findNamedParent(std::string_view text) {
  const Revision* revision = nullptr;
  const TrvsStatus status = findRevision(task_.model, request_.revision, &revision);
  if (status == TRVS_DONE) {
    parent_ = revision->number;
    return TRVS_DONE;
  }
  const auto number = Number::parse(text);
  return number && number->isRevision() ? placeBeforeNumber(*number) : status;
}

// The number of a revision that isn't there yet: after the tip of its branch, or the first one of
// the next branch that a revision would get.
TrvsStatus CheckIn::placeBeforeNumber(const Number& number) {
  number_ = number;
  if (const Branch* branch = branchOf(task_.model, number)) {
    if (branch->tip() == nullptr || branch->tip()->number >= number) return TRVS_BAD_NUMBER;
    parent_ = branch->tip()->number;
    return TRVS_DONE;
  }
  const Number from = number.parent().parent();
  if (task_.model.findRevision(from) == nullptr) return TRVS_NO_REVISION;
  if (task_.model.newBranchAt(from) != number.parent()) return TRVS_BAD_NUMBER;
  parent_ = from;
  return TRVS_DONE;
}

// What another has locked must not be continued, except for both with a lock of their own.
TrvsStatus CheckIn::checkParentLock() const {
  const Revision& parent = *task_.model.findRevision(*parent_);
  if (isLockedBy(parent, task_.user())) return TRVS_DONE;
  if (!parent.locks.empty()) return TRVS_LOCKED;
  return task_.model.has(TRVS_ATTRIBUTE_CHECK_LOCKS) ? TRVS_NO_LOCK : TRVS_DONE;
}

TrvsStatus CheckIn::chooseNumber() {
  const Revision& parent = *task_.model.findRevision(*parent_);
  const bool startsBranch = number_.isEmpty() ? asks(TRVS_PUT_BRANCH) || !isTip(task_.model, parent)
                                              : number_.level() != parent_->level();
  if (startsBranch && asks(TRVS_PUT_NO_BRANCH)) return TRVS_NEEDS_BRANCH;
  if (number_.isEmpty()) {
    number_ = startsBranch ? task_.model.newBranchAt(*parent_).child(0) : parent_->next();
  } else if (asks(TRVS_PUT_BRANCH) && !startsBranch) {
    return TRVS_BAD_NUMBER;
  }
  const bool fits = number_.components().size() <= Number::kMostComponents &&
                    number_.last() <= Number::kLargestComponent &&
                    number_.parent().last() <= Number::kLargestComponent;
  return fits ? TRVS_DONE : TRVS_BAD_NUMBER;
}

TrvsStatus CheckIn::checkWorkfile() {
  if (!parent_) return TRVS_DONE;
  const Revision& parent = *task_.model.findRevision(*parent_);
  if (!asks(TRVS_PUT_OLDER) && packedTime(workfile_.nanoseconds) < parent.workfileTime)
    return TRVS_OLDER;
  return asks(TRVS_PUT_UNCHANGED) ? TRVS_DONE : checkUnchanged();
}

// A workfile with expanded keywords is unchanged if it is what a check-out would give.
TrvsStatus CheckIn::checkUnchanged() {
  const Revision& parent = *task_.model.findRevision(*parent_);
  // Contents with different checksums need not be looked at.
  const bool mayBeEqual =
      parent.content.length == content_.length && parent.content.checksum == content_.checksum;
  if (!mayBeEqual && !task_.model.has(TRVS_ATTRIBUTE_KEYWORDS)) return TRVS_DONE;
  Bytes old;
  if (const TrvsStatus status = task_.archive().read(parent.content, &old)) return status;
  const auto asWorkfile = expanded(task_.model, parent, task_.archiveText(), old.view());
  const bool isEqual =
      old.view() == bytes_.view() || (asWorkfile && asWorkfile->view() == bytes_.view());
  if (!isEqual) return TRVS_DONE;
  if (!asks(TRVS_PUT_ASK_UNCHANGED)) return TRVS_UNCHANGED;
  return client().accepts(task_.workfileText(), TRVS_UNCHANGED) ? TRVS_DONE : TRVS_UNCHANGED;
}

// The group moves on from the parent. At any other revision it stays, and stands in the way.
TrvsStatus CheckIn::assignGroup() {
  if (asks(TRVS_PUT_NO_GROUP)) return TRVS_DONE;
  Revision* parent = parent_ ? task_.model.findRevision(*parent_) : nullptr;
  std::string wanted(textOf(request_.group));
  if (wanted.empty() && parent != nullptr) {
    for (const std::string& group : parent->promotionGroups) {
      if (configuration().promotion().kindOf(group) == TRVS_GROUP_DEVELOPMENT) wanted = group;
    }
  }
  if (const TrvsStatus status = chooseGroup(wanted, &group_)) return status;
  const Revision* at = group_.empty() ? nullptr : revisionInGroup(task_.model, group_);
  if (at != nullptr && at != parent) return TRVS_GROUP_IN_THE_WAY;
  if (at != nullptr) std::erase(parent->promotionGroups, group_);
  return TRVS_DONE;
}

TrvsStatus CheckIn::add() {
  std::string label(textOf(request_.label));
  const Lock lock = takeLock();
  const bool isFirst = task_.model.revisionCount() == 0;
  if (isFirst && workfile_.ownerMayRun) task_.model.attributes |= TRVS_ATTRIBUTE_EXECUTABLE;
  Branch* branch = task_.model.findBranch(branchNumber(number_));
  if (branch == nullptr) branch = &task_.model.addBranch(number_.parent());
  fillRevision(&branch->revisions.emplace_back());
  branch->revisions.back().content = content_;
  if (asks(TRVS_PUT_KEEP_LOCK) && task_.model.has(TRVS_ATTRIBUTE_CHECK_LOCKS)) {
    branch->revisions.back().locks.push_back(lock);
  }
  if (wanted_ == nullptr && request_.description != nullptr)
    task_.model.description = request_.description;
  if (label.empty()) return TRVS_DONE;
  const Moving moving = asks(TRVS_PUT_MOVE_LABEL)  ? Moving::kAlways
                        : asks(TRVS_PUT_ASK_LABEL) ? Moving::kAsk
                                                   : Moving::kNever;
  return setLabel(&task_.model, &label, number_, moving, task_.archiveText());
}

// The user's lock, off its revision. One that is kept is still the same; without one it is new.
Lock CheckIn::takeLock() {
  Lock lock{task_.user(), presentTime(), ""};
  Revision* parent = parent_ ? task_.model.findRevision(*parent_) : nullptr;
  const Lock* held = parent == nullptr ? nullptr : lockOf(*parent, task_.user());
  if (held == nullptr) return lock;
  lock = *held;
  removeLock(parent, task_.user());
  return lock;
}

void CheckIn::fillRevision(Revision* revision) const {
  revision->number = number_;
  revision->checkInTime = request_.time != 0 ? request_.time : presentTime();
  revision->workfileTime = packedTime(workfile_.nanoseconds);
  revision->author = textOf(request_.author).empty() ? task_.user() : request_.author;
  revision->changeDescription = textOf(request_.change);
  if (!group_.empty()) revision->promotionGroups.push_back(group_);
}

WrittenChange::Sequel CheckIn::settlesWorkfile() const {
  const SeenWorkfile workfile{workfile_, seenAt_, content_};
  return [path = workfilePath_, seen = workfile, flags = request_.flags](ArchiveChange& change) {
    const auto warn = [] { client().message(TRVS_CANNOT_WRITE); };
    bool isSettled = false;
    attempt([&] { isSettled = change.isNameSafe() && settleWorkfile(path, seen, flags); });
    if (!isSettled) attempt(warn);
    return WrittenChange::Outcome();
  };
}

}  // namespace

TrvsStatus checkIn(const CheckInRequest& request) { return CheckIn(request, nullptr).run(); }

TrvsStatus createWithRevision(const NewArchive& wanted, const CheckInRequest& first) {
  return CheckIn(first, &wanted).run();
}

TrvsStatus createArchive(const NewArchive& wanted) {
  Task task;
  if (const TrvsStatus status = beginArchive(wanted, &task)) return status;
  return task.commit({"CREATE", ""});
}

}  // namespace btkf
