// archivefile/bytecodec.h: numbers and texts to bytes and back.
//
// Numbers of fixed width are big-endian. Others take as many bytes as they need, seven bits in each
// from the lowest on, with the top bit set in all but the last.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace archivefile {

class ByteWriter {
 public:
  // Room for as many bytes is made at once.
  explicit ByteWriter(size_t expected = 0) : bytes_(expected, '\0') {}

  // The lower `width` bytes of `value`.
  void putFixed(uint64_t value, size_t width) {
    char* const to = room(width);
    for (size_t place = width; place-- > 0; value >>= 8) to[place] = static_cast<char>(value);
    size_ += width;
  }
  void put(uint64_t value) {
    char* to = room(kLongestNumber);
    for (; value >= 0x80; value >>= 7, ++size_) *to++ = static_cast<char>(value | 0x80);
    *to = static_cast<char>(value);
    ++size_;
  }
  // With its length ahead.
  void put(std::string_view text) {
    put(text.size());
    putRaw(text);
  }
  void putRaw(std::string_view bytes) {
    bytes.copy(room(bytes.size()), bytes.size());
    size_ += bytes.size();
  }

  std::string_view bytes() const { return {bytes_.data(), size_}; }
  std::string take() {
    bytes_.resize(size_);
    return std::move(bytes_);
  }

 private:
  static constexpr size_t kLongestNumber = 10;

  // Where as many bytes may be put next.
  char* room(size_t size) {
    if (bytes_.size() - size_ < size) bytes_.resize(2 * bytes_.size() + size);
    return bytes_.data() + size_;
  }

  std::string bytes_;  // Longer than what was put.
  size_t size_ = 0;
};

// Reads from bytes that must outlive it. The first read of something that is not there fails, and
// so do all others from then on; what failed reads give is 0 and empty.
class ByteReader {
 public:
  // `mostThings` may be counted by all counts together.
  explicit ByteReader(std::string_view bytes, size_t mostThings = SIZE_MAX)
      : bytes_(bytes), thingsLeft_(mostThings) {}

  bool isGood() const { return isGood_; }
  bool isAtEnd() const { return bytes_.empty(); }
  size_t left() const { return bytes_.size(); }

  std::string_view raw(size_t size) {
    if (!isGood_ || size > bytes_.size()) {
      fail();
      return {};
    }
    const std::string_view result = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return result;
  }

  uint64_t fixed(size_t width) {
    uint64_t value = 0;
    for (const char byte : raw(width)) value = value << 8 | static_cast<uint8_t>(byte);
    return value;
  }

  // Fails for a number above `largest`, too.
  uint64_t number(uint64_t largest = UINT64_MAX) {
    // Most are small.
    const uint64_t first = bytes_.empty() ? UINT64_MAX : static_cast<uint8_t>(bytes_.front());
    if (first < 0x80 && first <= largest) {
      bytes_.remove_prefix(1);
      return first;
    }
    uint64_t value = 0;
    size_t place = 0;
    for (int shift = 0; shift < 64 && place < bytes_.size(); shift += 7) {
      const auto byte = static_cast<uint8_t>(bytes_[place++]);
      const uint64_t bits = byte & 0x7F;
      if (bits << shift >> shift != bits) break;
      value |= bits << shift;
      if (byte < 0x80 && value <= largest) {
        bytes_.remove_prefix(place);
        return value;
      }
      if (byte < 0x80) break;
    }
    fail();
    return 0;
  }
  uint32_t number32(uint32_t largest = UINT32_MAX) {
    return static_cast<uint32_t>(number(largest));
  }
  // How many things follow of which each takes a byte or more, so that nobody makes room for more
  // than there can be.
  size_t count() {
    const auto things = static_cast<size_t>(number(std::min(bytes_.size(), thingsLeft_)));
    thingsLeft_ -= things;
    return things;
  }
  // One with its length ahead.
  std::string_view view() { return raw(static_cast<size_t>(number(bytes_.size()))); }
  std::string text() { return std::string(view()); }

  // Refuses what was read: nothing more comes.
  void fail() {
    isGood_ = false;
    bytes_ = {};
  }

 private:
  std::string_view bytes_;
  size_t thingsLeft_;
  bool isGood_ = true;
};

}  // namespace archivefile
