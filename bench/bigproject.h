// bench/bigproject.h: a database with one big project, seen through the C interface.
#pragma once

#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "rounds.h"
#include "support/database.h"
#include "support/files.h"

namespace bench {

// A generated database on drive "V:". The drive makes each path go through the path map, as on a
// team's file server.
class BigDatabase {
 public:
  BigDatabase(int documents, bool archives)
      : project_{.documents = documents, .archives = archives},
        database_(directory_ / "db"),
        profile_("KSTR_INI", database_.profile()) {
    database_.writeProfile();
    database_.writeProjects({}, {project_});
  }

  int size() const { return project_.documents; }
  // In the order of the data file.
  support::Document document(int index) const { return database_.bigDocument(project_, index); }
  // An archive's path for the operating system, and as the library names it.
  std::string nativePath(const support::Document& document) const {
    return database_.path("vault/" + document.workDirectory + "/" + document.archiveName);
  }
  std::string textPath(const support::Document& document) const {
    return document.archiveDirectory + "\\" + document.archiveName;
  }
  // The data file of the project.
  std::string dataFile() const { return database_.path("pub/big.prj/trvsfold.pub"); }

 private:
  support::TemporaryDirectory directory_;
  support::BigProject project_;
  support::Database database_;
  support::ScopedEnvironment profile_;
};

// The big project, opened from cold: nothing of it is in memory before.
class OpenBigProject {
 public:
  OpenBigProject() {
    root_ = Init(nullptr, nullptr);
    OpenProjectRoot(root_);
    project_ = FindProject(root_, "Big");
    check(OpenProject(project_) == 1, "the project opens");
  }
  OpenBigProject(const OpenBigProject&) = delete;
  OpenBigProject& operator=(const OpenBigProject&) = delete;
  ~OpenBigProject() {
    CloseProject(project_);
    CloseProjectRoot(root_);
  }

  TVHandle* handle() const { return project_; }
  std::vector<TVHandle*> archives() const {
    std::vector<TVHandle*> all;
    for (TVHandle* archive = GetFirstArchive(project_); archive != nullptr;
         archive = GetNextArchive(project_)) {
      all.push_back(archive);
    }
    return all;
  }

 private:
  TVHandle* root_;
  TVHandle* project_;
};

}  // namespace bench
