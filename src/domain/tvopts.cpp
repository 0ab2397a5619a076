// domain/tvopts.cpp: which options exclude one another, and what is wrong before the toolkit is
// asked.
#include "domain/tvopts.h"

#include "domain/projectfolder.h"
#include "runtime/assertion.h"

namespace foldapi {

namespace {

constexpr const char* kSource = "TVOPTS.cpp";

void setBit(uint32_t* flags, uint32_t bit, bool on) { *flags = on ? *flags | bit : *flags & ~bit; }

// Exactly `bits` out of `group`.
void choose(uint32_t* flags, uint32_t group, uint32_t bits) { *flags = (*flags & ~group) | bits; }

VBool finish(TVProjectFolderHandle& project, bool valid, TVAlert alert) {
  if (!valid && alert == TVAlert::kAtEnd) project.sink().alert(project);
  return valid;
}

}  // namespace

// All options -------------------------------------------------------------------------------------

VBool TVOptionsBase::validate(TVProjectFolderHandle&, TVAlert) { return true; }

VBool TVOptionsBase::prepare(const TVHandle* item, TVAlert alert) {
  if (item == nullptr || item->isNull() || item->object()->owner() == nullptr) return true;
  TVObject* project = item->object()->findAncestor(&TVProjectFolder::theClass);
  if (project == nullptr) return true;
  TVProjectFolderHandle handle(&item->sink(), project);
  return validate(handle, alert);
}

// Check-out ---------------------------------------------------------------------------------------

void TVGetOptions::setCutoffDate(const VString& date) {
  flags &= ~(kOtherDate | kLatest);
  cutoffDate = date;
  otherDate.clear();
}

void TVGetOptions::setOtherDate(const VString& date) {
  choose(&flags, kLatest | kOtherDate, kOtherDate);
  otherDate = date;
  cutoffDate.clear();
}

void TVGetOptions::setLatest() {
  choose(&flags, kLatest | kOtherDate, kLatest);
  cutoffDate.clear();
  otherDate.clear();
}

void TVGetOptions::setFlag8(VBool on) { setBit(&flags, kArchiveTime, on); }

// The first assertion prints for each lock. Clients rely on its text in their logs, so it stays.
VBool TVGetOptions::validate(TVProjectFolderHandle& project, TVAlert alert) {
  const auto has = [this](uint32_t bits) { return (flags & bits) == bits; };
  if (has(kLock) && !has(kWritable)) assertFail(kSource, 242);
  if (has(kOverwriteAlways | kOverwriteNever)) assertFail(kSource, 244);
  if (has(kLatest | kOtherDate)) assertFail(kSource, 246);
  if (project.isNull()) return true;
  bool dateIsGood = true;
  if (!has(kLatest) && !has(kOtherDate)) dateIsGood = project.validateDate(cutoffDate, nullptr);
  if (has(kLatest)) dateIsGood = project.validateDate(otherDate, nullptr);
  const bool groupIsGood = project.validatePromotion(*this, nullptr);
  return finish(project, dateIsGood && groupIsGood, alert);
}

// Check-in ----------------------------------------------------------------------------------------

void TVPutOptions::setUnchanged(uint32_t bits) {
  choose(&flags, kPutUnchanged | kRefuseUnchanged | kAsk, bits);
}
void TVPutOptions::setWorkfile(uint32_t bits) { choose(&flags, kKeepLock | kKeepReadOnly, bits); }
void TVPutOptions::setLabel(uint32_t bits) { choose(&flags, kMoveLabel | kAskLabel, bits); }
void TVPutOptions::setBranch(VBool on) { setBit(&flags, kBranch, on); }
void TVPutOptions::setOlder(VBool on) { setBit(&flags, kOlder, on); }

// Differences and reports -------------------------------------------------------------------------

void TVDiffOptions::set(uint32_t bit, bool on) { setBit(&flags, bit, on); }

namespace {

struct LogMode {
  int mode;
  uint32_t bit;
};

constexpr LogMode kLogModes[] = {
    {TVLogOptions::kFull, TRVS_LOG_FULL},      {TVLogOptions::kBrief, TRVS_LOG_BRIEF},
    {TVLogOptions::kNewest, TRVS_LOG_NEWEST},  {TVLogOptions::kLabels, TRVS_LOG_LABELS},
    {TVLogOptions::kLocked, TRVS_LOG_LOCKED},  {TVLogOptions::kByAuthor, TRVS_LOG_BY_AUTHOR},
    {TVLogOptions::kByDate, TRVS_LOG_BY_DATE}, {TVLogOptions::kGroups, TRVS_LOG_GROUPS},
};

constexpr uint32_t kLogOptions = TVLogOptions::kOldestFirst | TVLogOptions::kNoHeading;

}  // namespace

void TVLogOptions::setMode(int mode) {
  flags &= kLogOptions;
  for (const LogMode& known : kLogModes) {
    if (known.mode == mode) flags |= known.bit;
  }
}

int TVLogOptions::mode() const {
  for (const LogMode& known : kLogModes) {
    if (known.bit == (flags & ~kLogOptions)) return known.mode;
  }
  return 0;
}

void TVLogOptions::setOldestFirst(VBool on) { setBit(&flags, kOldestFirst, on); }
void TVLogOptions::setNoHeading(VBool on) { setBit(&flags, kNoHeading, on); }

// A "*" in an end would make another range of the two.
VBool TVLogOptions::validate(TVProjectFolderHandle& project, TVAlert alert) const {
  const bool endsAreGood = !revisionFrom.contains('*') && !revisionTo.contains('*');
  if (!endsAreGood) {
    project.sink().notice(project, "Range character \"*\" not allowed in revision numbers");
  }
  bool datesAreGood = project.validateDate(dateFrom, nullptr);
  if (!project.validateDate(dateTo, nullptr)) datesAreGood = false;
  return finish(project, endsAreGood && datesAreGood, alert);
}

}  // namespace foldapi
