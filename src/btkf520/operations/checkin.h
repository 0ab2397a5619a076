// btkf520/operations/checkin.h: creating archives and checking in workfiles.
#pragma once

#include <cstdint>

#include "btkf520/archive/model.h"
#include "btkf520/btkf520.h"

namespace btkf {

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

// Makes an archive without revisions. `owner` null: the present user; `time` 0: the present.
[[nodiscard]] TrvsStatus createArchive(const char* archive, const char* workfile,
                                       const char* description, const char* owner, PackedTime time);

}  // namespace btkf
