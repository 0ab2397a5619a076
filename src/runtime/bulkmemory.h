// runtime/bulkmemory.h: memory for small things that come by the ten thousand and go together, as
// the records of a data file do.
//
// Things fill a page from its start to its end, and the page goes when all of them have been given
// back: one that is held keeps its page. Nothing in a page is used again before that, but for what
// was taken last: a record that turns out to be known leaves no hole.
#pragma once

#include <cstddef>

namespace foldapi {

class BulkMemory {
 public:
  // Aligned for pointers and 64-bit numbers. To be given back with the same size. Throws
  // std::bad_alloc.
  static void* take(size_t size);
  static void give(void* place, size_t size) noexcept;

  // How many pages there are, without one that is kept empty for the next things.
  static size_t pagesInUse();
};

}  // namespace foldapi
