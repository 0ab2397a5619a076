// btkf520/archive/frames.cpp: how zstd is set up for contents.
//
// A content and its parents are alike over long stretches, in the same order, with small changes
// between. Long distance matching finds those stretches in one pass, however wide the content; what
// remains between them is little, and left to a fast level. Without it the same level stores up to
// nine times as much: its tables are too small to remember a wide prefix, and it leaves a long
// match for a short one.
#include "btkf520/archive/frames.h"

#include <zstd.h>

#include <algorithm>
#include <bit>
#include <new>

namespace btkf {
namespace {

// Up to here packing well costs less than the commit around it.
constexpr uint64_t kSmallSpan = 1 << 20;

void set(ZSTD_CCtx* context, ZSTD_cParameter parameter, int value) {
  if (ZSTD_isError(ZSTD_CCtx_setParameter(context, parameter, value)) != 0) throw std::bad_alloc();
}

void setUp(ZSTD_CCtx* context, uint64_t span, bool hasPrefix) {
  const bool isSmall = span <= kSmallSpan;
  set(context, ZSTD_c_compressionLevel, isSmall ? 3 : 1);
  if (!hasPrefix) return;
  const int windowLog = std::max(static_cast<int>(std::bit_width(span - 1)), 16);
  // One place in two to this power is remembered, and there is room for all of those.
  const int rateLog = isSmall ? 4 : 7;
  set(context, ZSTD_c_windowLog, windowLog);
  set(context, ZSTD_c_enableLongDistanceMatching, 1);
  set(context, ZSTD_c_ldmMinMatch, isSmall ? 24 : 32);
  set(context, ZSTD_c_ldmHashRateLog, rateLog);
  set(context, ZSTD_c_ldmHashLog, windowLog - rateLog);
}

}  // namespace

FrameCodec::FrameCodec() = default;

FrameCodec::~FrameCodec() {
  ZSTD_freeCCtx(packing_);
  ZSTD_freeDCtx(unpacking_);
}

Bytes FrameCodec::pack(std::string_view content, std::string_view prefix) {
  if (packing_ == nullptr) packing_ = ZSTD_createCCtx();
  if (packing_ == nullptr) throw std::bad_alloc();
  ZSTD_CCtx_reset(packing_, ZSTD_reset_session_and_parameters);
  setUp(packing_, uint64_t{content.size()} + prefix.size(), !prefix.empty());
  if (!prefix.empty()) ZSTD_CCtx_refPrefix(packing_, prefix.data(), prefix.size());
  Bytes frame(ZSTD_compressBound(content.size()));
  const size_t size =
      ZSTD_compress2(packing_, frame.data(), frame.size(), content.data(), content.size());
  // With room for the worst case only memory can run out.
  if (ZSTD_isError(size) != 0) throw std::bad_alloc();
  frame.shrink(size);
  return frame;
}

bool FrameCodec::unpack(std::string_view frame, std::string_view prefix, uint64_t length,
                        Bytes* content) {
  if (ZSTD_getFrameContentSize(frame.data(), frame.size()) != length) return false;
  if (unpacking_ == nullptr) unpacking_ = ZSTD_createDCtx();
  if (unpacking_ == nullptr) throw std::bad_alloc();
  ZSTD_DCtx_reset(unpacking_, ZSTD_reset_session_and_parameters);
  if (!prefix.empty()) ZSTD_DCtx_refPrefix(unpacking_, prefix.data(), prefix.size());
  Bytes result(length);
  const size_t size =
      ZSTD_decompressDCtx(unpacking_, result.data(), result.size(), frame.data(), frame.size());
  if (ZSTD_isError(size) != 0 || size != length) return false;
  *content = std::move(result);
  return true;
}

}  // namespace btkf
