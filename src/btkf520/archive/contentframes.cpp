// btkf520/archive/contentframes.cpp: how zstd is told to pack contents.
//
// What a content repeats of its parents is found by a search of our own (passages.cpp) and handed
// to zstd, which has only to write it down. zstd could search by itself, and any frame that it
// makes is as good to a reader. But for a content and its parents it takes four to ten times as
// long, and does not find more.
#include "btkf520/archive/contentframes.h"

#define ZSTD_STATIC_LINKING_ONLY  // For ZSTD_registerSequenceProducer().
#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <array>
#include <bit>
#include <mutex>
#include <new>
#include <utility>

namespace btkf {
namespace {

constexpr size_t kPiece = 128 << 10;
constexpr int kWidestWindowLog = sizeof(size_t) > 4 ? 31 : 30;  // zstd's own limits.
// zstd has a buffer of that size when it unpacks piece by piece. pack() needs less.
constexpr uint64_t kWidestWindowInPieces = 8 << 20;
constexpr int kLevel = 1;
// A delta that saves less than this part of the content may be worse than no delta at all.
constexpr size_t kPoorRatio = 4;
// Codes for the single bytes of such a content save little, and take as long as all the rest.
constexpr size_t kTinyContent = 256;
// Of a wider content the frame gets no room for the worst case at once.
constexpr size_t kWideContent = 64 << 10;
// The search of zstd itself is not used for deltas, so its tables may be as small as they can be.
constexpr int kLeastTableLog = 6;
constexpr size_t kLeastMatch = 3;

void set(ZSTD_CCtx* context, ZSTD_cParameter parameter, int value) {
  if (ZSTD_isError(ZSTD_CCtx_setParameter(context, parameter, value)) != 0) throw std::bad_alloc();
}

// Whether a frame could be unpacked so far. One for which there is no memory is not damaged.
bool isUnpacked(size_t result) {
  if (ZSTD_getErrorCode(result) == ZSTD_error_memory_allocation) throw std::bad_alloc();
  return ZSTD_isError(result) == 0;
}

FramePieces piecesOf(std::string_view frame) {
  return [frame]() mutable {
    const std::string_view piece = frame.substr(0, kPiece);
    frame.remove_prefix(piece.size());
    return piece;
  };
}

// As much of what is unpacked as the frame that begins so may refer back to. No limit for damaged
// frames, which end any other way.
uint64_t windowOf(std::string_view first) {
  ZSTD_frameHeader header;
  const bool isKnown = ZSTD_getFrameHeader(&header, first.data(), first.size()) == 0;
  return isKnown ? header.windowSize : 0;
}

// Tells zstd the passages of each of its blocks, which are the content's pieces in order. A passage
// that goes beyond the end of a block continues in the next.
class BlockPassages {
 public:
  explicit BlockPassages(PassageFinder* finder) : finder_(*finder) {}

  static size_t produce(void* self, ZSTD_Sequence* sequences, size_t, const void*, size_t size,
                        const void*, size_t, int, size_t) {
    return static_cast<BlockPassages*>(self)->fill(sequences, size);
  }

 private:
  // There is room for as many as fit into a block of `size`. The last one is of literals alone.
  size_t fill(ZSTD_Sequence* sequences, size_t size) {
    size_t count = 0;
    uint32_t literals = 0;
    for (auto left = static_cast<uint32_t>(size); left > 0;) {
      if (passage_.skipped == 0 && passage_.length == 0) {
        passage_ = finder_.next().value_or(Passage{left, 0, 0});
      }
      const uint32_t skipped = std::min(passage_.skipped, left);
      literals += skipped;
      left -= skipped;
      passage_.skipped -= skipped;
      const uint32_t length = std::min(passage_.length, left);
      if (length < kLeastMatch) {
        literals += length;
      } else {
        sequences[count++] = {passage_.distance, std::exchange(literals, 0), length, 0};
      }
      left -= length;
      passage_.length -= length;
    }
    sequences[count++] = {0, literals, 0, 0};
    return count;
  }

  PassageFinder& finder_;
  Passage passage_{};  // What is left of it.
};

// Contexts that no codec uses at present. To make one takes longer than a small change of an
// archive needs it. Never destroyed: calls late in a process's life still find them.
template <typename Context>
class Spares {
 public:
  // Null for none.
  Context* take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Context*& each : contexts_) {
      if (each != nullptr) return std::exchange(each, nullptr);
    }
    return nullptr;
  }

  // Whether it is kept: neither many nor large ones are.
  bool keep(Context* context, size_t size) {
    if (size > kLargest) return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Context*& each : contexts_) {
      if (each != nullptr) continue;
      each = context;
      return true;
    }
    return false;
  }

 private:
  static constexpr size_t kLargest = 2 << 20;

  std::mutex mutex_;
  std::array<Context*, 2> contexts_ = {};
};

Spares<ZSTD_CCtx>& sparesToPack() {
  static auto* const spares = new Spares<ZSTD_CCtx>;
  return *spares;
}

