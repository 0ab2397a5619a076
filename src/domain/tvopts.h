// domain/tvopts.h: the records that a client fills before an operation on archives.
//
// Texts and numbers go to the toolkit as they stand; btkf520.h says what it does with them. The
// setters keep flags that exclude one another apart, so a client that uses them can't ask for both.
// prepare() and validate() look for mistakes that can be told before the operation starts.
#pragma once

#include <cstdint>

#include "base/vbool.h"
#include "base/vstring.h"
#include "btkf520/btkf520.h"

namespace foldapi {

class TVHandle;
class TVProjectFolderHandle;

// Whether a check of options that finds mistakes ends with an alert to the sink.
enum class TVAlert { kNone, kAtEnd };

// Options that can be checked against the project that they are for.
class TVOptionsBase {
 public:
  virtual ~TVOptionsBase() = default;

  // Whether the options make sense in `project`, with a notice to its sink for each that doesn't.
  // The base has nothing to object to.
  [[nodiscard]] virtual VBool validate(TVProjectFolderHandle& project, TVAlert alert);
  // The same for the project that `item` stands in. True for no item, and outside a project.
  [[nodiscard]] virtual VBool prepare(const TVHandle* item, TVAlert alert);
};

// A check-out.
class TVGetOptions : public TVOptionsBase {
 public:
  enum Flag : uint32_t {
    kLock = TRVS_GET_LOCK,
    kOtherDate = TRVS_GET_IF_NEWER,
    kArchiveTime = TRVS_GET_ARCHIVE_TIME,
    kWritable = TRVS_GET_WRITABLE,
    kOverwriteAlways = TRVS_GET_OVERWRITE,
    kOverwriteNever = TRVS_GET_KEEP,
    kLatest = TRVS_GET_LATEST,
  };

  // Checks dates and promotion group.
  [[nodiscard]] VBool validate(TVProjectFolderHandle& project, TVAlert alert) override;

  // How the workfile is left, one of three.
  void setReadOnly() { flags &= ~(kLock | kWritable); }
  void setWritable() { flags = (flags & ~kLock) | kWritable; }
  void setLock() { flags = (flags & ~kWritable) | kLock; }
  // What happens to a workfile that is there, one of three.
  void setOverwritePrompt() { flags &= ~(kOverwriteAlways | kOverwriteNever); }
  void setOverwriteAlways() { flags = (flags & ~kOverwriteNever) | kOverwriteAlways; }
  void setOverwriteNever() { flags = (flags & ~kOverwriteAlways) | kOverwriteNever; }
  // Which revision by its time, one of three: the last one up to a date, only one after a date, or
  // any. The date of another choice is dropped.
  void setCutoffDate(const VString& date);
  void setOtherDate(const VString& date);
  void setLatest();
  // Whether the workfile gets the revision's check-in time instead of the present.
  void setFlag8(VBool on);

  VString revision;
  VString cutoffDate;
  VString otherDate;  // For kOtherDate: check out only what was checked in later.
  VString text4;      // Nothing reads it.
  VString promotionGroup;
  uint32_t flags = 0;
};

// A check-in, also the first one of a new archive.
class TVPutOptions {
 public:
  enum Flag : uint32_t {
    kKeepLock = TRVS_PUT_KEEP_LOCK,
    kKeepReadOnly = TRVS_PUT_READ_ONLY,
    kBranch = TRVS_PUT_BRANCH,
    kOlder = TRVS_PUT_OLDER,
    kMoveLabel = TRVS_PUT_MOVE_LABEL,
    kAsk = TRVS_PUT_ASK_UNCHANGED,  // Together with kRefuseUnchanged.
    kRefuseUnchanged = TRVS_PUT_REFUSE_UNCHANGED,
    kPutUnchanged = TRVS_PUT_UNCHANGED,
    kAskLabel = TRVS_PUT_ASK_LABEL,
  };

  // What happens to an unchanged workfile, one of three.
  void setPutUnchanged() { setUnchanged(kPutUnchanged); }
  void setRefuseUnchanged() { setUnchanged(kRefuseUnchanged); }
  void setAskUnchanged() { setUnchanged(kRefuseUnchanged | kAsk); }
  // What becomes of the workfile: kept, writable and locked; kept, read-only; or removed.
  void setKeepLock() { setWorkfile(kKeepLock); }
  void setKeepReadOnly() { setWorkfile(kKeepReadOnly); }
  void setRemoveWorkfile() { setWorkfile(0); }
  // What happens if another revision has the version label, one of three.
  void setMoveLabel() { setLabel(kMoveLabel); }
  void setAskLabel() { setLabel(kAskLabel); }
  void setRefuseLabel() { setLabel(0); }
  // Start a branch even from a tip.
  void setBranch(VBool on);
  // Check in even a workfile that is older than the revision.
  void setOlder(VBool on);

