// btkf520/operations/report.h: what happened in an archive, for people.
//
// The forms and an example of each are in docs/reports.md.
#pragma once

#include <cstdint>

#include "btkf520/btkf520.h"

namespace btkf {

// Any pointer may be null, which is the same as an empty text. Those that pick revisions all must
// agree. Lists are separated by ",".
struct ReportRequest {
  const char* archive = nullptr;
  const char* revisions = nullptr;  // As RevisionRange takes it.
  const char* authors = nullptr;
  const char* lockers = nullptr;
  const char* labels = nullptr;
  const char* groups = nullptr;
  const char* words = nullptr;  // In the change description, case-blind, all of it.
  const char* dates = nullptr;  // "from*to".
  const char* output = nullptr;
  uint32_t flags = 0;  // TRVS_LOG_...
};

[[nodiscard]] TrvsStatus reportLog(const ReportRequest& request);

}  // namespace btkf
