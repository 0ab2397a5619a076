// fuzz/fuzz_ack.cpp: the entry of the fuzzer. Build with -fsanitize=fuzzer and the library's
// sources. Tests drive checkAck() with seeded inputs.
#include "check_ack.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::checkAck({reinterpret_cast<const char*>(data), size});
  return 0;
}
