// support/system.h: what the helpers ask the system itself.
#pragma once

#include <string>

namespace support {

// A new one where the system has its temporary files. Throws if that fails.
std::string makeTemporaryDirectory();

// Takes an environment variable away where `value` is null.
void setVariable(const char* name, const std::string* value);

// The function of that name in the toolkit's library, where the program has one of its own that
// stands in front of it.
void* functionOfToolkit(const char* name);

}  // namespace support
