// os/clock_windows.cpp: time on Windows.
#include "os/calls_windows.h"
#include "os/clock.h"
#include "os/filetime_windows.h"

namespace os {
namespace {

FILETIME fileTimeOf(const SYSTEMTIME& time) {
  FILETIME result{};
  ::SystemTimeToFileTime(&time, &result);
  return result;
}

}  // namespace

int64_t wallClockNanoseconds() {
  FILETIME now;
  ::GetSystemTimePreciseAsFileTime(&now);
  return nanosecondsOf(now);
}

int64_t steadyMilliseconds() { return static_cast<int64_t>(::GetTickCount64()); }

void sleepMilliseconds(unsigned milliseconds) { ::Sleep(milliseconds); }

// By the rules of the moment's own year, which the system keeps.
int zoneOffset(int64_t seconds) {
  const FILETIME moment = fileTimeAt(seconds);
  SYSTEMTIME utc, local;
  TIME_ZONE_INFORMATION zone;
  if (!::FileTimeToSystemTime(&moment, &utc) ||
      !::GetTimeZoneInformationForYear(utc.wYear, nullptr, &zone) ||
      !::SystemTimeToTzSpecificLocalTime(&zone, &utc, &local)) {
    return 0;
  }
  return static_cast<int>((nanosecondsOf(fileTimeOf(local)) - nanosecondsOf(fileTimeOf(utc))) /
                          1'000'000'000);
}

void reloadZone() {}  // It is asked each time.

}  // namespace os
