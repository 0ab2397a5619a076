// cli/local/state.h: what a work directory remembers of its files: which revision each is, and how
// it looked then, so that one look at a file tells whether it has changed.
//
// It is memory, not truth: what is lost is found out again from the files and the archives. It is a
// text file, a line for each file, replaced as a whole and never synced.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "os/file.h"

namespace cli {

// By which a file is known to be the same, and unchanged.
struct Stamp {
  uint64_t size = 0;
  int64_t nanoseconds = 0;
  uint64_t inode = 0;

  static Stamp of(const os::FileStatus& status) {
    return {status.size, status.nanoseconds, status.identity.inode};
  }
  bool operator==(const Stamp&) const = default;
};

struct FileState {
  std::string here;  // The revision; empty: none.
  Stamp stamp;       // Of the file when it was that revision.
  bool isLockedFromHere = false;
};

class State {
 public:
  // For commands that change files; another one of the user's is waited for, up to five seconds.
  // Throws Problem.
  enum class Use { kRead, kChange };
  State(std::string top, Use use);

  // Null for none.
  const FileState* find(const std::string& path) const;
  void set(const std::string& path, FileState state);
  void forget(const std::string& path);
  // A directory that can't be written remembers nothing, and all still works. What a command found
  // that changes no files is only kept if no other one works here or has been here meanwhile.
  void save();
  const std::map<std::string, FileState>& files() const { return files_; }
  // When it was written last: a file of that time or later may have changed since unseen.
  int64_t written() const { return read_.nanoseconds; }

 private:
  std::string path() const;
  void read();
  void lock();
  bool mayWrite();

  std::string top_;
  Use use_;
  os::File lock_;
  os::FileStatus read_;  // The file that was read, if there was one.
  bool isChanged_ = false;
  std::map<std::string, FileState> files_;
};

}  // namespace cli
