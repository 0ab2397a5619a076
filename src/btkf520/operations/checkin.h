// btkf520/operations/checkin.h: creating archives and checking in workfiles.
#pragma once

#include <cstdint>

#include "btkf520/archive/model.h"
#include "btkf520/btkf520.h"

namespace btkf {

// What an archive is to be that is not there yet. The last three may be null or 0: no description,
// the present user, the present time.
struct NewArchive {
  const char* archive = nullptr;  // Path texts.
  const char* workfile = nullptr;
  const char* description = nullptr;
  const char* owner = nullptr;
  PackedTime time = 0;
};

// Any pointer may be null, which is the same as an empty text.
struct CheckInRequest {
  const char* archive = nullptr;      // Target.
  const char* revision = nullptr;     // The parent, or the number of the new revision.
  const char* label = nullptr;        // A version label for it.
  const char* description = nullptr;  // Of the archive; null leaves it.
  const char* change = nullptr;
  const char* group = nullptr;   // A development group.
  const char* author = nullptr;  // Null: the present user.
  PackedTime time = 0;           // 0: the present time.
  uint32_t flags = 0;            // TRVS_PUT_...
};

// Makes a revision from a workfile. The statuses are told in btkf520.h.
[[nodiscard]] TrvsStatus checkIn(const CheckInRequest& request);

// Makes an archive without revisions.
[[nodiscard]] TrvsStatus createArchive(const NewArchive& wanted);

// The same with its first revision, in one step: with any status but TRVS_DONE there is no archive.
// The archive's names and description stand in `wanted`, and count for nothing in `first`.
[[nodiscard]] TrvsStatus createWithRevision(const NewArchive& wanted, const CheckInRequest& first);

}  // namespace btkf
