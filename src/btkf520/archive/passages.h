// btkf520/archive/passages.h: where a content repeats its parents.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace btkf {

// A stretch of a content that stands `distance` bytes before, in the content itself or in the
// prefix that is thought to stand ahead of it.
struct Passage {
  uint32_t skipped;  // Bytes between the passage before and this one, which repeat nothing.
  uint32_t length;
  uint32_t distance;
};

// One object is used again and again, because its tables are wide.
class PassageFinder {
 public:
  // The passages of `content`, in order and without overlap. Both together are shorter than 4 GiB.
  // Takes time in proportion to the length of both; most of it for what is not repeated. May throw
  // std::bad_alloc.
  std::vector<Passage> find(std::string_view content, std::string_view prefix);

 private:
  std::vector<uint64_t> blocks_;
  std::vector<uint64_t> words_;
};

}  // namespace btkf
