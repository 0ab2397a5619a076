// runtime/platform_time.cpp: the POSIX side of time.
#include "runtime/platform_time.h"

#include <time.h>

#include "runtime/files.h"

namespace foldapi {

int platformZoneOffset(int64_t seconds) {
  static const bool isZoneLoaded = (tzset(), true);  // localtime_r() need not do it.
  static_cast<void>(isZoneLoaded);
  const auto moment = static_cast<time_t>(seconds);
  tm local;
  return localtime_r(&moment, &local) == nullptr ? 0 : static_cast<int>(local.tm_gmtoff);
}

void platformReloadZone() { tzset(); }

int64_t wallClockNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

int64_t steadyMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

void sleepMilliseconds(unsigned milliseconds) {
  timespec left{static_cast<time_t>(milliseconds / 1000),
                static_cast<long>(milliseconds % 1000) * 1'000'000};
  while (milliseconds != 0 && nanosleep(&left, &left) != 0) {
  }
}

}  // namespace foldapi
