// btkf520/operations/output.h: a file or the client, which gets the lines of a report.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/operations/workfile.h"
#include "os/file.h"

namespace btkf {

// The output of one report: a file, which gets everything at the end or nothing at all, or else
// the client, line by line.
class ReportOutput {
 public:
  // `path` is the path text of the file; null or empty for the client. An existing file is
  // replaced only if the client agrees: TRVS_WOULD_OVERWRITE. TRVS_BAD_NAME. TRVS_SAME_NAMES if it
  // is one of `inputs`, the system's paths of what the report is about.
  [[nodiscard]] TrvsStatus open(const char* path, const std::vector<std::string>& inputs);

  // Takes one line without its end. Control characters but tabs are written as "\x1b", except with
  // TRVS_OUTPUT_DIFFERENCES: those lines are the files' own. TRVS_CANCELLED if the client wants no
  // report at all.
  [[nodiscard]] TrvsStatus line(std::string_view text, TrvsOutput kind);
  // Takes each line of a text.
  [[nodiscard]] TrvsStatus lines(std::string_view text, std::string_view indent, TrvsOutput kind);

  // To be called at the end. TRVS_WOULD_OVERWRITE if the file has changed since, TRVS_CANNOT_WRITE.
  [[nodiscard]] TrvsStatus close();

 private:
  [[nodiscard]] TrvsStatus flush();

  std::string path_;                   // Empty: the client.
  std::optional<os::FileStatus> old_;  // The file that may be replaced.
  std::string text_;                   // Not written yet.
  NewWorkfile file_;
  bool isOpen_ = false;  // The same.
  bool isFull_ = false;  // The client has enough, or doesn't listen.
};

}  // namespace btkf
