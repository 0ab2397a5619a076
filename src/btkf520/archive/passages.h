// btkf520/archive/passages.h: where a content repeats its parents.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
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

// Finds the passages of one content after the other, one by one, so that not even very many take
// memory. One object is used again and again, because its tables are wide.
class PassageFinder {
 public:
  PassageFinder();
  ~PassageFinder();

  // Begins with `content`. Both must outlive the search, and are together shorter than 4 GiB. May
  // throw std::bad_alloc.
  void begin(std::string_view content, std::string_view prefix);
  // The next passage, in order and without overlap; nothing after the last. All of them take time
  // in proportion to the length of content and prefix; most of it for what is not repeated.
  std::optional<Passage> next();

 private:
  class Search;

  std::vector<uint64_t> blocks_;
  std::vector<uint64_t> words_;
  std::unique_ptr<Search> search_;
};

}  // namespace btkf
