// pages/source.h: what the pages tell of, read from the database and its archives.
//
// All of it is kept, and read again only where something has changed: a data file or an archive
// that looks as it did when it was read says what it said then.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "cli/archives/history.h"
#include "cli/database/database.h"
#include "os/file.h"

namespace pages {

// What an archive said.
struct Archive {
  cli::History history;
  std::string problem;                        // Why it said nothing; empty if it did.
  const cli::RevisionInfo* tip = nullptr;     // The trunk's newest; null for none.
  const cli::RevisionInfo* newest = nullptr;  // By its time.
};

struct File {
  cli::FileRecord record;
  std::shared_ptr<const Archive> archive;
};

// A revision with some label.
struct Labelled {
  std::string path;
  const File* file = nullptr;  // Null: it is no longer in the project.
  std::shared_ptr<const Archive> archive;
  const cli::RevisionInfo* revision = nullptr;
};

struct Label {
  std::string name;
  std::vector<Labelled> files;  // By their paths.
  std::string newest;           // The time of the newest revision.
};

struct Project {
  std::string name;
  std::string problem;              // Why its list can't be read; empty if it can.
  std::vector<File> files;          // By their paths.
  std::vector<Label> labels;        // The newest first.
  std::vector<std::string> groups;  // Of all promotion chains, the lowest first.

  const Label* label(std::string_view name) const;
};

class Source {
 public:
  // Of all projects, or of `only` one. Nothing is there before refresh().
  Source(cli::Roots roots, std::string only);
  ~Source();

  // Looks at all data files and archives, and reads those that have changed since the last time.
  // Throws Problem; then there is nothing to show until the next one.
  void refresh();
  // Another number whenever refresh() has found something.
  uint64_t version() const { return version_; }
  const std::vector<Project>& projects() const { return projects_; }

  // Has the engine work with the project's configuration. Throws Problem.
  void use(const Project& project) const;

 private:
  struct Known {
    std::shared_ptr<const Archive> archive;
    std::optional<os::FileMark> mark;
    int64_t readAt = 0;
    uint64_t round = 0;  // Of the last refresh() that wanted it.
  };
  struct Opened {
    cli::Project project;
    std::string origin;
    std::string directory;
  };

  bool areListsSame() const;
  void readLists();
  std::string rootMark() const;
  std::shared_ptr<const Archive> archiveAt(const std::string& path, const std::string& file,
                                           bool* isNew);
  void readLabels(const Opened& opened, Project* project);

  cli::Roots roots_;
  std::string only_;
  std::unique_ptr<cli::Database> database_;
  std::string rootMark_;
  std::vector<Opened> opened_;  // As projects_.
  std::vector<Project> projects_;
  std::unordered_map<std::string, Known> archives_;
  bool isWhole_ = false;  // The last refresh() came to its end.
  uint64_t version_ = 0;
  uint64_t round_ = 0;
};

}  // namespace pages