  VString revision;
  VString text1;        // The change description.
  VString text2;        // The version label.
  VString description;  // Of the workfile; the archive keeps it.
  VString promotionGroup;
  uint32_t flags = 0;
  // For the client's own use: nothing reads them.
  VBool flag1;
  VBool flag2;
  int32_t count = 0;
  VString text5;

 private:
  void setUnchanged(uint32_t bits);
  void setWorkfile(uint32_t bits);
  void setLabel(uint32_t bits);
};

struct TVUnlockOptions {
  // What follows on the locks' removal. A check-out overwrites the workfile.
  enum Mode : int32_t {
    kUnlockOnly = 0,
    kGetReadOnly = 1,
    kGetWritable = 2,
    kGetLockedReadOnly = 3,  // The revision that was locked, not the newest one.
    kGetLockedWritable = 4,
  };

  int32_t mode = kUnlockOnly;
};

// A comparison of two contents.
class TVDiffOptions : public TVOptionsBase {
 public:
  enum Kind : int32_t { kViewer = 0, kReport = 1, kTest = 3 };
  enum Flag : uint32_t {
    kIgnoreSpace = TRVS_DIFF_IGNORE_SPACE,
    kIgnoreCase = TRVS_DIFF_IGNORE_CASE,
    kIgnoreLineEnds = TRVS_DIFF_IGNORE_LINE_ENDS,
    kNoHeading = TRVS_DIFF_NO_HEADING,
    kStored = TRVS_DIFF_STORED,
  };

  void setIgnoreSpace(VBool on) { set(kIgnoreSpace, on); }
  void setIgnoreCase(VBool on) { set(kIgnoreCase, on); }
  void setIgnoreLineEnds(VBool on) { set(kIgnoreLineEnds, on); }
  void setHeading(VBool on) { set(kNoHeading, !on); }
  void setExpandKeywords(VBool on) { set(kStored, !on); }

  VString first;       // An archive, a workfile or any file.
  VString second;      // Its revision.
  VString third;       // The other side, and
  VString fourth;      // its revision.
  VString text5;       // Columns that don't count.
  VString text6;       // Where the report goes; empty: to the sink.
  VString text7;       // Where the viewer's ranges go.
  int16_t short1 = 0;  // Tab width.
  int16_t short2 = 0;  // Lines around each difference.
  int16_t short3 = 0;  // Form of the report.
  // The viewer's colour and style for changed, added and deleted lines.
  int32_t long1 = 0;
  int16_t short4 = 0;
  int32_t long2 = 0;
  int16_t short5 = 0;
  int32_t long3 = 0;
  int16_t short6 = 0;
  int32_t testResult = 0;  // Receives the answer of kTest: 1 if the sides differ.
  uint32_t flags = 0;
  int32_t kind = kViewer;  // Any other value is kViewer as well.

 private:
  void set(uint32_t bit, bool on);
};

// A report on an archive.
class TVLogOptions {
 public:
  enum Mode : int {
    kFull = 1,
    kBrief = 2,
    kNewest = 3,
    kLabels = 4,
    kLocked = 5,
    kByAuthor = 6,
    kByDate = 7,
    kGroups = 8,
  };
  enum Flag : uint32_t {
    kOldestFirst = TRVS_LOG_OLDEST_FIRST,
    kNoHeading = TRVS_LOG_NO_HEADING,
  };

  // Revision ends without "*", and good dates. As TVOptionsBase::validate().
  [[nodiscard]] VBool validate(TVProjectFolderHandle& project, TVAlert alert) const;

  // Anything but a mode from kBrief to kGroups is kFull.
  void setMode(int mode);
  // 0 if the flags hold more than one mode, or none that is known.
  int mode() const;
  void setOldestFirst(VBool on);
  void setNoHeading(VBool on);

  VString revisionFrom;  // Empty ends are open.
  VString revisionTo;
  VString text1;  // Authors, separated by ",".
  VString text2;  // Lockers.
  VString text3;  // Version labels.
  VString text4;  // Promotion groups.
  VString text5;  // Words of the change description.
  VString dateFrom;
  VString dateTo;
  VString outputText;  // Path of the report; empty: to the sink.
  uint32_t flags = 0;
};

}  // namespace foldapi
