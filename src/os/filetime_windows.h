// os/filetime_windows.h: the system's times, in steps of 100 ns since 1601, as those since 1970.
#pragma once

#include <windows.h>

#include <cstdint>

namespace os {

constexpr int64_t kStepsTo1970 = 116'444'736'000'000'000;
constexpr int64_t kStepsPerSecond = 10'000'000;

inline int64_t nanosecondsOf(int64_t steps) { return (steps - kStepsTo1970) * 100; }

inline int64_t nanosecondsOf(const FILETIME& time) {
  return nanosecondsOf(
      static_cast<int64_t>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime));
}

inline int64_t stepsAt(int64_t seconds) { return seconds * kStepsPerSecond + kStepsTo1970; }

inline FILETIME fileTimeAt(int64_t seconds) {
  const auto steps = static_cast<uint64_t>(stepsAt(seconds));
  return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
}

}  // namespace os
