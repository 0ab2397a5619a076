// cli/local/state.h: what a work directory remembers of its files: which revision each is, and how
// it looked then, so that one look at a file tells whether it has changed; what each archive said
// when it was last read, so that one look at the archive tells whether it says so still; and which
// files the project has, so that one look at each of its data files tells whether it has them
// still.
//
// It is memory, not truth: what is lost is found out again from the files and the archives. It is a
// text file, a line for each file, replaced as a whole and never synced. Another project's means
// nothing here, and so does what was remembered for another archive.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/archives/history.h"
#include "cli/database/database.h"
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

// What an archive said of its file.
struct Told {
  Stamp archive;         // How it was then.
  bool hasHere = false;  // It has the revision here.
  std::vector<LockInfo> locks;
  std::string followed;  // The number of the revision that is followed; empty: none.
  std::string author;
  std::string time;
};

class State {
 public:
  // For commands that change files; another one of the user's is waited for, up to five seconds.
  // Throws Problem.
  enum class Use { kRead, kChange };
  // `owner` names the project whose work directory it is.
  State(std::string top, std::string_view owner, Use use);
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  // The project's files, and what they were made from: see Project::origin(). Empty for none.
  std::string_view origin() const { return origin_; }
  std::vector<FileRecord> files() const;
  void keepFiles(const std::vector<FileRecord>& files, const std::string& origin);

  // What was said of a directory of which all was known, since those files are kept; null for
  // nothing. "" takes it back.
  const std::string* familiar(const std::string& directory) const;
  void setFamiliar(const std::string& directory, const std::string& text);

  // Null for none, and both for what was remembered with another archive.
  const FileState* find(const std::string& path, const std::string& archive) const;
  const Told* told(const std::string& path, const std::string& archive) const;
  void set(const std::string& path, const std::string& archive, FileState state);
  // What was told before counts for nothing once there is a revision here, or a lock, or none.
  void setTold(const std::string& path, const std::string& archive, Told told);
  void forget(const std::string& path);
  // What is told of a followed revision is told of this one: "trunk", a label or a group.
  void follow(std::string_view follows);

  // A directory that can't be written remembers nothing, and all still works. What a command found
  // that changes no files is only kept if no other one works here or has been here meanwhile.
  void save();
  // Each file that is a revision and was not among the files kept, in the order of the paths.
  using Visit = std::function<void(const std::string& path, const FileState& state)>;
  void forEachUnlisted(const Visit& visit) const;
  // When it was written last: a file of that time or later may have changed since unseen.
  int64_t written() const { return read_.nanoseconds; }

 private:
  struct Entry {
    bool isListed = false;  // The project has the file:
    std::string_view folder;
    std::string_view archive;
    std::optional<FileState> file;
    std::optional<Told> told;
  };
  using Entries = std::pmr::map<std::string_view, Entry>;

  static bool readLine(std::string_view line, std::string_view* path, Entry* entry);
  static void writeLine(std::string_view path, const Entry& entry, std::string* to);
  const Entry* entryOf(const std::string& path, const std::string& archive) const;
  Entry& entryFor(const std::string& path, const std::string& archive);
  // The same text, for as long as this object lives.
  std::string_view lasting(const std::string& text) { return texts_.emplace_back(text); }
  std::string path() const;
  void read();
  void lock();
  bool mayWrite();

  std::string top_;
  std::string owner_;
  Use use_;
  os::File lock_;
  os::FileStatus read_;  // The file that was read, if there was one.
  bool isChanged_ = false;
  std::string follows_;
  std::string origin_;
  std::map<std::string, std::string> familiar_;
  std::string bytes_;  // Of the file that was read; the entries refer to it and to the next.
  std::deque<std::string> texts_;
  std::pmr::monotonic_buffer_resource memory_;
  Entries entries_{&memory_};
  mutable Entries::const_iterator last_ = entries_.end();  // That was found: the next is close.
};

}  // namespace cli
