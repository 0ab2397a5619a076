// os/clock_posix.cpp: time on POSIX systems.
#include <time.h>

#include "os/clock.h"

namespace os {
namespace {

constexpr int64_t kNanosecondsPerMillisecond = 1'000'000;

int64_t nanosecondsOn(clockid_t clock) {
  timespec now{};
  ::clock_gettime(clock, &now);
  return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

int64_t wallClockNanoseconds() { return nanosecondsOn(CLOCK_REALTIME); }

int64_t steadyMilliseconds() { return nanosecondsOn(CLOCK_MONOTONIC) / kNanosecondsPerMillisecond; }

void sleepMilliseconds(unsigned milliseconds) {
  timespec left{static_cast<time_t>(milliseconds / 1000),
                static_cast<long>(milliseconds % 1000 * kNanosecondsPerMillisecond)};
  while (milliseconds != 0 && ::nanosleep(&left, &left) != 0) {
  }
}

int zoneOffset(int64_t seconds) {
  static const bool isZoneLoaded = (::tzset(), true);  // localtime_r() need not do it.
  static_cast<void>(isZoneLoaded);
  const auto moment = static_cast<time_t>(seconds);
  tm local;
  return ::localtime_r(&moment, &local) == nullptr ? 0 : static_cast<int>(local.tm_gmtoff);
}

void reloadZone() { ::tzset(); }

}  // namespace os
