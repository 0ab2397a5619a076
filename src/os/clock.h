// os/clock.h: clocks, pauses and the local zone.
#pragma once

#include <cstdint>

namespace os {

// Now, in nanoseconds since 1970.
int64_t wallClockNanoseconds();
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
