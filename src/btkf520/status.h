// btkf520/status.h: the codes that the toolkit's functions give and that callback 19 is told.
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
  kMisuse = 10,  // An argument that no correct program passes; nothing a user could mend.
  kCancelled = 15,
  kNoMemory = 16,
  kNoRevision = 18,
  kNestedTooDeep = 21,
  kNotAnArchive = 27,  // Or no longer one: damaged.
  kSeveralTopGroups = 35,
  kNoTopGroup = 37,
  kNoUserId = 50,
  kBadInclude = 57,
  kBadConditional = 62,
  kCannotWrite = 77,
  kCannotReadConfiguration = 107,
  kDisallowed = 109,
};

}  // namespace btkf
