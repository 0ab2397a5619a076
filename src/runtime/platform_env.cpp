// runtime/platform_env.cpp: the environment, as POSIX has it.
#include "runtime/platform_env.h"

#include <cstdlib>

namespace foldapi {

bool hasEnvironmentVariable(const char* name) { return std::getenv(name) != nullptr; }

}  // namespace foldapi
