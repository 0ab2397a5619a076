// core/prefetch.h: memory on its way to the processor before it is needed.
//
// The objects of a large project lie all over the memory, in no order that a walk or a sort meets
// them in, and waiting for one after the other is most of what these do. So a loop asks for an
// object some rounds before its turn.
#pragma once

#include <cstddef>

namespace foldapi {

constexpr size_t kRoundsAhead = 8;

// Any address will do, also one where nothing is.
inline void prefetch(const void* place) { __builtin_prefetch(place); }

// An object, and what stands after it: members have their names there.
inline void prefetchObject(const void* object) {
  constexpr size_t kLine = 64;
  const auto* const place = static_cast<const char*>(object);
  for (size_t line = 0; line < 3; ++line) prefetch(place + line * kLine);
}

}  // namespace foldapi
