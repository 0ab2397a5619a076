// btkf520/operations/checkout.cpp: a check-out, from the choice of the revision to the workfile.
#include "btkf520/operations/checkout.h"

#include <optional>
#include <string>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/text.h"
#include "btkf520/operations/keywords.h"
#include "btkf520/operations/locks.h"
#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"
#include "btkf520/operations/times.h"
#include "btkf520/operations/workfile.h"
#include "btkf520/platform_workfile.h"

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
  for (auto revision = branch.revisions.rbegin(); revision != branch.revisions.rend(); ++revision) {
    if (revision->number <= last && revision->checkInTime <= time) return &*revision;
  }
  return nullptr;
}

// One check-out, step by step.
class CheckOut {
 public:
  explicit CheckOut(const CheckOutRequest& request) : request_(request) {}

  Status run();

 private:
  bool asks(uint32_t flag) const { return (request_.flags & flag) != 0; }

  Status open();
  Status chooseRevision();
  Status chooseByGroup(std::string_view group);
  Status applyDates();
  Status boundTime(std::optional<PackedTime>* time) const;
  bool needsWhole() const;
  Status readWhole();
  Status checkOverwrite();
  Status writeContent();
  Status finish(const Event& event);

  const CheckOutRequest& request_;
  Task task_;
  const Revision* revision_ = nullptr;  // In task_.model.
  std::string workfilePath_;
  bool isWhole_ = false;  // All of it has to be seen before any of it is written.
  Bytes stored_;          // Then the content.
  std::optional<std::string> expanded_;
  NewWorkfile workfile_;
};

Status CheckOut::run() {
  if (!areGood(request_.flags)) return kMisuse;
  if (const Status status = open()) return status;
  if (const Status status = task_.findWorkfile(&workfilePath_)) return status;
  for (auto step : {&CheckOut::chooseRevision, &CheckOut::readWhole, &CheckOut::checkOverwrite,
                    &CheckOut::writeContent}) {
    if (const Status status = (this->*step)()) return status;
  }
  if (const Status status = client().goOn()) return status;
  return finish({"CHECKOUT", revision_->number.text()});
}

// The lock comes first: a workfile that may be changed without one would be worse than a lock
// without a workfile.
Status CheckOut::finish(const Event& event) {
  if (asks(TRVS_GET_LOCK)) {
    if (const Status status = workfile_.check()) return status;
    if (const Status status = task_.store()) return status;
  }
  const Status status = workfile_.finish();
  if (status == kDone || asks(TRVS_GET_LOCK)) task_.announce(event);
  return status;
}

Status CheckOut::open() {
  if (asks(TRVS_GET_LOCK)) return task_.openToUpdate(request_.archive, "CHECKOUT");
  if (const Status status = task_.openContents(request_.archive)) return status;
  return task_.ask("CHECKOUT", std::string(textOf(request_.revision)));
}

Status CheckOut::chooseRevision() {
  const std::string_view group = textOf(request_.group);
  Number number;
  if (asks(TRVS_GET_LOCK)) {
    if (const Status status = lockRevision(&task_, request_.revision, request_.group, &number)) {
      return status;
    }
    revision_ = task_.model.findRevision(number);
    return kDone;
  }
  if (!group.empty() && textOf(request_.revision).empty()) return chooseByGroup(group);
  if (const Status status = findRevision(task_.model, request_.revision, &revision_)) return status;
  return applyDates();
}

Status CheckOut::chooseByGroup(std::string_view group) {
  if (task_.model.revisionCount() == 0) return kNoRevisions;
  revision_ = revisionInGroup(task_.model, group);
  return revision_ == nullptr ? kNoGroupRevision : applyDates();
}

Status CheckOut::applyDates() {
  if (asks(TRVS_GET_LATEST)) return kDone;
  if (asks(TRVS_GET_IF_NEWER)) {
    std::optional<PackedTime> bound;
    if (const Status status = boundTime(&bound)) return status;
    return !bound || revision_->checkInTime > *bound ? kDone : kNoRevision;
  }
  const std::string_view text = textOf(request_.cutoffDate);
  if (isNoDate(text)) return kDone;
  const auto time = parseDate(trimmed(text));
  if (!time) return kBadDate;
  revision_ = newestUntil(*branchOf(task_.model, revision_->number), revision_->number, *time);
  return revision_ == nullptr ? kNoRevision : kDone;
}

// The date given, else that of the workfile; nothing if there is no workfile yet.
Status CheckOut::boundTime(std::optional<PackedTime>* time) const {
  const std::string_view text = textOf(request_.newerThan);
  if (!isNoDate(text)) {
    *time = parseDate(trimmed(text));
    return *time ? kDone : kBadDate;
  }
  if (const auto state = workfileState(workfilePath_)) *time = state->changeTime;
  return kDone;
}

// For keywords, and for a comparison with the file that is there.
bool CheckOut::needsWhole() const {
  return task_.model.has(kExpandKeywords) ||
         (!asks(TRVS_GET_OVERWRITE | TRVS_GET_KEEP) && workfileState(workfilePath_));
}

Status CheckOut::readWhole() {
  isWhole_ = needsWhole();
  if (!isWhole_) return kDone;
  if (const Status status = task_.archive().read(revision_->content, &stored_)) return status;
  expanded_ = expanded(task_.model, *revision_, task_.archiveText(), stored_.view());
  return kDone;
}

// A file that is equal already may be replaced without a question: nothing is lost.
Status CheckOut::checkOverwrite() {
  const auto old = workfileState(workfilePath_);
  if (old && !old->isRegular) return kWouldOverwrite;
  if (asks(TRVS_GET_OVERWRITE)) return kDone;
  workfile_.replaceOnly(old);
  if (!old) return kDone;
  if (asks(TRVS_GET_KEEP)) return kWouldOverwrite;
  MappedFile file;
  const bool isReadable = file.open(workfilePath_) == FileResult::kDone;
  const std::string_view whole = expanded_ ? *expanded_ : stored_.view();
  if (isWhole_ && isReadable && file.bytes() == whole) return kDone;
  return client().overwrites(task_.workfileText(), task_.archiveText()) ? kDone : kWouldOverwrite;
}

Status CheckOut::writeContent() {
  if (const Status status = workfile_.open(workfilePath_)) return status;
  Status status = kDone;
  if (expanded_) {
    status = workfile_.write(*expanded_);
  } else if (isWhole_) {
    status = workfile_.write(stored_.view());
  } else {
    status = task_.archive().read(revision_->content, [this](std::string_view bytes) {
      return workfile_.write(bytes) == kDone;
    });
  }
  if (status != kDone) return status;
  const bool isWritable =
      asks(TRVS_GET_WRITABLE | TRVS_GET_LOCK) || !task_.model.has(kWriteProtected);
  return workfile_.complete(isWritable, asks(TRVS_GET_ARCHIVE_TIME) ? revision_->checkInTime : 0);
}

}  // namespace

Status checkOut(const CheckOutRequest& request) { return CheckOut(request).run(); }

}  // namespace btkf
