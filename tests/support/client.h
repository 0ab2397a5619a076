// support/client.h: what clients of the C interface do again and again, and a look at what they
// leave on disk.
#pragma once

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foldapi/foldapi.h"
#include "support/database.h"
#include "support/files.h"

namespace support {

inline const std::string kHead = "[FORMAT=TRVS_GUI]\nVersion=5.2\n\n";

using Step = TVHandle*(FOLDAPI_CALL*)(TVHandle*);
using Text = const char*(FOLDAPI_CALL*)(TVHandle*);

inline std::vector<TVHandle*> walk(TVHandle* parent, Step first, Step next) {
  std::vector<TVHandle*> children;
  for (TVHandle* h = first(parent); h != nullptr; h = next(parent)) children.push_back(h);
  return children;
}

inline std::vector<std::string> texts(const std::vector<TVHandle*>& handles, Text get) {
  std::vector<std::string> all;
  for (TVHandle* handle : handles) all.emplace_back(get(handle));
  return all;
}

inline std::vector<std::string> projectNames(TVHandle* root) {
  return texts(walk(root, GetFirstProject, GetNextProject), GetProjectName);
}
inline std::vector<std::string> folderNames(TVHandle* project) {
  return texts(walk(project, GetFirstFolder, GetNextFolder), GetFolderName);
}
inline std::vector<std::string> workfileNames(TVHandle* parent) {
  return texts(walk(parent, GetFirstArchive, GetNextArchive), GetWorkfileName);
}

// An empty database with POSIX paths, gone with the object. Files are shown as text: "\n" stands
// for CR LF, all else that is not plain is escaped, and "@" stands for the database's directory.
class ScratchDatabase {
 public:
  ScratchDatabase() : database_(directory_.path(), ""), profile_("KSTR_INI", database_.profile()) {
    database_.writeProfile();
  }

  const Database& database() const { return database_; }
  std::string path(std::string_view relative) const { return database_.path(relative); }

  // A new session of this process, with the root open once.
  TVHandle* openRoot() const {
    TVHandle* root = Init(path("pub").c_str(), path("prv").c_str());
    OpenProjectRoot(root);
    return root;
  }
  // The same, and a project open once.
  TVHandle* openProject(const char* name) const {
    TVHandle* project = FindProject(openRoot(), name);
    OpenProject(project);
    return project;
  }

  std::string shown(std::string_view relative) const {
    const std::string bytes = replaced(readFile(path(relative)), directory_.path(), "@");
    return replaced(escaped(bytes), "\\r\\n", "\n");
  }
  void write(std::string_view relative, const std::string& text) const {
    const std::string bytes = replaced(text, "\n", "\r\n");
    writeFile(path(relative), replaced(bytes, "@", directory_.path()));
  }

  // The names of all files below the roots and the vault, sorted.
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.path())) {
      if (entry.is_regular_file() && entry.path() != database_.profile()) {
        names.push_back(entry.path().lexically_relative(directory_.path()).generic_string());
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  using Snapshot = std::map<std::string, std::string>;
  Snapshot everything() const {
    Snapshot all;
    for (const std::string& name : files()) all[name] = shown(name);
    return all;
  }
  // The names of the files that are not now as they were.
  std::vector<std::string> changedSince(const Snapshot& before) const {
    const Snapshot now = everything();
    std::vector<std::pair<std::string, std::string>> different;
    std::set_symmetric_difference(before.begin(), before.end(), now.begin(), now.end(),
                                  std::back_inserter(different));
    std::set<std::string> names;
    for (const auto& [name, bytes] : different) names.insert(name);
    return {names.begin(), names.end()};
  }

 private:
  TemporaryDirectory directory_;
  Database database_;
  ScopedEnvironment profile_;
};

}  // namespace support
