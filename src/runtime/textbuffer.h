// runtime/textbuffer.h: TextBuffer, a growing text that is not filled with zeros before a file is
// read into it: for large data files that costs as much as the read.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

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
    if (capacity <= capacity_) return;
    std::unique_ptr<char[]> grown(new char[capacity]);
    if (size_ != 0) std::memcpy(grown.get(), bytes_.get(), size_);
    bytes_ = std::move(grown);
    capacity_ = capacity;
  }
  // The bytes up to `size` are there already; it is at most what was reserved.
  void setSize(size_t size) { size_ = size; }

  void append(std::string_view more) {
    if (more.empty()) return;
    if (more.size() > capacity_ - size_) reserve(std::max(size_ + more.size(), capacity_ * 2));
    std::memcpy(bytes_.get() + size_, more.data(), more.size());
    size_ += more.size();
  }

 private:
  std::unique_ptr<char[]> bytes_;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

}  // namespace foldapi
