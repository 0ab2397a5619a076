// os/clock.h: clocks, pauses and the local zone.
#pragma once

#include <cstdint>

namespace os {

// Now, in nanoseconds since 1970.
int64_t wallClockNanoseconds();
// Whether a file that has this time of its last change, and is asked at `now`, will show another
// one when it changes again: times move in steps, and servers have clocks of their own. One that
// lies ahead was set: a change would bring it back to the present.
constexpr bool isSettled(int64_t changed, int64_t now) {
  constexpr int64_t kLongestStep = 2'000'000'000;
  return changed < now - kLongestStep || changed > now + kLongestStep;
}
// A clock that nobody sets; only differences mean something.
int64_t steadyMilliseconds();

// Lets the time pass.
void sleepMilliseconds(unsigned milliseconds);

// Seconds east of UTC in the local zone, daylight saving included, at a moment given in seconds
// since 1970. 0 where the system can't tell.
int zoneOffset(int64_t seconds);
// Makes the system look up the local zone again.
void reloadZone();

}  // namespace os
