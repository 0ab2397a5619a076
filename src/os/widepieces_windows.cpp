// os/widepieces_windows.cpp: memory on Windows, which hands out no more than it has room for, and
// moves what nobody uses to its paging file by itself.
#include <malloc.h>

#include <cstdlib>
#include <new>

#include "os/pages.h"
#include "os/widepieces.h"

namespace os {

// Of the heap, which gives large pieces back by itself.
void* mapMemory(size_t size, size_t alignment, Touched /*touched*/) {
  void* const place = _aligned_malloc(size, alignment);
  if (place == nullptr) throw std::bad_alloc();
  return place;
}

void unmapMemory(void* place, size_t /*size*/) noexcept { _aligned_free(place); }

void* allocateWide(size_t size) { return std::malloc(size); }

void* mapNamelessFile(size_t /*size*/) { return nullptr; }

void unmapNamelessFile(void* /*place*/, size_t /*size*/) {}

bool isMemoryShort(size_t /*size*/) { return false; }

}  // namespace os
