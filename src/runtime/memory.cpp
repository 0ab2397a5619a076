// runtime/memory.cpp: one retry loop beneath every allocation.
#include "runtime/memory.h"

#include <cstdlib>
#include <cstring>

namespace foldapi {
namespace {

constexpr Heap kCHeap = {std::realloc, std::free};

constinit const Heap* theHeap = &kCHeap;
constinit LowMemoryHandler theHandler = nullptr;
constinit unsigned theSettings = 0;

}  // namespace

LowMemoryHandler SetLowMemoryHandler(LowMemoryHandler handler) {
  const LowMemoryHandler old = theHandler;
  theHandler = handler;
  ++theSettings;
  return old;
}

LowMemoryHandler GetLowMemoryHandler() { return theHandler; }

unsigned LowMemoryHandlerSettings() { return theSettings; }

void SetHeap(const Heap* heap) { theHeap = heap == nullptr ? &kCHeap : heap; }

void* RetryRealloc(void* block, size_t size) {
  // A heap may answer a size of 0 with null, which is no failure to a caller.
  const size_t asked = size == 0 ? 1 : size;
  uint16_t attempt = 0;
  for (;;) {
    void* const result = theHeap->reallocate(block, asked);
    if (result != nullptr) return result;
    ++attempt;
    if (theHandler == nullptr || theHandler(static_cast<int16_t>(attempt)) == 0) return nullptr;
  }
}

void* RetryMalloc(size_t size) { return RetryRealloc(nullptr, size); }

void* RetryCalloc(size_t count, size_t size) {
  size_t total;
  if (__builtin_mul_overflow(count, size, &total)) return nullptr;
  void* const block = RetryMalloc(total);
  if (block != nullptr) std::memset(block, 0, total);
  return block;
}

void FreeBlock(void* block) { theHeap->free(block); }

char* DuplicateString(const char* text) {
  if (text == nullptr) return nullptr;
  const size_t size = std::strlen(text) + 1;
  auto* const copy = static_cast<char*>(RetryMalloc(size));
  if (copy != nullptr) std::memcpy(copy, text, size);
  return copy;
}

}  // namespace foldapi
