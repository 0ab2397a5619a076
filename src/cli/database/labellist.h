// cli/database/labellist.h: which files a project had when a label was given to it.
//
// Records have no history: a file that was taken off the project or renamed since would be missing
// from a check-out of an old label, or come under its new name. So a label has a text file beside
// the project's list of files, replaced as a whole: "labels/NAME.txt", or "labels/NAME~HASH.txt" if
// that is another label's to a disk that is blind to letter case. Which revision has the label is
// the archive's to say; other clients give and move labels without such a list.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "os/file.h"

namespace cli {

struct LabelledFile {
  std::string path;  // From the top of the work directory, at that time.
  std::string archive;
  std::string revision;
  std::string written = {};  // The archive as the list names it, perhaps from another system.
};

class LabelList {
 public:
  // Of the project whose public directory that is. Empty if there is none, or what is there is no
  // list of this label; throws Problem if it can't be read.
  LabelList(const std::string& directory, std::string label);

  const std::vector<LabelledFile>& files() const { return files_; }
  // Both read the list again, keep it from others until it is stored, and wait up to five seconds
  // for who has it. They throw Problem, also where it can't be read: what it says would be lost.
  void set(const std::vector<LabelledFile>& files);
  void remove(const std::set<std::string>& archives);

 private:
  bool take(const std::string& text);
  std::string choosePath();
  void drop(const std::set<std::string>& archives);
  void change(const std::function<void()>& edit);
  os::FileResult read(os::File* file);
  os::FileResult store(const os::File& old);

  std::string start_;  // Of both paths that it may have.
  std::string label_;
  std::string path_;
  std::vector<LabelledFile> files_;
};

// The labels that have such a list there. Throws Problem if it can't be told.
std::vector<std::string> listedLabels(const std::string& directory);

// A name for a file, of at most 200 bytes: what may not stand in one is written as "%2F".
std::string fileNameOf(const std::string& label);

}  // namespace cli
