// btkf520/interface/boundary.h: what all C functions share: the wall that no exception passes, and
// buffers.
#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"

namespace btkf::boundary {

// The status of `operation`, or of the exception that ended it.
template <typename Operation>
int32_t guarded(const Operation& operation) noexcept {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return TRVS_NO_MEMORY;
  } catch (...) {
    return TRVS_INTERNAL_ERROR;
  }
}

inline bool fits(const std::string& text, int32_t size) {
  return size > 0 && text.size() < static_cast<size_t>(size);
}

// With the NUL at its end. `text` may hold others.
inline void fill(char* buffer, const std::string& text) {
  std::memcpy(buffer, text.c_str(), text.size() + 1);
}

// Fills the buffer if the text fits.
[[nodiscard]] inline TrvsStatus handOut(const std::string& text, char* buffer, int32_t size) {
  if (!fits(text, size)) return TRVS_BUFFER_TOO_SMALL;
  fill(buffer, text);
  return TRVS_DONE;
}

// Names with a NUL after each; the text's own NUL is the empty name at the end.
inline std::string listText(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text.append(name).append(1, '\0');
  return text;
}

inline bool isContext(int32_t context) { return context == TRVS_CONTEXT; }

}  // namespace btkf::boundary
