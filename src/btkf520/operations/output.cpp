// btkf520/operations/output.cpp: lines to a file or to the client.
#include "btkf520/operations/output.h"

#include <algorithm>

#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/workfile.h"

namespace btkf {

Status ReportOutput::open(const char* path) {
  const std::string text(textOf(path));
  if (text.empty()) return kDone;
  const auto place = systemPath(text);
  if (!place) return kBadName;
  old_ = workfileState(*place);
  if (old_ && !(old_->isRegular && client().overwrites(text, ""))) return kWouldOverwrite;
  path_ = *place;
  return kDone;
}

Status ReportOutput::line(std::string_view text, Output kind) {
  if (!path_.empty()) {
    text_.append(text).append("\n");
    return kDone;
  }
  if (isFull_) return kDone;
  const Flow flow = client().output(std::string(text), kind);
  isFull_ = flow == Flow::kEnough;
  return flow == Flow::kCancelled ? kCancelled : kDone;
}

Status ReportOutput::lines(std::string_view text, std::string_view indent, Output kind) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view one = text.substr(0, end);
    if (one.ends_with('\r')) one.remove_suffix(1);
    if (const Status status = line(std::string(indent).append(one), kind)) return status;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return kDone;
}

Status ReportOutput::close() {
  if (path_.empty()) return kDone;
  NewWorkfile file;
  if (const Status status = file.open(path_)) return status;
  if (const Status status = file.write(text_)) return status;
  if (const Status status = file.complete(true, 0)) return status;
  file.replaceOnly(old_);
  return file.finish();
}

}  // namespace btkf
