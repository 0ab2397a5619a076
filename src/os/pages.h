// os/pages.h: memory for what may be wide.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace os {

// Memory for what an operation makes anew each time: a few megabytes of what is given back stay
// with the process, since new memory takes time to clear. May throw std::bad_alloc. To be given
// back with the size that was asked for.
void* takeAgain(size_t size);
void giveBack(void* place, size_t size) noexcept;

// The same for a container.
template <typename Element>
struct AgainAllocator {
  using value_type = Element;

  AgainAllocator() = default;
  template <typename Other>
  AgainAllocator(const AgainAllocator<Other>&) {}

  Element* allocate(size_t count) {
    return static_cast<Element*>(takeAgain(count * sizeof(Element)));
  }
  void deallocate(Element* place, size_t count) noexcept {
    giveBack(place, count * sizeof(Element));
  }
  bool operator==(const AgainAllocator&) const = default;
};

constexpr size_t kLargestPage = 2 << 20;

// Memory beside the heap, of any value at first, and in use as far as it was touched. What will be
// touched whole is in large pages, as far as it is that large and the system has them. It starts at
// a multiple of `alignment`, a power of two of 64 KB or more. Throws std::bad_alloc. To be given
// back with its size.
enum class Touched { kInPart, kWhole };
void* mapMemory(size_t size, size_t alignment, Touched touched);
void unmapMemory(void* place, size_t size) noexcept;

// For a container that may be wide: from a large page on it is mapped.
template <typename Element>
struct WideAllocator {
  using value_type = Element;

  WideAllocator() = default;
  template <typename Other>
  WideAllocator(const WideAllocator<Other>&) {}

  Element* allocate(size_t count) {
    if (count > PTRDIFF_MAX / sizeof(Element)) throw std::bad_alloc();
    const size_t size = count * sizeof(Element);
    return static_cast<Element*>(size < kLargestPage
                                     ? ::operator new(size)
                                     : mapMemory(size, kLargestPage, Touched::kWhole));
  }
  void deallocate(Element* place, size_t count) noexcept {
    const size_t size = count * sizeof(Element);
    if (size < kLargestPage) {
      ::operator delete(place);
    } else {
      unmapMemory(place, size);
    }
  }
  bool operator==(const WideAllocator&) const = default;
};

// Memory of a size that is settled once, of any value at first. Moved, never copied.
//
// Ordinary memory is the process's until it gives it back, and when all have too much of it some
// process is ended. So the process has a limit of it for all its wide pieces together, which come
// in large pages where the system has them. What is wide beyond that limit is a nameless file that
// is mapped: the system writes it out and takes its pages back when it needs them. The file lies in
// $TMPDIR, else in /var/tmp, on a disk in any case. All the room for it is taken at the start,
// since a disk that is found full later would end the process. Where no such file can be had it is
// ordinary memory after all.
class Memory {
 public:
  // From here on pieces are wide. Narrower ones don't count, and come of takeAgain().
  static constexpr size_t kWide = 1 << 20;
  // Ordinary memory in wide pieces. To be set by tests alone.
  static inline std::atomic<size_t> mostOrdinary = 64 << 20;

  Memory() = default;
  // Throws std::bad_alloc, also where ordinary memory would be needed and the system has not as
  // much.
  explicit Memory(size_t size);
  Memory(Memory&& other) noexcept { swap(other); }
  Memory& operator=(Memory&& other) noexcept {
    Memory taken(std::move(other));  // What was here goes with it.
    swap(taken);
    return *this;
  }
  ~Memory();

  char* data() const { return static_cast<char*>(place_); }
  // Whether it is a file.
  bool isMapped() const { return isMapped_; }

  // As long as an object of this lives, ordinary memory of wide pieces that is given back is kept
  // for the next ones: new memory takes time to clear. It counts as in use, but makes room for
  // pieces that it doesn't fit.
  class Reuse {
   public:
    Reuse();
    Reuse(const Reuse&) = delete;
    Reuse& operator=(const Reuse&) = delete;
    ~Reuse();
  };

 private:
  void swap(Memory& other) noexcept {
    std::swap(place_, other.place_);
    std::swap(size_, other.size_);
    std::swap(isMapped_, other.isMapped_);
  }

  class Spares;

  static Spares& spares();
  static bool takeOrdinary(size_t size);

  static inline std::atomic<size_t> ordinary_ = 0;  // In use, of all wide pieces.

  void* place_ = nullptr;
  size_t size_ = 0;  // Or more than was asked for.
  bool isMapped_ = false;
};

}  // namespace os
