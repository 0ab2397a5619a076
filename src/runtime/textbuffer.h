// runtime/textbuffer.h: TextBuffer, a growing text that is not filled with zeros before a file is
// read into it: for large data files that costs as much as the read.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "os/pages.h"

namespace foldapi {

class TextBuffer {
 public:
  std::string_view view() const { return {bytes_.get(), size_}; }
  size_t size() const { return size_; }
  bool isEmpty() const { return size_ == 0; }
  char* data() { return bytes_.get(); }

  void clear() { size_ = 0; }

  // Makes room for `capacity` bytes in all. Throws std::bad_alloc, and is then as it was.
  void reserve(size_t capacity) {
    if (capacity <= this->capacity()) return;
    Bytes grown(Allocator().allocate(capacity), {capacity});
    if (size_ != 0) std::memcpy(grown.get(), bytes_.get(), size_);
    bytes_ = std::move(grown);
  }
  // The bytes up to `size` are there already; it is at most what was reserved.
  void setSize(size_t size) { size_ = size; }

  // All of them or, where that throws, none.
  void append(std::initializer_list<std::string_view> pieces) {
    size_t size = size_;
    for (const std::string_view each : pieces) size += each.size();
    if (size > capacity()) reserve(std::max(size, capacity() * 2));
    for (const std::string_view each : pieces) size_ += each.copy(data() + size_, each.size());
  }
  void append(std::string_view more) { append({more}); }

 private:
  using Allocator = os::WideAllocator<char>;
  struct GiveBack {
    size_t capacity;  // 0 where nothing is.
    void operator()(char* bytes) const { Allocator().deallocate(bytes, capacity); }
  };
  using Bytes = std::unique_ptr<char[], GiveBack>;

  size_t capacity() const { return bytes_.get_deleter().capacity; }

  Bytes bytes_;
  size_t size_ = 0;
};

}  // namespace foldapi
