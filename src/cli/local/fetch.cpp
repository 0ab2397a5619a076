// cli/local/fetch.cpp: check-outs, one file each.
#include "cli/local/fetch.h"

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/problem.h"
#include "os/directory.h"

namespace cli {

void fetch(LocalFiles& local, const FileRecord& file, const std::string& number, uint32_t flags,
           Old old) {
  const std::string path = local.pathToWrite(file);
  const std::string kept = old == Old::kKept ? local.kept().keep(file.path) : "";
  try {
    fetchTo(path, local, file, number, flags | TRVS_GET_OVERWRITE);
  } catch (const Problem&) {
    const bool isBare = !kept.empty() && !os::hasEntry(path.c_str());
    if (isBare) static_cast<void>(os::moveFile(kept, path));
    throw;
  }
}

void fetchTo(const std::string& path, LocalFiles& local, const FileRecord& file,
             const std::string& number, uint32_t flags) {
  if (!os::makeDirectories(os::parentOf(path))) {
    throw Problem{os::parentOf(path), "can't be made", "see who owns the directory above"};
  }
  check(TrvsGetRevision(TRVS_CONTEXT, target(file.archive, path).c_str(), 0, number.c_str(),
                        nullptr, nullptr, 0, nullptr, 0, flags),
        {.file = local.shownPath(file),
         .archive = file.archive,
         .workfile = path,
         .revision = number});
}

}  // namespace cli
