// os/result.h: how what is asked of the system ends.
#pragma once

namespace os {

enum class [[nodiscard]] FileResult{
    kDone,
    kMissing,      // No such file, or no such directory.
    kExists,       // There is one already.
    kBusy,         // Another open file has it.
    kNoLocks,      // The file system knows no locks.
    kRefused,      // Not allowed, not possible in this place, or not a regular file.
    kForeignLink,  // A link of another user that is not followed: see os/place.h.
    kTooLarge,     // More bytes than were asked for.
    kStale,        // Another machine has put another file in the place of this open one.
    kFailed,       // Any other failure, such as a full disk.
};

}  // namespace os
