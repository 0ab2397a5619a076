// os/pages.cpp: which memory stays with the process, and how much of it is ordinary.
#include "os/pages.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

#include "os/widepieces.h"

namespace os {
namespace {

struct Piece {
  void* place = nullptr;
  size_t size = 0;
};

// What stays with the process, in pieces of few sizes.
class Pool {
 public:
  // That of the piece for `size` bytes.
  static size_t sizeOf(size_t size) {
    if (size < kLeast) return size;
    const size_t step = std::bit_ceil(size) / 8;
    return (size + step - 1) / step * step;
  }

  // Null if there is none.
  void* take(size_t size) {
    if (size < kLeast) return nullptr;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Piece& each : pieces_) {
      if (each.size != size) continue;
      kept_ -= size;
      return std::exchange(each, {}).place;
    }
    return nullptr;
  }

  // Whether it is kept.
  bool keep(void* place, size_t size) {
    if (size < kLeast) return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (kept_ + size > kMost) return false;
    for (Piece& each : pieces_) {
      if (each.place != nullptr) continue;
      each = {place, size};
      kept_ += size;
      return true;
    }
    return false;
  }

 private:
  static constexpr size_t kLeast = 64 << 10;
  static constexpr size_t kMost = 8 << 20;

  std::mutex mutex_;
  std::array<Piece, 16> pieces_{};
  size_t kept_ = 0;
};

// Never destroyed, as the spares below: calls late in a process's life still find them.
Pool& pool() {
  static auto* const pool = new Pool;
  return *pool;
}

}  // namespace

void* takeAgain(size_t size) {
  const size_t whole = Pool::sizeOf(size);
  void* const kept = pool().take(whole);
  void* const place = kept != nullptr ? kept : std::malloc(whole > 0 ? whole : 1);
  if (place == nullptr) throw std::bad_alloc();
  return place;
}

void giveBack(void* place, size_t size) noexcept {
  if (!pool().keep(place, Pool::sizeOf(size))) std::free(place);
}

// Ordinary memory of wide pieces that nobody uses at present.
class Memory::Spares {
 public:
  void addUser() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++users_;
  }
  void removeUser() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (--users_ == 0) freeAll();
  }

  // False if it is not kept.
  bool keep(void* place, size_t size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (users_ == 0) return false;
    for (Piece& each : pieces_) {
      if (each.place != nullptr) continue;
      each = {place, size};
      return true;
    }
    return false;
  }

  // Null if none fits. *size becomes that of the piece.
  void* take(size_t* size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Piece& each : pieces_) {
      if (each.size < *size || each.size / 2 > *size) continue;
      *size = each.size;
      return std::exchange(each, {}).place;
    }
    return nullptr;
  }

  void clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    freeAll();
  }

 private:
  void freeAll() {
    for (Piece& each : pieces_) {
      std::free(each.place);
      ordinary_ -= std::exchange(each, {}).size;
    }
  }

  std::mutex mutex_;
  std::array<Piece, 8> pieces_{};
  int users_ = 0;
};

Memory::Spares& Memory::spares() {
  static auto* const spares = new Spares;
  return *spares;
}

Memory::Reuse::Reuse() { spares().addUser(); }
Memory::Reuse::~Reuse() { spares().removeUser(); }

// Counts a wide piece. False if it is beyond the limit.
bool Memory::takeOrdinary(size_t size) {
  if (ordinary_.fetch_add(size) + size <= mostOrdinary) return true;
  spares().clear();
  return ordinary_ <= mostOrdinary;
}

Memory::Memory(size_t size) : size_(size) {
  if (size > PTRDIFF_MAX - kLargestPage) throw std::bad_alloc();
  place_ = size < kWide ? takeAgain(size) : spares().take(&size_);
  if (place_ != nullptr) return;
  const bool isTooMuch = !takeOrdinary(size);
  if (isTooMuch) place_ = mapNamelessFile(size);
  isMapped_ = place_ != nullptr;
  if (isMapped_) ordinary_ -= size;
  if (!isMapped_ && !(isTooMuch && isMemoryShort(size))) place_ = allocateWide(size);
  if (place_ != nullptr) return;
  ordinary_ -= size;
  throw std::bad_alloc();
}

Memory::~Memory() {
  if (isMapped_) {
    unmapNamelessFile(place_, size_);
    return;
  }
  if (size_ < kWide) {
    giveBack(place_, size_);
  } else if (!spares().keep(place_, size_)) {
    std::free(place_);
    ordinary_ -= size_;
  }
}

}  // namespace os
