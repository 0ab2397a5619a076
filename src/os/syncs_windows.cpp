// os/syncs_windows.cpp: each file by itself, as only an administrator may sync a whole drive here.
// That brings what is known of its name, too.
#include "os/syncs.h"

namespace os {

void Syncs::addFile(const File& file) {
  waiting_[file.status().identity.device].files.push_back(&file);
}

void Syncs::addName(const File& file) { addFile(file); }

bool Syncs::run() const {
  bool isDone = !hasFailed_;
  for (const auto& [device, waiting] : waiting_) {
    for (const File* file : waiting.files) isDone = file->sync() && isDone;
  }
  return isDone;
}

}  // namespace os
