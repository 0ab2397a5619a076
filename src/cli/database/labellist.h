// cli/database/labellist.h: which files a project had when a label was given to it.
//
// Records have no history: a file that was taken off the project or renamed since would be missing
// from a check-out of an old label, or come under its new name. So a label has a text file beside
// the project's list of files, replaced as a whole: "labels/NAME.txt". Which revision has the label
// is the archive's to say; other clients give and move labels without such a list.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace cli {

struct LabelledFile {
  std::string path;  // From the top of the work directory, at that time.
  std::string archive;
  std::string revision;
};

class LabelList {
 public:
  // Of the project whose public directory that is. Empty if there is none, or none can be read.
  LabelList(const std::string& directory, std::string label);

  const std::vector<LabelledFile>& files() const { return files_; }
  void set(const std::vector<LabelledFile>& files);
  void remove(const std::set<std::string>& archives);
  // By their paths; without files the list goes. Throws Problem.
  void store();

 private:
  std::string path_;
  std::string label_;
  std::vector<LabelledFile> files_;
};

// The labels that have such a list there.
std::vector<std::string> listedLabels(const std::string& directory);

// A name for a file, of at most 200 bytes: what may not stand in one is written as "%2F".
std::string fileNameOf(const std::string& label);

}  // namespace cli
