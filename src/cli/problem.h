// cli/problem.h: what keeps a command, or one file of it, from being done.
#pragma once

#include <cstdint>
#include <string>

namespace cli {

enum class Exit { kDone = 0, kFailed = 1, kMisused = 2, kCancelled = 3 };

// Thrown, and told in one line: "trevault: what: why; what to do".
struct Problem {
  std::string what;       // The path as typed, else the command or the option.
  std::string why;        // A fact.
  std::string todo = {};  // Commands in single quotes, or what else helps; may be empty.
  Exit exit = Exit::kFailed;
  int32_t status = 0;  // The engine's, 0 if it gave none.
  // What `why` speaks of, if it is no fault of `what` but of a directory above it or of what is in
  // the place of one: it is told once for all that is below.
  std::string above = {};
};

// `why`, and what it speaks of.
std::string reasonOf(const Problem& problem);

// Of what is below a directory that can't be read or entered.
Problem closed(std::string what, std::string directory, int32_t status = 0);

// The user can't mean what was typed.
inline Problem misuse(std::string what, std::string why, std::string todo = "") {
  return {std::move(what), std::move(why), std::move(todo), Exit::kMisused};
}

}  // namespace cli
