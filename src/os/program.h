// os/program.h: starting other programs.
//
// In a process with raised rights (os/environment.h) programs are looked for in the system's own
// directories, and find nothing in their environment but these as PATH and what the caller adds.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace os {

enum class StartResult { kStarted, kNoMemory, kNotFound, kCorrupt, kFailed };

// Starts the program of that name, looked for along PATH, without arguments. It goes on by itself:
// nobody waits for it, and it outlives this process.
StartResult startProgram(const std::string& name);

// Runs a command of the shell and waits for its end. `variables` join its environment; what they
// hold, whatever it is, stays one word where the command names them without quotes: words are not
// split at blanks, and "*" and its like stand for themselves. Gives the exit
// code, 128 and more if a signal ended it, and nothing if it could not be started. What it writes
// to its standard output goes to this process's standard error: the output is the client's own.
std::optional<int> runCommand(const std::string& command,
                              const std::vector<std::pair<std::string, std::string>>& variables);

}  // namespace os
