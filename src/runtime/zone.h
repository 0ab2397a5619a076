// runtime/zone.h: moments of the system as packed local times (see dates/packedtime.h).
#pragma once

#include <cstdint>

namespace foldapi {

// From and to nanoseconds since the start of 1970, UTC. Times before 1980 become the first moment
// of 1980. The way back gives false for a value that is no time.
uint32_t packNanoseconds(int64_t nanoseconds);
bool unpackNanoseconds(uint32_t packed, int64_t* nanoseconds);

// Asks for the local zone again: it is looked up once.
void reloadTimeZone();

}  // namespace foldapi