Spares<ZSTD_DCtx>& sparesToUnpack() {
  static auto* const spares = new Spares<ZSTD_DCtx>;
  return *spares;
}

}  // namespace

FrameCodec::FrameCodec() = default;

// A context lets go of what it was pointed to before it is kept.
FrameCodec::~FrameCodec() {
  if (packing_ != nullptr) {
    ZSTD_CCtx_reset(packing_, ZSTD_reset_session_and_parameters);
    if (!sparesToPack().keep(packing_, ZSTD_sizeof_CCtx(packing_))) ZSTD_freeCCtx(packing_);
  }
  if (unpacking_ != nullptr) {
    ZSTD_DCtx_reset(unpacking_, ZSTD_reset_session_and_parameters);
    if (!sparesToUnpack().keep(unpacking_, ZSTD_sizeof_DCtx(unpacking_))) ZSTD_freeDCtx(unpacking_);
  }
}

void FrameCodec::resetPacking() {
  if (packing_ == nullptr) packing_ = sparesToPack().take();
  if (packing_ == nullptr) packing_ = ZSTD_createCCtx();
  if (packing_ == nullptr) throw std::bad_alloc();
  ZSTD_CCtx_reset(packing_, ZSTD_reset_session_and_parameters);
}

Bytes FrameCodec::packAlone(std::string_view content) {
  resetPacking();
  set(packing_, ZSTD_c_compressionLevel, kLevel);
  if (content.size() <= kTinyContent) {
    set(packing_, ZSTD_c_literalCompressionMode, ZSTD_ps_disable);
  }
  Bytes frame(ZSTD_compressBound(content.size()));
  const size_t size =
      ZSTD_compress2(packing_, frame.data(), frame.size(), content.data(), content.size());
  // With room for the worst case only memory can run out.
  if (ZSTD_isError(size) != 0) throw std::bad_alloc();
  frame.shrink(size);
  return frame;
}

uint64_t FrameCodec::mostPacked(uint64_t length) {
  return ZSTD_compressBound(static_cast<size_t>(length));
}

std::optional<Bytes> FrameCodec::packDelta(std::string_view content, std::string_view prefix) {
  passages_.begin(content, prefix);
  BlockPassages passages(&passages_);
  const uint64_t span = uint64_t{content.size()} + prefix.size();
  resetPacking();
  set(packing_, ZSTD_c_compressionLevel, kLevel);
  set(packing_, ZSTD_c_windowLog,
      std::clamp(static_cast<int>(std::bit_width(span - 1)), 10, kWidestWindowLog));
  set(packing_, ZSTD_c_hashLog, kLeastTableLog);
  set(packing_, ZSTD_c_chainLog, kLeastTableLog);
  set(packing_, ZSTD_c_searchForExternalRepcodes, ZSTD_ps_enable);
  ZSTD_registerSequenceProducer(packing_, &passages, BlockPassages::produce);
  const size_t most = ZSTD_compressBound(content.size());
  Bytes frame(most <= kWideContent ? most : most / kPoorRatio);
  set(packing_, ZSTD_c_stableInBuffer, 1);
  set(packing_, ZSTD_c_stableOutBuffer, frame.size() == most ? 1 : 0);
  ZSTD_inBuffer in{content.data(), content.size(), 0};
  ZSTD_outBuffer out{frame.data(), frame.size(), 0};
  for (;;) {
    const size_t left = ZSTD_compressStream2(packing_, &out, &in, ZSTD_e_end);
    if (ZSTD_isError(left) != 0) return {};
    if (left == 0) break;
    Bytes wider(most);
    frame.view().copy(wider.data(), out.pos);
    frame = std::move(wider);
    out = {frame.data(), frame.size(), out.pos};
  }
  frame.shrink(out.pos);
  return frame;
}

// Whether unpacking gives bytes with that checksum.
bool FrameCodec::isRight(const Bytes& frame, std::string_view prefix, uint64_t length,
                         uint64_t checksum) {
  Checksum sum;
  const FramePieces pieces = piecesOf(frame.view());
  if (prefix.empty() && length > kPiece) {
    const auto take = [](std::string_view) { return true; };
    return unpackAlone(pieces, length, take, &sum) && sum.value() == checksum;
  }
  if (unpacked_.size() != length) {
    unpacked_ = Bytes();
    unpacked_ = Bytes(length);
  }
  const bool isWhole = unpackTo(pieces(), pieces, prefix, &unpacked_, &sum);
  if (length >= os::Memory::kWide) unpacked_ = Bytes();
  return isWhole && sum.value() == checksum;
}

std::optional<Bytes> FrameCodec::pack(std::string_view content, std::string_view prefix,
                                      uint64_t checksum) {
  const auto isGood = [&](const Bytes& frame, std::string_view with) {
    return isRight(frame, with, content.size(), checksum);
  };
  std::optional<Bytes> delta;
  if (!prefix.empty()) delta = packDelta(content, prefix);
  const bool isPoor = delta && delta->size() > content.size() / kPoorRatio;
  if (delta && !isPoor && isGood(*delta, prefix)) return delta;
  Bytes alone = packAlone(content);  // Good with the prefix, too, but makes no use of it.
  if (isPoor && delta->size() < alone.size() && isGood(*delta, prefix)) return delta;
  if (isGood(alone, {})) return alone;
  return {};
}

