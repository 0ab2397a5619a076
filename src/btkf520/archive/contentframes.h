// btkf520/archive/contentframes.h: contents to zstd frames and back.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "archivefile/checksum.h"
#include "btkf520/archive/bytes.h"
#include "btkf520/archive/passages.h"

struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace btkf {

using archivefile::Checksum;
using archivefile::checksumOf;

// The widest prefix and content together that one frame can span: a match reaches back less than
// 4 GiB. A content for which no parent fits below this limit is stored whole.
constexpr uint64_t kWidestSpan = uint64_t{4095} << 20;
// The same for two parents, which cost more memory: beyond it the older one is left out.
constexpr uint64_t kWidestPairSpan = uint64_t{1} << 30;

// Gives a frame piece by piece; an empty piece at its end, or if no more can be read. A
// piece is good until the next one is asked for.
using FramePieces = std::function<std::string_view()>;

// Makes frames and opens them. One object is used again and again, because its tables cost more to
// set up than a small content costs to pack. Operations may throw std::bad_alloc.
class FrameCodec {
 public:
  FrameCodec();
  FrameCodec(const FrameCodec&) = delete;
  FrameCodec& operator=(const FrameCodec&) = delete;
  ~FrameCodec();

  // Packs `content`, which is not empty, as one frame. What it shares with `prefix` costs next to
  // nothing; unpacking takes the same prefix. An empty one makes a frame that stands alone. The
  // frame has been unpacked again and has `checksum`: nothing if that can't be, because another
  // process writes to the file that `content` shows.
  [[nodiscard]] std::optional<Bytes> pack(std::string_view content, std::string_view prefix,
                                          uint64_t checksum);

  // The size of the widest frame that pack() makes of a content of that length.
  static uint64_t mostPacked(uint64_t length);

  // Unpacks a frame to `length` bytes, and adds them to *checksum unless it is null: while they are
  // still near to the processor. False, and *content is unchanged, if the frame is damaged or has
  // any other length; memory is taken only if it says that it has this one.
  [[nodiscard]] bool unpack(const FramePieces& frame, std::string_view prefix, uint64_t length,
                            Bytes* content, Checksum* checksum);
  [[nodiscard]] bool unpack(std::string_view frame, std::string_view prefix, uint64_t length,
                            Bytes* content);
  // Unpacks a frame that stands alone to *sink, in little memory if it is one of pack()'s. False if
  // it is damaged, or if the sink takes no more: then what has been given to the sink is worth
  // nothing.
  [[nodiscard]] bool unpackAlone(const FramePieces& frame, uint64_t length, const BytesSink& sink,
                                 Checksum* checksum);

 private:
  void resetUnpacking();
  [[nodiscard]] bool unpackTo(std::string_view first, const FramePieces& frame,
                              std::string_view prefix, Bytes* content, Checksum* checksum);
  [[nodiscard]] bool unpackAtOnce(std::string_view first, const FramePieces& frame, Bytes* content,
                                  Checksum* checksum);
  bool isRight(const Bytes& frame, std::string_view prefix, uint64_t length, uint64_t checksum);
  Bytes packAlone(std::string_view content);
  [[nodiscard]] std::optional<Bytes> packDelta(std::string_view content, std::string_view prefix);
  void resetPacking();

  ZSTD_CCtx_s* packing_ = nullptr;  // Made at first use, both.
  ZSTD_DCtx_s* unpacking_ = nullptr;
  PassageFinder passages_;
  Bytes unpacked_;  // To be looked at only, and then used again.
  os::Memory::Reuse reuse_;
};

}  // namespace btkf
