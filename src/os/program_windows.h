// os/program_windows.h: the shell of Windows.
#pragma once

#include <optional>
#include <string>

#include "os/calls_windows.h"

namespace os {

// Has the shell carry out `line` and waits for its end. Its output goes to the stream `output`,
// STD_OUTPUT_HANDLE or STD_ERROR_HANDLE. The environment, a block of texts, may be null for the
// process's own.
std::optional<int> runShell(std::wstring line, std::wstring* environment, DWORD output);

}  // namespace os
