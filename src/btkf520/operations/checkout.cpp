// btkf520/operations/checkout.cpp: a check-out, from the choice of the revision to the workfile.
#include "btkf520/operations/checkout.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/text.h"
#include "btkf520/operations/attempt.h"
#include "btkf520/operations/comparedfile.h"
#include "btkf520/operations/keywords.h"
#include "btkf520/operations/locks.h"
#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"
#include "btkf520/operations/times.h"
#include "btkf520/operations/workfile.h"

namespace btkf {
namespace {

bool areGood(uint32_t flags) {
  constexpr uint32_t kKnown = TRVS_GET_LOCK | TRVS_GET_IF_NEWER | TRVS_GET_ARCHIVE_TIME |
                              TRVS_GET_WRITABLE | TRVS_GET_OVERWRITE | TRVS_GET_KEEP |
                              TRVS_GET_LATEST;
  const auto hasAll = [flags](uint32_t bits) { return (flags & bits) == bits; };
  return (flags & ~kKnown) == 0 && !hasAll(TRVS_GET_OVERWRITE | TRVS_GET_KEEP) &&
         !hasAll(TRVS_GET_LATEST | TRVS_GET_IF_NEWER);
}

// A text that sets no bound: clients pass "*" for any date.
bool isNoDate(std::string_view text) { return trimmed(text).empty() || trimmed(text) == "*"; }

// The newest revision of a branch that was checked in by then, by the order of the branch: of the
// revision's predecessors and itself.
const Revision* newestUntil(const Branch& branch, const Number& last, PackedTime time) {
  for (size_t place = branch.revisions.size(); place-- > 0;) {
    const Revision& revision = branch.revisions[place];
    if (revision.number <= last && revision.checkInTime <= time) return &revision;
  }
  return nullptr;
}

// Makes the archive say `before` of that revision again. Whether that worked.
bool takeBack(ArchiveChange* change, const Revision& before) noexcept {
  TrvsStatus status = TRVS_NO_MEMORY;
  attempt([&] {
    std::unique_ptr<Archive> archive;
    status = Archive::openHeld(change->path(), change->takeFile(), &archive);
    if (status != TRVS_DONE) return;
    ArchiveModel model = archive->takeModel();
    *model.findRevision(before.number) = before;
    status = archive->commit(std::move(model));
  });
  return status == TRVS_DONE;
}

// One check-out, step by step.
class CheckOut {
 public:
  explicit CheckOut(const CheckOutRequest& request) : request_(request) {}

  TrvsStatus run();

 private:
  bool asks(uint32_t flag) const { return (request_.flags & flag) != 0; }

  TrvsStatus open();
  TrvsStatus chooseRevision();
  TrvsStatus chooseByGroup(std::string_view group);
  TrvsStatus applyDates();
  TrvsStatus boundTime(std::optional<PackedTime>* time) const;
  TrvsStatus checkSize() { return task_.archive().checkSize(revision_->content); }
  TrvsStatus readWhole();
  TrvsStatus checkOverwrite();
  bool isThere(const os::FileStatus& entry);
  TrvsStatus writeBytes();
  TrvsStatus writeContent();
  TrvsStatus finish(std::vector<Event> events);
  TrvsStatus finishWithLock(std::vector<Event> events);

