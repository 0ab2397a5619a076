// btkf520/operations/workfile.h: putting a revision's bytes where the user works.
#pragma once

#include <string>
#include <string_view>

#include "btkf520/archive/model.h"
#include "btkf520/platform_file.h"
#include "btkf520/status.h"

namespace btkf {

// A workfile on its way: first all of it is written beside its place, which is where a full disk
// shows, then it takes its place. Gone without a trace if it is given up in between.
class NewWorkfile {
 public:
  // kBadName (9) if there is no such directory, kInUse (6) if another is writing the same one,
  // kCannotWrite (77).
  Status write(const std::string& path, std::string_view bytes);

  // `time` 0 leaves the present time. kCannotWrite (77).
  Status finish(bool isWritable, PackedTime time);

 private:
  std::string path_;
  SiblingFile file_;
};

// Status for a file that could not be read.
Status readFailure(FileResult result, Status missing);

}  // namespace btkf
