// btkf520/archive/index.h: everything about an archive but its contents, as bytes.
//
// The index stands in the file between the frames of its part and the information block. Its layout
// is told in docs/archive-format.md.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btkf520/archive/model.h"
#include "os/pages.h"

namespace btkf {

// How one content is stored. The index tells frames in the order in which they stand in the file;
// an empty content has a frame of no bytes.
struct Frame {
  uint32_t content = 0;      // The id.
  uint32_t position = 0;     // In its branch; see plan.h.
  uint32_t olderParent = 0;  // Ids of the contents that the prefix is joined from, in this order.
  uint32_t newerParent = 0;  // 0: none.
  uint64_t offset = 0;       // In the file.
  uint64_t size = 0;
  uint32_t checksum = 0;  // The lower half of checksumOf() the stored bytes.

  uint64_t end() const { return offset + size; }
  std::array<uint32_t, 2> parents() const { return {olderParent, newerParent}; }
};

using Frames = std::vector<Frame, os::AgainAllocator<Frame>>;

// Where the frame of each content stands among all of them.
using Place = uint32_t;

class FramePlaces {
 public:
  FramePlaces() = default;
  explicit FramePlaces(const Frames& frames);

  bool areDistinct() const { return areDistinct_; }
  std::optional<Place> find(uint32_t content) const;

 private:
  static constexpr Place kNowhere = UINT32_MAX;

  std::vector<Place> places_;                      // By id, unless most ids are free.
  std::vector<std::pair<uint32_t, Place>> pairs_;  // Or else by order.
  bool areDistinct_ = true;
};

struct Index {
  ArchiveModel model;
  Frames frames;
  uint32_t lastContent = 0;  // The highest id that was ever given.
};

// The largest index in bytes, before it is packed: in all, and by the size of its frame, or of both
// if it is packed against another one. What
// repeats itself packs well, such as a change description that many revisions share.
constexpr size_t kLargestIndex = size_t{1} << 26;
constexpr size_t largestIndex(size_t storedSize) {
  return std::min(kLargestIndex,
                  (size_t{1} << 20) + 4096 * std::min(storedSize, kLargestIndex / 4096));
}

// `index` has a sound model, and a frame for each of its contents, in the order of their offsets.
std::string encodeIndex(const Index& index);

// Of names, numbers and the like, which take more memory here than in an index, a reader takes no
// more than can come of a frame of that size: 65536, and as many for each of its bytes.
constexpr size_t kThingsPerByte = 32;

// Nothing for bytes that are not a whole index: beyond the form, the model must be sound, contents
// and frames must match one to one, and no content may need itself to be rebuilt. They came of a
// frame of `storedSize` bytes.
std::optional<Index> decodeIndex(const SharedBytes& bytes, size_t storedSize);
std::optional<Index> decodeIndex(std::string_view bytes, size_t storedSize = kLargestIndex);

}  // namespace btkf
