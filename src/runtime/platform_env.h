// runtime/platform_env.h: the environment of the process.
#pragma once

namespace foldapi {

// Whether a variable is set, to the empty text too.
bool hasEnvironmentVariable(const char* name);

}  // namespace foldapi
