// btkf520/archive/status.h: the codes that the toolkit's functions give and that callbacks are
// told.
//
// Clients turn a code into a text; the toolkit itself has none. Only codes in use stand here.
#pragma once

#include <cstdint>

namespace btkf {

enum Status : int32_t {
  kDone = 0,
  kInternalError = 1,
  kNoArchive = 2,
  kArchiveExists = 3,
  kInvalidLine = 4,
  kCannotOpen = 5,
  kInUse = 6,
  kBufferTooSmall = 8,
  kBadName = 9,  // Of a file, a label or a group: empty, or nowhere.
  kMisuse = 10,  // An argument that no correct program passes; nothing a user could mend.
  kNoSuchLabel = 11,
  kLabelExists = 12,
  kNoAccess = 13,
  kLocked = 14,
  kCancelled = 15,
  kNoMemory = 16,
  kBadDate = 17,
  kNoRevision = 18,
  kBadNumber = 19,
  kNoRevisions = 20,
  kNestedTooDeep = 21,
  kSameNames = 22,
  kWouldOverwrite = 24,
  kNotAnArchive = 27,  // Or no longer one: damaged.
  kCannotLock = 29,
  kNoLock = 30,
  kNoWorkfile = 32,
  kCannotPromote = 34,
  kSeveralTopGroups = 35,
  kNoHigherGroup = 36,
  kNoTopGroup = 37,   // Of a promotion model,
  kNoSuchGroup = 37,  // or a group that the model doesn't have.
  kBusyArchive = 38,  // Callback 3 only: the archive is in use.
  kGroupInTheWay = 40,
  kNoGroupRevision = 41,
  kNoJournal = 43,
  kNeedsDevelopmentGroup = 45,
  kGroupLocked = 46,
  kWouldBranch = 47,
  kOtherBranch = 49,
  kNoUserId = 50,
  kOlder = 51,
  kUnchanged = 52,
  kBadInclude = 57,
  kBadColumns = 60,
  kBadConditional = 62,
  kCannotWrite = 77,
  kHasBranches = 78,
  kNotInAccessList = 95,
  kTriggerRefused = 103,
  kTriggerFailed = 106,
  kCannotReadConfiguration = 107,
  kDisallowed = 109,
};

}  // namespace btkf
