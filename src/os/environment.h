// os/environment.h: who runs the process, and what the process was told about it.
#pragma once

#include <optional>
#include <string>

namespace os {

// Nothing for a variable that isn't set.
std::optional<std::string> environmentVariable(const char* name);

// The account name of the effective user, or the number as text if the account has no name.
std::string accountName();

// Where the user's programs keep their own files, by the XDG rules: "" without a home.
std::string configurationDirectory();
std::string dataDirectory();

}  // namespace os
