// btkf520/archive/bytes.h: memory for contents, which may be wide.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <string_view>
#include <utility>

#include "os/pages.h"

namespace btkf {

// Takes bytes piece by piece, in order; false if it can take no more. A piece is good until it
// returns.
using BytesSink = std::function<bool(std::string_view)>;

// Bytes of a size that is settled once. Unlike a string's they start with any value, so that a
// gigabyte that is about to be filled is not written twice. Moved, never copied.
class Bytes {
 public:
  Bytes() = default;
  // Throws std::bad_alloc, also where a claimed size is more than this machine can address.
  explicit Bytes(uint64_t size) : size_(static_cast<size_t>(size)) {
    if (size_ != size) throw std::bad_alloc();
    memory_ = os::Memory(size_);
  }
  Bytes(Bytes&& other) noexcept { *this = std::move(other); }
  Bytes& operator=(Bytes&& other) noexcept {
    memory_ = std::move(other.memory_);
    size_ = std::exchange(other.size_, 0);
    return *this;
  }

  char* data() { return memory_.data(); }
  const char* data() const { return memory_.data(); }
  size_t size() const { return size_; }
  std::string_view view() const { return {data(), size_}; }
  // Forgets the bytes from `size` on, and gives back their memory if that is most of it.
  void shrink(size_t size) {
    if (size < size_ / 2) {
      Bytes less(size);
      std::copy_n(data(), size, less.data());
      *this = std::move(less);
    }
    size_ = size;
  }

 private:
  os::Memory memory_;
  size_t size_ = 0;
};

}  // namespace btkf
