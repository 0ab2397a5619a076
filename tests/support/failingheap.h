// support/failingheap.h: the program's operator new, which serves the libraries as well, fails
// where a test says so. To be included by one source of a program.
#pragma once

#include <cstdlib>
#include <new>

namespace support {

// Whether this allocation fails; null for none.
inline bool (*allocationFails)(size_t size) = nullptr;
// Where operator new has its memory from. For a program whose malloc() fails as well.
inline void* (*heap)(size_t size) = std::malloc;

}  // namespace support

// All out of line: where only one of a pair is inlined, compilers see a mismatch.
[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept {
  const bool fails = support::allocationFails != nullptr && support::allocationFails(size);
  return fails ? nullptr : support::heap(size != 0 ? size : 1);
}
[[gnu::noinline]] void* operator new(size_t size) {
  void* const memory = operator new(size, std::nothrow);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
[[gnu::noinline]] void* operator new(size_t size, std::align_val_t alignment) {
  if (support::allocationFails != nullptr && support::allocationFails(size)) throw std::bad_alloc();
  const auto step = static_cast<size_t>(alignment);
  void* const memory = std::aligned_alloc(step, (size + step - 1) / step * step);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept { std::free(memory); }
