// btkf520/archive/frames.cpp: how zstd is told to pack contents.
//
// What a content repeats of its parents is found by a search of our own (passages.cpp) and handed
// to zstd, which has only to write it down. zstd could search by itself, and any frame that it
// makes is as good to a reader. But for a content and its parents it takes four to ten times as
// long, and does not find more.
#include "btkf520/archive/frames.h"

#define ZSTD_STATIC_LINKING_ONLY  // For ZSTD_compressSequences().
#include <zstd.h>

#include <algorithm>
#include <bit>
#include <new>
#include <utility>
#include <vector>

#include "btkf520/archive/checksum.h"
#include "btkf520/archive/passages.h"

namespace btkf {
namespace {

constexpr size_t kWideContent = 1 << 20;
constexpr int kSmallLevel = 2;
constexpr int kWideLevel = 1;
// A delta that saves less than this part of the content may be worse than no delta at all.
constexpr size_t kPoorRatio = 4;
// The search of zstd itself is not used for deltas, so its tables may be as small as they can be.
constexpr int kLeastTableLog = 6;

void set(ZSTD_CCtx* context, ZSTD_cParameter parameter, int value) {
  if (ZSTD_isError(ZSTD_CCtx_setParameter(context, parameter, value)) != 0) throw std::bad_alloc();
}

std::vector<ZSTD_Sequence> sequences(std::string_view content, std::string_view prefix) {
  std::vector<ZSTD_Sequence> result;
  for (const Passage& passage : findPassages(content, prefix)) {
    result.push_back({passage.distance, passage.skipped, passage.length, 0});
  }
  return result;
}

}  // namespace

FrameCodec::FrameCodec() = default;

FrameCodec::~FrameCodec() {
  ZSTD_freeCCtx(packing_);
  ZSTD_freeDCtx(unpacking_);
}

void FrameCodec::resetPacking() {
  if (packing_ == nullptr) packing_ = ZSTD_createCCtx();
  if (packing_ == nullptr) throw std::bad_alloc();
  ZSTD_CCtx_reset(packing_, ZSTD_reset_session_and_parameters);
}

Bytes FrameCodec::packAlone(std::string_view content) {
  resetPacking();
  set(packing_, ZSTD_c_compressionLevel, content.size() < kWideContent ? kSmallLevel : kWideLevel);
  Bytes frame(ZSTD_compressBound(content.size()));
  const size_t size =
      ZSTD_compress2(packing_, frame.data(), frame.size(), content.data(), content.size());
  // With room for the worst case only memory can run out.
  if (ZSTD_isError(size) != 0) throw std::bad_alloc();
  frame.shrink(size);
  return frame;
}

std::optional<Bytes> FrameCodec::packDelta(std::string_view content, std::string_view prefix) {
  const std::vector<ZSTD_Sequence> found = sequences(content, prefix);
  const uint64_t span = uint64_t{content.size()} + prefix.size();
  resetPacking();
  set(packing_, ZSTD_c_compressionLevel, kWideLevel);
  set(packing_, ZSTD_c_windowLog, std::clamp(static_cast<int>(std::bit_width(span - 1)), 10, 31));
  set(packing_, ZSTD_c_hashLog, kLeastTableLog);
  set(packing_, ZSTD_c_chainLog, kLeastTableLog);
  Bytes frame(ZSTD_compressBound(content.size()));
  const size_t size = ZSTD_compressSequences(packing_, frame.data(), frame.size(), found.data(),
                                             found.size(), content.data(), content.size());
  if (ZSTD_isError(size) != 0) return {};
  frame.shrink(size);
  return frame;
}

// Whether unpacking gives bytes with that checksum.
bool FrameCodec::isRight(const Bytes& frame, std::string_view prefix, uint64_t length,
                         uint64_t checksum) {
  if (unpacked_.size() != length) {
    unpacked_ = Bytes();
    unpacked_ = Bytes(length);
  }
  return unpackTo(frame.view(), prefix, &unpacked_) && checksumOf(unpacked_.view()) == checksum;
}

std::optional<Bytes> FrameCodec::pack(std::string_view content, std::string_view prefix,
                                      uint64_t checksum) {
  const auto isGood = [&](const Bytes& frame) {
    return isRight(frame, prefix, content.size(), checksum);
  };
  std::optional<Bytes> delta;
  if (!prefix.empty()) delta = packDelta(content, prefix);
  const bool isPoor = delta && delta->size() > content.size() / kPoorRatio;
  if (delta && !isPoor && isGood(*delta)) return delta;
  Bytes alone = packAlone(content);  // Unpacked with the prefix, too, but makes no use of it.
  if (isPoor && delta->size() < alone.size() && isGood(*delta)) return delta;
  if (isGood(alone)) return alone;
  return {};
}

bool FrameCodec::unpack(std::string_view frame, std::string_view prefix, uint64_t length,
                        Bytes* content) {
  if (ZSTD_getFrameContentSize(frame.data(), frame.size()) != length) return false;
  Bytes result(length);
  if (!unpackTo(frame, prefix, &result)) return false;
  *content = std::move(result);
  return true;
}

// To bytes of the right size, which change even if that fails.
bool FrameCodec::unpackTo(std::string_view frame, std::string_view prefix, Bytes* content) {
  if (unpacking_ == nullptr) unpacking_ = ZSTD_createDCtx();
  if (unpacking_ == nullptr) throw std::bad_alloc();
  ZSTD_DCtx_reset(unpacking_, ZSTD_reset_session_and_parameters);
  if (!prefix.empty()) ZSTD_DCtx_refPrefix(unpacking_, prefix.data(), prefix.size());
  const size_t size =
      ZSTD_decompressDCtx(unpacking_, content->data(), content->size(), frame.data(), frame.size());
  return size == content->size();
}

}  // namespace btkf
