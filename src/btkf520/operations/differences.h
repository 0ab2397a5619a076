// btkf520/operations/differences.h: what two files or revisions differ in.
#pragma once

#include <cstdint>

#include "btkf520/btkf520.h"

namespace btkf {

// Any pointer may be null, which is the same as an empty text. The meaning of the fields, and the
// statuses, are told in btkf520.h.
struct DifferenceRequest {
  const char* first = nullptr;
  const char* firstRevision = nullptr;
  const char* second = nullptr;
  const char* secondRevision = nullptr;
  int16_t tabWidth = 0;
  const char* columns = nullptr;
  uint32_t flags = 0;  // TRVS_DIFF_...
};

// *differ is true if they differ in anything that counts.
[[nodiscard]] TrvsStatus testDifferences(const DifferenceRequest& request, bool* differ);

// A unified report. `context` -1: all lines.
[[nodiscard]] TrvsStatus reportDifferences(const DifferenceRequest& request, const char* output,
                                           int context);

// What a viewer colours its texts with: handed on as it stands.
struct Colour {
  int32_t colour = 0;
  int16_t style = 0;
};

// The ranges of lines, for a program that shows both texts.
[[nodiscard]] TrvsStatus listDifferences(const DifferenceRequest& request, const char* output,
                                         const Colour (&colours)[3]);

}  // namespace btkf
