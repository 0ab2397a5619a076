// runtime/platform_process.h: starting other programs. Implemented by platform_process.cpp.
#pragma once

#include <string>

namespace foldapi {

enum class StartResult { kStarted, kNoMemory, kNotFound, kCorrupt, kFailed };

// Starts the program of that name, looked for along PATH, without arguments. It goes on by itself:
// nobody waits for it, and it outlives this process.
StartResult startProgram(const std::string& name);

}  // namespace foldapi
