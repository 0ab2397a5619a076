// cli/commands/bulk.h: one thing done to many files: what fails with one of them is told, and the
// others go on.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <vector>

#include "cli/local/localfiles.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/text.h"

namespace cli {

// How many files it was done to. `step` gets each and may throw Problem.
template <typename Step>
size_t forEachFile(Session& session, std::string_view command,
                   const std::vector<const FileRecord*>& files, const Step& step) {
  size_t failed = 0;
  for (const FileRecord* file : files) {
    try {
      step(*file);
    } catch (const Problem& problem) {
      session.output().problem(problem);
      ++failed;
    }
  }
  if (failed > 0 && files.size() > 1) {
    session.output().problem(
        {std::string(command),
         fmt::format("{} of {} failed", number(failed), counted(files.size(), "file")), ""});
  }
  return files.size() - failed;
}

// A question that stands for the whole command: "no" ends it. With `isDry` nothing is asked.
inline void beSure(Session& session, std::string_view command, const std::string& question,
                   bool isDry) {
  if (isDry || session.output().ask(question)) return;
  throw Problem{std::string(command), "nothing was changed", "'--yes' says that it is sure",
                Exit::kCancelled};
}

}  // namespace cli
