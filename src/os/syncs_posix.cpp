// os/syncs_posix.cpp: when Linux is asked to sync a whole file system.
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>

#include "os/calls_posix.h"
#include "os/syncs.h"

namespace os {
namespace {

constexpr size_t kMany = 4;

// From 5.8 on syncfs() tells of what could not be written.
bool tellsFailures() {
  utsname system;
  int major = 0, minor = 0;
  return ::uname(&system) == 0 && std::sscanf(system.release, "%d.%d", &major, &minor) == 2 &&
         (major > 5 || (major == 5 && minor >= 8));
}

}  // namespace

void Syncs::addFile(const File& file) { add(file, &File::sync); }
void Syncs::addContent(const File& file) { add(file, &File::syncContent); }

void Syncs::add(const File& file, Sync sync) {
  waiting_[file.status().identity.device].files.emplace_back(&file, sync);
}

void Syncs::addName(const File& file) {
  struct stat directory;
  if (!askStatus(file.place().directory(), &directory)) {
    if (!file.syncName()) hasFailed_ = true;
    return;
  }
  waiting_[file.status().identity.device].directories.emplace(directory.st_ino, &file);
}

// The failure of another's file is one too: then each of ours says how it stands.
bool Syncs::isSyncedAtOnce(const Waiting& waiting) {
  static const bool areFailuresTold = tellsFailures();
  const int file = waiting.any().descriptor_;
  return areFailuresTold && waiting.count() >= kMany && isOnThisMachine(file) &&
         uninterrupted([=] { return ::syncfs(file); }) == 0;
}

bool Syncs::run() const {
  bool isDone = !hasFailed_;
  for (const auto& [device, waiting] : waiting_) {
    if (isSyncedAtOnce(waiting)) continue;
    for (const auto& [file, sync] : waiting.files) isDone = (file->*sync)() && isDone;
    for (const auto& [directory, file] : waiting.directories) isDone = file->syncName() && isDone;
  }
  return isDone;
}

}  // namespace os
