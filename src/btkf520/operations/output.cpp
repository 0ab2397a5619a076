// btkf520/operations/output.cpp: lines to a file or to the client.
#include "btkf520/operations/output.h"

#include <algorithm>

#include "btkf520/operations/plaintext.h"
#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "os/directory.h"

namespace btkf {
namespace {

constexpr size_t kPiece = 1 << 20;  // Of a report, that is written at once.

}  // namespace

TrvsStatus ReportOutput::open(const char* path, const std::vector<std::string>& inputs) {
  const std::string text(textOf(path));
  if (text.empty()) return TRVS_DONE;
  const auto place = systemPath(text);
  if (!place) return TRVS_BAD_NAME;
  for (const std::string& input : inputs) {
    if (os::isSameFile(*place, input)) return TRVS_SAME_NAMES;
  }
  old_ = entryAt(*place);
  if (old_ && !(isReplaceable(*old_) && client().overwrites(text, ""))) return TRVS_WOULD_OVERWRITE;
  path_ = *place;
  return TRVS_DONE;
}

TrvsStatus ReportOutput::line(std::string_view text, TrvsOutput kind) {
  std::string plain;
  if (kind != TRVS_OUTPUT_DIFFERENCES) text = plain = plainText(text, "\t");
  if (!path_.empty()) {
    text_.append(text).append("\n");
    return text_.size() < kPiece ? TRVS_DONE : flush();
  }
  if (isFull_) return TRVS_DONE;
  const int32_t answer = client().output(std::string(text), kind);
  isFull_ = answer == TRVS_ENOUGH;
  return answer == TRVS_GO_ON || isFull_ ? TRVS_DONE : TRVS_CANCELLED;
}

TrvsStatus ReportOutput::lines(std::string_view text, std::string_view indent, TrvsOutput kind) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view one = text.substr(0, end);
    if (one.ends_with('\r')) one.remove_suffix(1);
    if (const TrvsStatus status = line(std::string(indent).append(one), kind)) return status;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return TRVS_DONE;
}

// What is written so far lies beside the file's place.
TrvsStatus ReportOutput::flush() {
  if (!isOpen_) {
    if (const TrvsStatus status = file_.open(path_)) return status;
    isOpen_ = true;
  }
  const TrvsStatus status = file_.write(text_);
  text_.clear();
  return status;
}

TrvsStatus ReportOutput::close() {
  if (path_.empty()) return TRVS_DONE;
  if (const TrvsStatus status = flush()) return status;
  if (const TrvsStatus status = file_.complete({})) return status;
  file_.replaceOnly(old_);
  return file_.finish();
}

}  // namespace btkf
