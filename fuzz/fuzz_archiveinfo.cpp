// fuzz/fuzz_archiveinfo.cpp: the entry of the fuzzer. Build with -fsanitize=fuzzer and the
// library's sources. Tests drive checkArchiveInfo() with seeded inputs.
#include "check_archiveinfo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::checkArchiveInfo({reinterpret_cast<const char*>(data), size});
  return 0;
}
