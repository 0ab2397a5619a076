// os/pages_posix.cpp: memory on Linux, which gives large pages to those who ask.
#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#include "os/pages.h"

namespace os {
namespace {

constexpr size_t kLargePage = 2 << 20;

}  // namespace

void* allocateMemory(size_t size) {
  if (size > PTRDIFF_MAX - kLargePage) throw std::bad_alloc();
  const size_t wholePages = (size + kLargePage - 1) / kLargePage * kLargePage;
  const bool isWide = size >= 2 * kLargePage;
  void* const memory =
      isWide ? std::aligned_alloc(kLargePage, wholePages) : std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  if (isWide) ::madvise(memory, wholePages, MADV_HUGEPAGE);
  return memory;
}

void freeMemory(void* memory) { std::free(memory); }

}  // namespace os
