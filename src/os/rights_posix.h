// os/rights_posix.h: who may use a file that takes another's name, on Linux.
#pragma once

#include <sys/types.h>

#include "os/file.h"

namespace os {

constexpr mode_t kRightsOfNewFile = 0666;  // Less the umask.

// Both work on an open file that nobody but its owner may use. They give it all but the mode, which
// is to be set last, so that nobody has for a moment what he has not in the end.

// Gives `file` the group, the access list and the users' attributes of `model`, and its owner where
// that is allowed; else an access list lets him do what he could. kRefused if one of them can't be
// kept but the owner; what can be kept is.
FileResult copyRights(int model, int file, mode_t* mode);

// The same with what any new file in `directory`, an open one, gets.
FileResult giveUsualRights(int directory, int file, mode_t* mode);

}  // namespace os