bool FrameCodec::unpack(const FramePieces& frame, std::string_view prefix, uint64_t length,
                        Bytes* content, Checksum* checksum) {
  const std::string_view first = frame();
  if (ZSTD_getFrameContentSize(first.data(), first.size()) != length) return false;
  Bytes result(length);
  if (!unpackTo(first, frame, prefix, &result, checksum)) return false;
  *content = std::move(result);
  return true;
}

bool FrameCodec::unpack(std::string_view frame, std::string_view prefix, uint64_t length,
                        Bytes* content) {
  return unpack(piecesOf(frame), prefix, length, content, nullptr);
}

void FrameCodec::resetUnpacking() {
  if (unpacking_ == nullptr) unpacking_ = sparesToUnpack().take();
  if (unpacking_ == nullptr) unpacking_ = ZSTD_createDCtx();
  if (unpacking_ == nullptr) throw std::bad_alloc();
  ZSTD_DCtx_reset(unpacking_, ZSTD_reset_session_and_parameters);
  ZSTD_DCtx_setParameter(unpacking_, ZSTD_d_windowLogMax, kWidestWindowLog);
}

bool FrameCodec::unpackAlone(const FramePieces& frame, uint64_t length, const BytesSink& sink,
                             Checksum* checksum) {
  const std::string_view first = frame();
  if (windowOf(first) > kWidestWindowInPieces) {  // Not one of pack()'s.
    Bytes content(length);
    return unpackTo(first, frame, {}, &content, checksum) && sink(content.view());
  }
  resetUnpacking();
  Bytes room(ZSTD_DStreamOutSize());
  uint64_t done = 0;
  size_t wanted = 1;  // 0 when the frame is complete.
  for (std::string_view piece = first; !piece.empty(); piece = frame()) {
    ZSTD_inBuffer in{piece.data(), piece.size(), 0};
    ZSTD_outBuffer out{room.data(), room.size(), room.size()};
    // A full room may mean that there is more to come of what was taken in.
    while (in.pos < in.size || out.pos == out.size) {
      if (wanted == 0) return false;
      out.pos = 0;
      wanted = ZSTD_decompressStream(unpacking_, &out, &in);
      const std::string_view bytes = room.view().substr(0, out.pos);
      checksum->add(bytes);
      done += bytes.size();
      if (!isUnpacked(wanted) || done > length || !sink(bytes)) return false;
      if (wanted == 0 && in.pos == in.size) break;
    }
  }
  return wanted == 0 && done == length;
}

// From the first piece and those after it to bytes of the right size, which change even if that
// fails. zstd writes them where they are to be, with no buffer of its own between.
bool FrameCodec::unpackTo(std::string_view first, const FramePieces& frame, std::string_view prefix,
                          Bytes* content, Checksum* checksum) {
  resetUnpacking();
  ZSTD_DCtx_setParameter(unpacking_, ZSTD_d_stableOutBuffer, 1);
  const bool isReferred =
      prefix.empty() || isUnpacked(ZSTD_DCtx_refPrefix(unpacking_, prefix.data(), prefix.size()));
  if (!isReferred) return false;
  if (windowOf(first) > uint64_t{1} << kWidestWindowLog) {
    return unpackAtOnce(first, frame, content, checksum);
  }
  ZSTD_outBuffer out{content->data(), content->size(), 0};
  size_t wanted = 1;  // 0 when the frame is complete.
  for (std::string_view piece = first; !piece.empty(); piece = frame()) {
    ZSTD_inBuffer in{piece.data(), piece.size(), 0};
    while (in.pos < in.size) {
      const size_t before = out.pos;
      wanted = ZSTD_decompressStream(unpacking_, &out, &in);
      if (!isUnpacked(wanted) || (wanted == 0 && in.pos < in.size)) return false;
      if (checksum != nullptr) checksum->add(content->view().substr(before, out.pos - before));
    }
  }
  return wanted == 0 && out.pos == content->size();
}

// The same for contents that zstd takes for too wide to be unpacked from pieces.
bool FrameCodec::unpackAtOnce(std::string_view first, const FramePieces& frame, Bytes* content,
                              Checksum* checksum) {
  Bytes whole(mostPacked(content->size()));
  size_t gathered = 0;
  for (std::string_view piece = first; !piece.empty(); piece = frame()) {
    if (piece.size() > whole.size() - gathered) return false;
    piece.copy(whole.data() + gathered, piece.size());
    gathered += piece.size();
  }
  const size_t size =
      ZSTD_decompressDCtx(unpacking_, content->data(), content->size(), whole.data(), gathered);
  if (!isUnpacked(size) || size != content->size()) return false;
  if (checksum != nullptr) checksum->add(content->view());
  return true;
}

}  // namespace btkf
