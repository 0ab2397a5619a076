// cli/work/fetch.cpp: check-outs, one file each.
#include "cli/work/fetch.h"

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/problem.h"
#include "cli/work/kept.h"
#include "os/directory.h"

namespace cli {

void fetch(Workspace& space, const FileRecord& file, const std::string& number, uint32_t flags,
           Old old) {
  const std::string path = space.pathToWrite(file);
  if (old == Old::kKept) keep(space.directory().top, file.path);
  fetchTo(path, space, file, number, flags | TRVS_GET_OVERWRITE);
}

void fetchTo(const std::string& path, Workspace& space, const FileRecord& file,
             const std::string& number, uint32_t flags) {
  if (!os::makeDirectories(os::parentOf(path))) {
    throw Problem{os::parentOf(path), "can't be made", "see who owns the directory above"};
  }
  check(TrvsGetRevision(TRVS_CONTEXT, target(file.archive, path).c_str(), 0, number.c_str(),
                        nullptr, nullptr, 0, nullptr, 0, flags),
        {.file = space.shownPath(file),
         .archive = file.archive,
         .workfile = path,
         .revision = number});
}

}  // namespace cli
