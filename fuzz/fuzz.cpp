// fuzz/fuzz.cpp: the entry of each fuzzer: CMake names the check that it runs. Tests drive the same
// checks with seeded damage.
#include FUZZ_HEADER

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FUZZ_CHECK({reinterpret_cast<const char*>(data), size});
  return 0;
}
