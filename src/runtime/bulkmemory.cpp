// runtime/bulkmemory.cpp: pages that count what is taken from them.
//
// A page starts at a multiple of its size, so a thing leads to its page. Pages come of the system:
// in the heap what is taken between two pages would keep the room of those that went, and that of
// other alignments be lost beside them. Only what is used of a page takes memory.
// The address sanitizer is told what is taken and what is not: it knows nothing of such memory.
#include "runtime/bulkmemory.h"

#include <cstdint>
#include <new>

#include "os/pages.h"

#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(place, size) static_cast<void>(place)
#define ASAN_UNPOISON_MEMORY_REGION(place, size) static_cast<void>(place)
#endif

namespace foldapi {
namespace {

constexpr size_t kPageSize = os::kLargestPage;
constexpr size_t kLarge = kPageSize / 8;  // From here on a thing has a page of its own.
constexpr size_t kStep = 8;               // Things start at multiples of it.

struct alignas(kStep) Page {
  size_t size;
  size_t used = sizeof(Page);
  size_t things = 0;
};

constinit Page* thePage = nullptr;  // The one that is being filled.
constinit size_t thePages = 0;      // Without that one, if it is empty.

// At least one step: a thing without bytes must not start where its page ends.
constexpr size_t rounded(size_t size) {
  return size == 0 ? kStep : (size + kStep - 1) / kStep * kStep;
}

// Of what fills one page in all few things may come: it is touched as far as they go.
Page* newPage(size_t size) {
  const auto touched = thePages == 0 ? os::Touched::kInPart : os::Touched::kWhole;
  Page* const page = new (os::mapMemory(size, kPageSize, touched)) Page{.size = size};
  ASAN_POISON_MEMORY_REGION(page + 1, size - sizeof(Page));
  return page;
}

void* takeFrom(Page* page, size_t size) {
  if (page->things++ == 0) ++thePages;
  char* const place = reinterpret_cast<char*>(page) + page->used;
  ASAN_UNPOISON_MEMORY_REGION(place, size);
  page->used += rounded(size);
  return place;
}

}  // namespace

void* BulkMemory::take(size_t size) {
  if (size >= kLarge) {
    if (size > SIZE_MAX - kPageSize) throw std::bad_alloc();
    return takeFrom(newPage(sizeof(Page) + rounded(size)), size);
  }
  if (thePage == nullptr || thePage->used + rounded(size) > kPageSize) {
    thePage = nullptr;  // It holds something, else it would have room, and goes with that.
    thePage = newPage(kPageSize);
  }
  return takeFrom(thePage, size);
}

void BulkMemory::give(void* place, size_t size) noexcept {
  auto* const page = reinterpret_cast<Page*>(reinterpret_cast<uintptr_t>(place) & ~(kPageSize - 1));
  ASAN_POISON_MEMORY_REGION(place, size);
  const size_t start =
      static_cast<size_t>(static_cast<char*>(place) - reinterpret_cast<char*>(page));
  if (page->used == start + rounded(size)) page->used = start;
  if (--page->things != 0) return;
  --thePages;
  if (page == thePage) {
    page->used = sizeof(Page);
  } else {
    const size_t whole = page->size;
    ASAN_UNPOISON_MEMORY_REGION(page, whole);  // Others may get these addresses.
    os::unmapMemory(page, whole);
  }
}

size_t BulkMemory::pagesInUse() { return thePages; }

}  // namespace foldapi
