// btkf520/operations/linediff.h: which lines of two texts differ.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "btkf520/archive/bytes.h"
#include "btkf520/operations/linerules.h"

namespace btkf {

// Numbers in memory that may be wide, of any value at first.
template <typename Number>
class NumberArray {
 public:
  NumberArray() = default;
  explicit NumberArray(size_t size) : bytes_(uint64_t{size} * sizeof(Number)) {}

  Number* data() { return reinterpret_cast<Number*>(bytes_.data()); }
  const Number* data() const { return reinterpret_cast<const Number*>(bytes_.data()); }
  Number& operator[](size_t place) { return data()[place]; }
  const Number& operator[](size_t place) const { return data()[place]; }

 private:
  Bytes bytes_;
};

// The lines of a text, which must outlive this, each with its line end; the last one may have none.
class Lines {
 public:
  Lines() = default;
  // May throw std::bad_alloc.
  explicit Lines(std::string_view text);

  size_t size() const { return size_; }
  std::string_view operator[](size_t line) const {
    const size_t begin = line == 0 ? 0 : ends_[line - 1];
    return text_.substr(begin, ends_[line] - begin);
  }

 private:
  std::string_view text_;
  NumberArray<size_t> ends_;  // Where each line ends.
  size_t size_ = 0;
};

// A run of lines of the first text that a run of lines of the second stands in place of. Counted
// from 0; one of the runs may be empty, then it begins where it would be.
struct Edit {
  size_t first = 0;
  size_t firstCount = 0;
  size_t second = 0;
  size_t secondCount = 0;

  size_t firstEnd() const { return first + firstCount; }
  size_t secondEnd() const { return second + secondCount; }
  bool operator==(const Edit&) const = default;
};

// The edits from one text to the other, ascending, with lines that count as equal between them:
// as few lines as can be, except where long texts have much in common and much changed. May throw
// std::bad_alloc.
std::vector<Edit> compareLines(const Lines& first, const Lines& second, const LineRules& rules);

}  // namespace btkf
