// btkf520/operations/checkout.h: checking out a revision to a workfile.
#pragma once

#include <cstdint>

#include "btkf520/btkf520.h"

namespace btkf {

// Any pointer may be null, which is the same as an empty text.
struct CheckOutRequest {
  const char* archive = nullptr;  // Target.
  const char* revision = nullptr;
  const char* cutoffDate = nullptr;  // Nothing newer than this.
  const char* newerThan = nullptr;   // Nothing as old as this; with TRVS_GET_IF_NEWER.
  const char* group = nullptr;
  uint32_t flags = 0;          // TRVS_GET_...
  const char* note = nullptr;  // Of the lock.
};

// Writes a revision to the workfile. The statuses are told in btkf520.h.
[[nodiscard]] TrvsStatus checkOut(const CheckOutRequest& request);

}  // namespace btkf
