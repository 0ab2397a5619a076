// os/syncs_windows.cpp: each file by itself, as only an administrator may sync a whole drive here.
// That brings what is known of its name, too.
#include "os/syncs.h"

namespace os {

void Syncs::addFile(const File& file) { add(file, &File::sync); }
void Syncs::addContent(const File& file) { add(file, &File::syncContent); }
void Syncs::addName(const File& file) { addFile(file); }

void Syncs::add(const File& file, Sync sync) {
  waiting_[file.status().identity.device].files.emplace_back(&file, sync);
}

bool Syncs::run() const {
  bool isDone = !hasFailed_;
  for (const auto& [device, waiting] : waiting_) {
    for (const auto& [file, sync] : waiting.files) isDone = (file->*sync)() && isDone;
  }
  return isDone;
}

}  // namespace os
