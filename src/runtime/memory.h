// runtime/memory.h: allocation that gives the program a chance to free memory and tries again.
//
// All blocks are given back by FreeBlock() or FreeAndClear(). For programs that must survive an
// empty heap with blocks of their own; the library itself allocates with new.
#pragma once

#include <cstddef>
#include <cstdint>

namespace foldapi {

// Called when the heap is empty, with 1 for the first failure of an allocation, then 2, and so on.
// Gives 0 if nothing could be freed: the allocation then fails. Otherwise it is tried again.
using LowMemoryHandler = int16_t (*)(int16_t attempt);

// Gives the old handler; null, as at the start, is none.
LowMemoryHandler SetLowMemoryHandler(LowMemoryHandler handler);
LowMemoryHandler GetLowMemoryHandler();
// How often a handler was set.
unsigned LowMemoryHandlerSettings();

// Null when the heap is empty and the handler has given up.
[[nodiscard]] void* RetryMalloc(size_t size);
[[nodiscard]] void* RetryCalloc(size_t count, size_t size);  // Filled with zeros.
[[nodiscard]] void* RetryRealloc(void* block, size_t size);  // On failure `block` stays as it was.
void FreeBlock(void* block);                                 // Null is allowed.

// Frees *block and makes it null, unless it is.
template <typename T>
void FreeAndClear(T** block) {
  if (*block == nullptr) return;
  FreeBlock(*block);
  *block = nullptr;
}

// A copy of `text`; null for null or when out of memory.
[[nodiscard]] char* DuplicateString(const char* text);

// Where blocks come from. A program may put its own in place before the first allocation; null
// brings back the C heap. Not copied.
struct Heap {
  void* (*reallocate)(void* block, size_t size);  // Also makes a new block, of null.
  void (*free)(void* block);
};
void SetHeap(const Heap* heap);

}  // namespace foldapi
