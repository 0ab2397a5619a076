// btkf520/operations/workfile.h: putting a revision's bytes where the user works.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "btkf520/archive/model.h"
#include "btkf520/archive/status.h"
#include "btkf520/platform_file.h"
#include "btkf520/platform_workfile.h"

namespace btkf {

// A file on its way to the user: first all of it is written beside its place, which is where a full
// disk shows, then it takes its place. Gone without a trace if it is given up in between.
class NewWorkfile {
 public:
  // kBadName (9) if there is no such directory, kInUse (6) if another is writing the same one,
  // kCannotWrite (77).
  Status open(const std::string& path);
  // Adds at the end. kCannotWrite (77).
  Status write(std::string_view bytes);
  // To be called when all is written: `time` 0 is the present time. kCannotWrite (77).
  Status complete(bool isWritable, PackedTime time);

  // Tells what was seen at the file's place, nothing for no file, when it was decided that it may
  // be replaced. Without this anything may be.
  void replaceOnly(std::optional<WorkfileState> seen);

  // Whether it may still take its place: kWouldOverwrite (24).
  Status check() const;
  // Takes its place. kWouldOverwrite (24), kCannotWrite (77).
  Status finish();

 private:
  std::string path_;
  SiblingFile file_;
  bool isGuarded_ = false;
  std::optional<WorkfileState> seen_;
};

// Status for a file that could not be read.
Status readFailure(FileResult result, Status missing);

}  // namespace btkf
