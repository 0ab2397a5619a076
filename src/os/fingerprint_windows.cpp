// os/fingerprint_windows.cpp: random numbers of the system.
#include "os/calls_windows.h"
#include "os/clock.h"
#include "os/fingerprint.h"

// RtlGenRandom: no header has it under that name.
extern "C" BOOLEAN NTAPI SystemFunction036(PVOID buffer, ULONG size);

namespace os {

const ProcessSeeds& processSeeds() {
  static const ProcessSeeds seeds = [] {
    ProcessSeeds result{static_cast<uint64_t>(wallClockNanoseconds()),
                        static_cast<uint64_t>(reinterpret_cast<uintptr_t>(&wallClockNanoseconds))};
    static_cast<void>(::SystemFunction036(&result, sizeof result));
    return result;
  }();
  return seeds;
}

}  // namespace os
