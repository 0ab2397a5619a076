// os/syncs.h: many files on the device at once.
//
// One sync costs a wait for the device, whatever it brings there. So where many files of one file
// system wait, it is synced as a whole, if it is known to do that on this machine and to tell what
// failed: then the wait is one. Else each file is synced by itself; always where they are few,
// since a whole file system has what others have written, too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "os/file.h"

namespace os {

class Syncs {
 public:
  // Each keeps a pointer: the open file must outlive run(). addContent() as File::syncContent().
  void addFile(const File& file);
  void addContent(const File& file);
  // What its directory says about the file's name: see File::syncName().
  void addName(const File& file);

  // Waits until all of them are on the device. False if one may not be there.
  [[nodiscard]] bool run() const;

 private:
  using Sync = bool (File::*)() const;

  // What waits in one file system.
  struct Waiting {
    std::vector<std::pair<const File*, Sync>> files;
    std::map<uint64_t, const File*> directories;  // By their number: a file in each.

    size_t count() const { return files.size() + directories.size(); }
    const File& any() const {
      return *(files.empty() ? directories.begin()->second : files.front().first);
    }
  };

  void add(const File& file, Sync sync);
  static bool isSyncedAtOnce(const Waiting& waiting);

  std::map<uint64_t, Waiting> waiting_;  // By device.
  bool hasFailed_ = false;
};

}  // namespace os
