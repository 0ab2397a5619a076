// cli/moving/rcsimport.h: one RCS file becomes an archive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cli/database/database.h"
#include "cli/moving/rcscontents.h"
#include "cli/moving/rcsfile.h"

namespace cli {

// Revisions keep their numbers, as far as the engine has such ones, and times, authors and
// messages; symbols become labels. Everybody's files pass by together, a change of each at a time:
// so the disk is waited for once for all of them.
class RcsImport {
 public:
  struct Label {
    std::string name;
    std::string revision;
    bool floats = false;  // With the tip of the revision's branch.
  };

  // Reads the file at `path`; it is shown as `shownPath`. Throws Problem.
  RcsImport(const std::string& path, FileRecord file, std::string shownPath);

  const FileRecord& file() const { return file_; }
  const std::string& shownPath() const { return shownPath_; }
  uint64_t size() const { return source_.size(); }
  size_t revisions() const { return source_.revisions().size(); }
  size_t branches() const { return branches_; }
  const std::vector<Label>& labels() const { return labels_; }
  std::string tip() const { return numbers_.at(source_.head()); }
  // What is other than in RCS, a line each.
  const std::vector<std::string>& notes() const { return notes_; }

  // Goes through all contents. Throws Problem for a file that can't be imported.
  void tryOut() const;
  // Makes the next change to the archive at `archive`, which may not be there at first; files whose
  // names begin with `scratch` are used, and removed by the engine. False if all is done. Throws
  // Problem.
  bool step(const std::string& archive, const std::string& scratch);
  // Reads all revisions of an archive and gives how many are as they should be. Throws Problem
  // for one that is not, with *compared as far as it got.
  void compare(const std::string& archive, size_t* compared) const;

 private:
  struct Found {
    std::string number;
    bool isBranch = false;
  };

  void findNumbers();
  void findBranches(const RcsRevision& revision);
  void findLabels();
  Found targetOf(const std::string& number) const;
  std::string tipOfBranch(const std::string& branch) const;
  void noteStates();
  void putRevision(const RcsRevision& revision, const std::string& archive,
                   const std::string& scratch);
  void setLabel(const Label& label, const std::string& archive) const;
  void setAttributes(const std::string& archive) const;
  uint32_t timeOf(const RcsRevision& revision, int64_t* moment) const;
  std::string messageOf(const RcsRevision& revision) const;
  void check(int32_t status, const std::string& archive, const std::string& number) const;

  FileRecord file_;
  std::string shownPath_;
  bool isExecutable_ = false;
  RcsFile source_;
  std::map<std::string, std::string> numbers_;  // The engine's, by those of RCS.
  size_t branches_ = 0;
  std::vector<Label> labels_;
  std::vector<std::string> notes_;

  std::unique_ptr<RcsContents> contents_;  // While revisions are put.
  size_t put_ = 0;
  std::vector<Label> pending_;
  bool isOpen_ = false;  // Needs no locks.
  enum class Stage { kRevisions, kLabels, kAttributes, kDone } stage_ = Stage::kRevisions;
};

}  // namespace cli
