// cli/problem.cpp: the fault of one directory told of each file below it.
#include "cli/problem.h"

#include "cli/text/text.h"

namespace cli {

std::string reasonOf(const Problem& problem) {
  return problem.above.empty() ? problem.why : shown(problem.above) + ' ' + problem.why;
}

Problem closed(std::string what, std::string directory, int32_t status) {
  return {std::move(what), "can't be read", "see who owns it",
          Exit::kFailed,   status,          std::move(directory)};
}

}  // namespace cli
