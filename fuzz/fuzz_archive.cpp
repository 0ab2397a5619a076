// fuzz/fuzz_archive.cpp: the engine against archives that are none: as files, and as unpacked
// indexes.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "check_archive.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  fuzz::checkArchive(bytes);
  fuzz::checkIndex(bytes);
  return 0;
}
