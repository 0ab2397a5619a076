// cli/local/newfiles.h: where a file goes that is new in the project: its folder and its archive.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "cli/database/database.h"

namespace cli {

class Session;

class NewFiles {
 public:
  // `folder` is the one that the user has named; empty for none. `known` are the project's files.
  NewFiles(Session& session, std::string folder, const std::vector<FileRecord>& known);

  // The record of a new file. Its archive is the one named, else the file's own path below the
  // first archive directory, or, where that is the archive of a file that was renamed, with a
  // number after it. Throws Problem.
  FileRecord record(const std::string& path, const std::string& archive = "") const;
  // Where new archives go is the word of whoever may write the configuration. If others may, and it
  // leads into the user's home, he is asked; Problem about `command` if he says no, and if the
  // place is gone that archives of the project are in.
  void askForPlace(const char* command) const;

 private:
  void refuseMissingPlace(const char* command) const;
  std::string folderOf(const std::string& path) const;
  std::string archiveOf(const std::string& path) const;
  std::string archiveNamed(const std::string& path) const;

  Session& session_;
  std::string folder_;
  std::vector<FolderRecord> folders_;
  std::string archiveDirectory_;
  std::unordered_map<std::string, std::string> owners_;  // The paths of files by their archives.
};

// Makes the directory of an archive that is to be made. One that is made where a team may write is
// the team's. Throws Problem, also for a name that an archive can't have.
void makePlaceOf(const FileRecord& file);

}  // namespace cli
