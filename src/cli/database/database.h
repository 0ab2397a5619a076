// cli/database/database.h: the projects and files of a team, as commands see them.
//
// Everything here throws Problem. Paths are the operating system's.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/problem.h"
#include "os/file.h"
#include "store/52data.h"
#include "toolkit/directives.h"

namespace cli {

// A place, and why it was taken.
struct Place {
  std::string path;
  std::string reason;
  bool isRemembered = false;  // There was a database when that was written down.
};

struct Roots {
  Place publicRoot;
  Place privateRoot;
};

// Whether nobody has chosen that root.
bool isDefault(const Place& root);

// A file of a project: its record.
struct FileRecord {
  std::string path;     // From the top of the work directory, with "/".
  std::string archive;  // Absolute.
  std::string folder;   // Empty: in none.
};

// Throws Problem for a path that the text of a record would not bring back.
void refuseUnstorable(const std::string& path);

// A folder of a project: a named part with its own place in the work directory.
struct FolderRecord {
  std::string name;
  std::string directory;  // From the top of the work directory, with "/"; empty: the top.
  bool isMine = false;    // Only the user has it.
  size_t files = 0;
};

// One project. Its list of files is read when something first asks about it.
class Project {
 public:
  Project();
  Project(Project&&) noexcept;
  Project& operator=(Project&&) noexcept;
  ~Project();

  const std::string& name() const;
  // The user's own work directory, and the team's; either may be empty.
  std::string workDirectory() const;
  std::string teamWorkDirectory() const;
  void setWorkDirectory(const std::string& directory);
  void setTeamWorkDirectory(const std::string& directory);
  std::string configurationFile() const;
  std::string configurationText() const;  // The path as the records have it.
  // Where the team's list of its files lies.
  std::string publicDirectory() const;
  // In their order; where new archives go is the first.
  std::vector<std::string> archiveDirectories() const;
  std::vector<std::string> archiveDirectoryTexts()
      const;  // The same as the configuration has them.
  void setArchiveDirectories(const std::string& directories);
  // Has the configuration file say so, or only tries out whether that can be.
  foldapi::SetResult setDirective(const std::string& name, const std::vector<std::string>& values,
                                  foldapi::Trial trial);

  // By their paths.
  std::vector<FileRecord> files() const;
  // Throws Problem if a data file that files() was made from was cut off or emptied: nobody knows
  // then what else the project has, and the next edit of the file drops what shows that.
  void refuseCut() const;
  // The same if a folder has no list, though it had files.
  void refuseLostList(const std::string& folder) const;
  // What files() was made from, in lines: so long as isStill() says so of them, the list is the
  // same, but for names on the disk that differ in letter case alone: see isNamed(). Empty if that
  // can't be told, as where a file changed just now.
  std::string origin() const;
  bool isStill(std::string_view origin) const;
  // Whether files() would have that file by the same names.
  bool isNamed(const FileRecord& file) const;
  // Stores records in one edit of the project's file. `failed` hears of each that no file can have:
  // of a folder that the project has not, of a file outside of its folder, of a name that the
  // project's list can't hold.
  using Failed = std::function<void(const FileRecord& file, const Problem& problem)>;
  void addFiles(const std::vector<FileRecord>& files, const Failed& failed);
  void removeFile(const FileRecord& file);
  // Gives the record of a file another path. A folder keeps what lies below its directory only.
  void renameFile(const FileRecord& file, const std::string& path);

  std::vector<FolderRecord> folders() const;
  FolderRecord folder(const std::string& name) const;  // Throws Problem for one that there is not.
  // Throws Problem if there is a folder of that name.
  void refuseKnownFolder(const std::string& name) const;
  void addFolder(const FolderRecord& folder);
  // With all its records.
  void removeFolder(const std::string& name);

  // Has the engine work with the project's configuration.
  void useConfiguration() const;

 private:
  friend class Database;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The file of a root that tells its projects; in the letter case that it has there.
std::string listOfProjects(const std::string& root, foldapi::Side side);

// What the profile says, else the default places; the profile is left alone.
Roots rootsOfProfile();
// Has the profile say them from now on.
void storeRoots(const Roots& roots);

class Database {
 public:
  // Reads the list of projects. Nothing is made unless `makes`: a public root that is no database
  // is refused.
  // kOnce: a root that is remembered, and is not there, is somewhere else.
  enum class Making { kAllowed, kOnce, kNot };
  Database(Roots roots, Making making);
  ~Database();

  const Roots& roots() const { return roots_; }
  std::vector<std::string> projects() const;
  Project open(const std::string& name);
  // The one whose configuration is that of all projects.
  Project openMaster();
  // Throws Problem if there is a project of that name.
  void refuseKnown(const std::string& name) const;
  Project add(const std::string& name, const std::string& work, const std::string& teamWork);
  void remove(const std::string& name);
  // The project whose work directory, the user's or the team's, holds `directory`: the deepest.
  // Links are resolved on both sides.
  struct Holder {
    std::string project;
    std::string top;
  };
  std::optional<Holder> holderOf(const std::string& directory);

 private:
  struct Impl;
  Roots roots_;
  std::unique_ptr<Impl> impl_;
};

// A text that another mark has not.
std::string textOf(const os::FileMark& mark);

// Whether the user's profile trusts what the team's configurations have run.
bool trustsConfigurations();

}  // namespace cli
