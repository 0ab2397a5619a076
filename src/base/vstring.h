// base/vstring.h: VString, the text value that every interface passes and returns by value.
//
// Bytes, not characters: a text may hold any byte but NUL, in whatever encoding the data files use.
// Copies are independent of each other. Characters by index are for clients alone.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/vbool.h"

namespace foldapi {

class VString {
 public:
  VString() = default;
  VString(const char* text) : text_(text == nullptr ? "" : text) {}  // A null is an empty text.
  VString(std::string text) : text_(std::move(text)) {}
  VString(std::string_view text) : text_(text) {}

  // Formats as printf does.
  static VString format(const char* format, ...) __attribute__((format(printf, 1, 2)));

  // Never null. Good until the text changes or is destroyed.
  const char* text() const { return text_.c_str(); }
  std::string_view view() const { return text_; }
  const std::string& str() const { return text_; }
  size_t length() const { return text_.size(); }
  bool isEmpty() const { return text_.empty(); }

  VString& append(std::string_view more) {
    text_.append(more);
    return *this;
  }
  VString& append(char c) {
    text_.push_back(c);
    return *this;
  }
  void truncate(size_t length) {
    if (length < text_.size()) text_.resize(length);
  }
  void clear() { text_.clear(); }

  // The byte at `index`, 0xff past the end.
  unsigned char charAt(size_t index) const {
    return index < text_.size() ? static_cast<unsigned char>(text_[index]) : 0xff;
  }
  // Ignored for a negative index or one past the end.
  void setCharAt(int index, char c);
  bool contains(char c) const { return text_.find(c) != std::string::npos; }
  // Drops trailing white space and tells whether text remains.
  VBool trimRight();

  // Below, at or above 0, as strcmp() orders bytes.
  int compare(const VString& other) const { return text_.compare(other.text_); }
  bool operator==(const VString& other) const = default;

  // The weak hash that decides the order of objects in a table, and so of records on disk: the sum
  // of the low 7 bits of every other byte. Kept as it is.
  int32_t hash() const { return hashText(text_); }
  static int32_t hashText(std::string_view text);

 protected:
  std::string text_;
};

inline VString operator+(const VString& a, const VString& b) { return VString(a.str() + b.str()); }

// Orders two texts without regard to the case of A to Z: both are folded to lower case.
int compareNoCase(std::string_view a, std::string_view b);
// Whether A to Z count as a to z when texts are compared.
enum class VCase { kIgnored, kExact };
int compareText(std::string_view a, std::string_view b, VCase letterCase);

}  // namespace foldapi
