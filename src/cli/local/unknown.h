// cli/local/unknown.h: what lies in a work directory and is no file of its project.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/local/localfiles.h"

namespace cli {

// Calls `take` with each file that the project doesn't know and no rule ignores, in the order of
// the names, and with a whole directory, "/" at its end, where it knows nothing below. `gone` are
// files that count as known, by their paths. A directory that has not changed since all in it was
// known isn't read again. What can't be read is told.
void forEachUnknown(LocalFiles& local, const std::vector<std::string>& gone,
                    const std::function<void(const std::string& path)>& take);

}  // namespace cli
