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
  // The lower `width` bytes of `value`.
  void putFixed(uint64_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
      bytes_ += static_cast<char>(value >> shift & 0xFF);
    }
  }
  void put(uint64_t value) {
    for (; value >= 0x80; value >>= 7) bytes_ += static_cast<char>(value | 0x80);
    bytes_ += static_cast<char>(value);
  }
  // With its length ahead.
  void put(std::string_view text) {
    put(text.size());
    bytes_ += text;
  }
  void putRaw(std::string_view bytes) { bytes_ += bytes; }

  const std::string& bytes() const { return bytes_; }
  std::string take() { return std::move(bytes_); }

 private:
  std::string bytes_;
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
    uint64_t value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      const std::string_view byte = raw(1);
      if (byte.empty()) return 0;
      const uint64_t bits = static_cast<uint8_t>(byte[0]) & 0x7F;
      if (bits << shift >> shift != bits) break;
      value |= bits << shift;
      if ((static_cast<uint8_t>(byte[0]) & 0x80) == 0) {
        if (value <= largest) return value;
        break;
      }
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
  std::string text() { return std::string(raw(static_cast<size_t>(number(bytes_.size())))); }

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
