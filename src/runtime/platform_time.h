// runtime/platform_time.h: clocks and the local zone, as the operating system knows them.
#pragma once

#include <cstdint>

namespace foldapi {

// Seconds east of UTC in the local zone, daylight saving included, at a moment given in seconds
// since 1970. 0 where the system can't tell.
int platformZoneOffset(int64_t seconds);
// Makes the system look up the local zone again.
void platformReloadZone();

// Now, in nanoseconds since 1970.
int64_t wallClockNanoseconds();
// A clock that nobody sets; only differences mean something.
int64_t steadyMilliseconds();

}  // namespace foldapi
