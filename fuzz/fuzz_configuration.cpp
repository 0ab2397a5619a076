// fuzz/fuzz_configuration.cpp: the entry of the fuzzer. Build with -fsanitize=fuzzer and the
// engine's sources. Tests drive checkConfiguration() with seeded damage.
#include "check_configuration.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::checkConfiguration({reinterpret_cast<const char*>(data), size});
  return 0;
}
