// os/fingerprint_posix.cpp: random numbers of the system.
#include <sys/random.h>

#include "os/clock.h"
#include "os/fingerprint.h"

namespace os {

// Where the system gives none, its choice of an address and the time have to do.
const ProcessSeeds& processSeeds() {
  static const ProcessSeeds seeds = [] {
    ProcessSeeds result{static_cast<uint64_t>(wallClockNanoseconds()),
                        static_cast<uint64_t>(reinterpret_cast<uintptr_t>(&wallClockNanoseconds))};
    static_cast<void>(!::getrandom(&result, sizeof result, GRND_NONBLOCK));
    return result;
  }();
  return seeds;
}

}  // namespace os
