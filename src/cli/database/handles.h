// cli/database/handles.h: the library's handles, as this folder uses them.
#pragma once

#include <string>

#include "cli/database/database.h"
#include "core/handle.h"
#include "domain/projectfolder.h"
#include "runtime/nativepath.h"

namespace cli {

// The operating system's path for a path text of the data files.
inline std::string native(const foldapi::VString& text) {
  return text.isEmpty() ? "" : foldapi::nativePath(text.view());
}

// An open count for the length of a block.
class Opened {
 public:
  explicit Opened(foldapi::TVHandle& handle) : handle_(handle) { handle_.open(); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  ~Opened() { handle_.close(); }

 private:
  foldapi::TVHandle& handle_;
};

template <typename Class, typename Visit>
void forEach(foldapi::TVHandle& parent, const Visit& visit) {
  const Opened open(parent);
  for (foldapi::TVHandle* child = &parent.first(&Class::theClass); !child->isNull();
       child = &parent.next(&Class::theClass)) {
    visit(*child);
  }
}

struct Project::Impl {
  foldapi::TVProjectFolderHandle handle;
  bool isOpen = false;
  std::string damage;    // Why its list of files can't be read; empty: it can.
  bool isPlain = false;  // Its records have the very names that are on the disk, one each.
  int64_t readAt = 0;    // When reading it began, in nanoseconds since 1970.

  // With its list. Throws Problem for a project of which something is lost.
  foldapi::TVProjectFolderHandle& opened();
  // What its record says of it, as a line; empty if no line can.
  std::string record() const;
  // What the library has said keeps the list from being read.
  void noteDamage();
  // Throws Problem if the team's directory, list or configuration is not there any more: an open
  // would make the directory again, and hide a share that is to be mounted.
  void refuseLost() const;
  // The same if the list, or a folder's, can't be read.
  void refuseDamage();
};

}  // namespace cli
