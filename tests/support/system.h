// support/system.h: what the helpers ask the system itself.
#pragma once

#include <string>

namespace support {

// A new one where the system has its temporary files. Throws if that fails.
std::string makeTemporaryDirectory();

// Takes an environment variable away where `value` is null.
void setVariable(const char* name, const std::string* value);

}  // namespace support
