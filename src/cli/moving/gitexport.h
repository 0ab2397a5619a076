// cli/moving/gitexport.h: a project's history as commits.
//
// Archives know revisions of one file each; git knows states of all files. So:
//   trunk     check-ins on the trunks, put together to entries, are the commits of "main"
//   label     a tag; but a label at the tip of a branch names that branch of all files that have
//   it.
//             The files and names that it stands for are those of a check-out of it; where no
//             commit has just these, it gets one of its own
//   branch    starts with what its label stands for, with the revisions where its files branch; one
//             without a label holds a single file's changes, and is called "pump.c/1.1.1"
//   records   have no history. Lists of labels tell what a file was called then, and which files
//             are in the project no more: "main" renames and drops them when the last label that
//             knows better has come
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "cli/local/localfiles.h"
#include "cli/terminal/output.h"

namespace cli {

struct ExportCount {
  size_t files = 0;
  size_t revisions = 0;
  size_t commits = 0;
  size_t branches = 0;
  size_t tags = 0;
};

struct ExportWishes {
  int64_t window = 0;                             // Of entries, in seconds.
  std::map<std::string, std::string> identities;  // By user: "Ann Lee <ann@example.com>".
};

// Writes the history of `files` with `write`. No content is held as a whole. What took another
// name on the way is told to `output`, beside the result. Throws Problem: nothing is true after a
// revision that can't be read, or if the user stops it.
ExportCount exportToGit(LocalFiles& local, const std::vector<const FileRecord*>& files,
                        const ExportWishes& wishes,
                        const std::function<void(std::string_view bytes)>& write, Output& output);

}  // namespace cli