  const CheckOutRequest& request_;
  Task task_;
  const Revision* revision_ = nullptr;  // In task_.model.
  Revision unlocked_;                   // The same before it was locked.
  std::string workfilePath_;
  bool isWhole_ = false;  // All of it has to be seen before any of it is written, for keywords.
  Bytes stored_;          // Then the content.
  std::optional<Bytes> expanded_;
  os::File present_;  // The workfile, open if it has the content already.
  std::shared_ptr<NewWorkfile> workfile_ = std::make_shared<NewWorkfile>();
};

TrvsStatus CheckOut::run() {
  if (!areGood(request_.flags)) return TRVS_MISUSE;
  if (const TrvsStatus status = open()) return status;
  if (const TrvsStatus status = task_.findWorkfile(&workfilePath_)) return status;
  for (auto step : {&CheckOut::chooseRevision, &CheckOut::checkSize, &CheckOut::readWhole,
                    &CheckOut::checkOverwrite, &CheckOut::writeContent}) {
    if (const TrvsStatus status = (this->*step)()) return status;
  }
  if (const TrvsStatus status = client().goOn()) return status;
  return finish({{"CHECKOUT", revision_->number.text()}});
}

TrvsStatus CheckOut::finish(std::vector<Event> events) {
  if (asks(TRVS_GET_LOCK)) return finishWithLock(std::move(events));
  task_.expect(std::move(events));
  if (const TrvsStatus status = workfile_->finish()) return status;
  task_.tell();
  return TRVS_DONE;
}

// The lock comes first: a workfile that may be changed without one would be worse than a lock
// without a workfile. So it is given back if the workfile can't follow.
TrvsStatus CheckOut::finishWithLock(std::vector<Event> events) {
  if (const TrvsStatus status = workfile_->check()) return status;
  const auto finishWorkfile = [workfile = workfile_, before = unlocked_](ArchiveChange& change) {
    TrvsStatus status = TRVS_NO_MEMORY;
    attempt([&] { status = workfile->finish(); });
    const bool isLocked = status == TRVS_DONE || !takeBack(&change, before);
    return WrittenChange::Outcome{status, isLocked};
  };
  return task_.commitAll(std::move(events), finishWorkfile);
}

TrvsStatus CheckOut::open() {
  if (asks(TRVS_GET_LOCK)) return task_.openToUpdate(request_.archive, "CHECKOUT");
  if (const TrvsStatus status = task_.openContents(request_.archive)) return status;
  return task_.ask("CHECKOUT", std::string(textOf(request_.revision)));
}

TrvsStatus CheckOut::chooseRevision() {
  const std::string_view group = textOf(request_.group);
  if (asks(TRVS_GET_LOCK)) {
    if (const TrvsStatus status =
            lockRevision(&task_, request_.revision, request_.group, request_.note, &unlocked_)) {
      return status;
    }
    revision_ = task_.model.findRevision(unlocked_.number);
    return TRVS_DONE;
  }
  if (!group.empty() && textOf(request_.revision).empty()) return chooseByGroup(group);
  if (const TrvsStatus status = findRevision(task_.model, request_.revision, &revision_))
    return status;
  return applyDates();
}

TrvsStatus CheckOut::chooseByGroup(std::string_view group) {
  if (task_.model.revisionCount() == 0) return TRVS_NO_REVISIONS;
  revision_ = revisionInGroup(task_.model, group);
  return revision_ == nullptr ? TRVS_NO_GROUP_REVISION : applyDates();
}

TrvsStatus CheckOut::applyDates() {
  if (asks(TRVS_GET_LATEST)) return TRVS_DONE;
  if (asks(TRVS_GET_IF_NEWER)) {
    std::optional<PackedTime> bound;
    if (const TrvsStatus status = boundTime(&bound)) return status;
    return !bound || revision_->checkInTime > *bound ? TRVS_DONE : TRVS_NO_REVISION;
  }
  const std::string_view text = textOf(request_.cutoffDate);
  if (isNoDate(text)) return TRVS_DONE;
  const auto time = parseDate(trimmed(text));
  if (!time) return TRVS_BAD_DATE;
  revision_ = newestUntil(*branchOf(task_.model, revision_->number), revision_->number, *time);
  return revision_ == nullptr ? TRVS_NO_REVISION : TRVS_DONE;
}

// The date given, else that of the workfile; nothing if there is no workfile yet.
TrvsStatus CheckOut::boundTime(std::optional<PackedTime>* time) const {
  const std::string_view text = textOf(request_.newerThan);
  if (!isNoDate(text)) {
    *time = parseDate(trimmed(text));
    return *time ? TRVS_DONE : TRVS_BAD_DATE;
  }
  if (const auto state = statusAt(workfilePath_)) *time = packedTime(state->nanoseconds);
  return TRVS_DONE;
}

TrvsStatus CheckOut::readWhole() {
  isWhole_ = task_.model.has(TRVS_ATTRIBUTE_KEYWORDS);
  if (!isWhole_) return TRVS_DONE;
  if (const TrvsStatus status = task_.archive().read(revision_->content, &stored_)) return status;
  expanded_ = expanded(task_.model, *revision_, task_.archiveText(), stored_.view());
  return TRVS_DONE;
}

// A file that is equal already needs no question: nothing is lost. A link would be.
TrvsStatus CheckOut::checkOverwrite() {
  const auto old = entryAt(workfilePath_);
  if (old && !isReplaceable(*old)) return TRVS_WOULD_OVERWRITE;
  if (!asks(TRVS_GET_OVERWRITE)) workfile_->replaceOnly(old);
  if (!old) return TRVS_DONE;
  if (asks(TRVS_GET_KEEP)) return TRVS_WOULD_OVERWRITE;
  if (isThere(*old) || asks(TRVS_GET_OVERWRITE)) return TRVS_DONE;
  return client().overwrites(task_.workfileText(), task_.archiveText()) ? TRVS_DONE
                                                                        : TRVS_WOULD_OVERWRITE;
}

// Whether the workfile has the content. One that can't be read has not.
bool CheckOut::isThere(const os::FileStatus& entry) {
  ComparedFile file;
  if (!entry.isRegular || file.open(workfilePath_) != TRVS_DONE) return false;
  bool isEqual = false;
  if (isWhole_) {
    isEqual = file.equals(expanded_ ? expanded_->view() : stored_.view());
  } else if (file.compare(task_.archive(), revision_->content, &isEqual) != TRVS_DONE) {
    return false;
  }
  if (!isEqual || file.file().status() != entry) return false;
  present_ = std::move(file.file());
  return true;
}

TrvsStatus CheckOut::writeBytes() {
  if (const TrvsStatus status = workfile_->open(workfilePath_)) return status;
  if (expanded_) return workfile_->write(expanded_->view());
  if (isWhole_) return workfile_->write(stored_.view());
  return task_.archive().read(revision_->content, [this](std::string_view bytes) {
    return workfile_->write(bytes) == TRVS_DONE;
  });
}

// From the start again if another machine has replaced the archive meanwhile.
TrvsStatus CheckOut::writeContent() {
  WorkfileState state;
  state.isWritable =
      asks(TRVS_GET_WRITABLE | TRVS_GET_LOCK) || !task_.model.has(TRVS_ATTRIBUTE_READ_ONLY);
  if (task_.model.has(TRVS_ATTRIBUTE_EXECUTABLE)) state.running = os::Running::kAllowed;
  if (asks(TRVS_GET_ARCHIVE_TIME)) state.time = revision_->checkInTime;
  if (present_.isOpen() && workfile_->keep(workfilePath_, &present_, state)) return TRVS_DONE;
  TrvsStatus status = TRVS_CANNOT_OPEN;
  for (int tries = 0; tries < Archive::kReadTries && status == TRVS_CANNOT_OPEN; ++tries) {
    status = writeBytes();
  }
  return status == TRVS_DONE ? workfile_->complete(state) : status;
}

}  // namespace

TrvsStatus checkOut(const CheckOutRequest& request) { return CheckOut(request).run(); }

}  // namespace btkf
