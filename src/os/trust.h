// os/trust.h: whose word a file is.
#pragma once

#include <string>

#include "os/file.h"

namespace os {

// Whether the entry is root's or the present user's; root's alone where the present user isn't
// heeded (os/environment.h).
bool isOurs(const FileStatus& entry);

enum class Trusted { kRootAndUser, kRoot };

// Whether the trusted users, root and the present one, alone can change what `path` leads to: the
// file, each directory above it and each link on the way belongs to one of them, and nobody else
// may write it. A directory where everybody may make files but nobody may touch those of others is
// no obstacle. False also for anything but a regular file. Where the present user isn't heeded
// (os/environment.h) all that has to be root's. May throw std::bad_alloc.
bool isOursAlone(const std::string& path, Trusted whom = Trusted::kRootAndUser);

}  // namespace os
