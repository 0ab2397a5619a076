// btkf520/operations/output.h: where the lines of a report go.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "btkf520/operations/client.h"
#include "btkf520/platform_workfile.h"

namespace btkf {

// The output of one report: a file, which gets everything at the end or nothing at all, or else
// callback 4, line by line.
class ReportOutput {
 public:
  // `path` is the path text of the file; null or empty for the callback. An existing file is
  // replaced only if the client agrees: kWouldOverwrite (24). kBadName (9).
  Status open(const char* path);

  // Takes one line without its end. kCancelled (15) if the client wants no report at all.
  Status line(std::string_view text, Output kind);
  // Takes each line of a text.
  Status lines(std::string_view text, std::string_view indent, Output kind);

  // To be called at the end. kWouldOverwrite (24) if the file has changed since, kCannotWrite (77).
  Status close();

 private:
  std::string path_;                  // Empty: the callback.
  std::optional<WorkfileState> old_;  // The file that may be replaced.
  std::string text_;
  bool isFull_ = false;  // The client has enough, or doesn't listen.
};

}  // namespace btkf
