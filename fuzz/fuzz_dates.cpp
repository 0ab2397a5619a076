// fuzz/fuzz_dates.cpp: the entry of the fuzzer. Build with -fsanitize=fuzzer and the library's
// sources. Tests drive checkDates() with seeded inputs.
#include "check_dates.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::checkDates({reinterpret_cast<const char*>(data), size});
  return 0;
}
