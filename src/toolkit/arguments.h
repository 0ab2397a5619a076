// toolkit/arguments.h: how texts go to the toolkit, and answers of unknown length come back.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/vstring.h"
#include "btkf520/btkf520.h"

namespace foldapi {

// The toolkit's way to say that an argument is not given.
inline const char* nullIfEmpty(const VString& text) {
  return text.isEmpty() ? nullptr : text.text();
}

// Asks with a larger buffer until the answer fits; sizes are kept in 16 bits, so it ends there.
// Gives the last status of `fetch`(char* buffer, int32_t size). `Buffer` is a std::string or a
// std::vector<char>; it is zeroed before each call, and aligned for pointers.
template <typename Buffer, typename Fetch>
[[nodiscard]] int32_t fetchGrowing(Buffer* buffer, Fetch fetch) {
  constexpr size_t kFirstSize = 257;
  constexpr size_t kSizeStep = 256;
  constexpr size_t kLargestSize = 0xffff;
  for (size_t size = kFirstSize;; size += kSizeStep) {
    buffer->assign(size, '\0');
    const int32_t status = fetch(buffer->data(), static_cast<int32_t>(size));
    if (status != TRVS_BUFFER_TOO_SMALL || size + kSizeStep > kLargestSize) return status;
  }
}

}  // namespace foldapi
