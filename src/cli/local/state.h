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
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/archives/history.h"
#include "cli/database/database.h"
#include "os/file.h"

namespace cli {

// By which a file is known to be the same, and unchanged, with its rights.
struct Stamp {
  uint64_t size = 0;
  int64_t nanoseconds = 0;
  int64_t changed = 0;  // See os::FileStatus.
  uint64_t inode = 0;

  static Stamp of(const os::FileStatus& status) {
    return {status.size, status.nanoseconds, status.changed, status.identity.inode};
  }
  Stamp withChanged(int64_t time) const { return {size, nanoseconds, time, inode}; }
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

  // Null for none, and both for what was remembered with another archive. Good until another path
  // is asked about.
  const FileState* find(const std::string& path, const std::string& archive) const;
  const Told* told(const std::string& path, const std::string& archive) const;
  void set(const FileRecord& file, FileState state);
  // What was told before counts for nothing once there is a revision here, or a lock, or none.
  void setTold(const std::string& path, const std::string& archive, Told told);
  void forget(const std::string& path);
  // What is told of a followed revision is told of this one: "trunk", a label or a group.
  void follow(std::string_view follows);

  // A directory that can't be written remembers nothing, and all still works. What a command found
  // that changes no files is only kept if no other one works here or has been here meanwhile.
  void save();
  // The files that are revisions and were not among those kept, in the order of their paths.
  std::vector<FileRecord> unlisted() const;
  // When it was written last: a file of that time or later may have changed since unseen.
  int64_t written() const { return read_.nanoseconds; }

 private:
  struct Entry {
    std::string folder;
    std::string archive;
    std::optional<FileState> file;
    std::optional<Told> told;
  };
  // What the file that was read says of one path. It is taken apart when it is asked for.
  struct Line {
    std::string_view path;
    std::string_view text;  // All of it.
    bool isListed = false;  // The project has the file.
    bool isReplaced = false;

    std::string_view rest() const {
      return text.substr(static_cast<size_t>(path.data() + path.size() + 1 - text.data()));
    }
  };
  // What stands in the place of a line, or has none.
  struct Changed {
    bool isListed = false;
    Entry entry;
  };

  static bool readPath(std::string_view text, Line* line);
  static void readEntry(const Line& line, Entry* entry);
  static void writeLine(const std::string& path, const Changed& changed, std::string* to);
  void writeLines(std::string* to) const;
  size_t lineOf(std::string_view path) const;  // Past the end for none that counts.
  const Entry* entryOf(const std::string& path, const std::string& archive) const;
  Changed& changedAt(const std::string& path);
  Entry& entryFor(const std::string& path, const std::string& archive);
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
  std::string bytes_;        // Of the file that was read, to which the next refer.
  std::vector<Line> lines_;  // By their paths.
  std::map<std::string, Changed> changed_;
  mutable size_t next_ = 0;  // The line that was found last: the next is close.
  // The entry of the line that was asked about last, and which one that is.
  mutable Entry entry_;
  mutable const Line* line_ = nullptr;
};

}  // namespace cli
