// store/keyfile.cpp: how lines fall into sections, keys and values. Malformed text is passed over
// or taken as a key: nothing in here is an error.
#include "store/keyfile.h"

#include "base/vstring.h"
#include "runtime/assertion.h"
#include "runtime/mbstring.h"

namespace foldapi {

namespace {

constexpr std::string_view kEmptiness(" \t\r\n\0", 5);
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view withoutBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  return text;
}

// The end of a section's name; npos if it has none.
size_t endOfName(std::string_view head) {
  for (size_t i = 0; i < head.size(); ++i) {
    if (head[i] == '=' || head[i] == ']') return i;
  }
  return std::string_view::npos;
}

std::string_view withoutMark(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  return text;
}

// Whether a section line goes on after its CR, as in texts of systems without LF. One that was
// added at an end of such a text changes nothing.
bool endsLinesInReturns(std::string_view text) {
  const size_t head = text.find("]\r");
  if (head == std::string_view::npos) return false;
  const size_t next = text.find_first_not_of('\r', head + 1);  // A last CR may have lost its LF.
  return next != std::string_view::npos && text[next] != '\n';
}

bool isSectionLine(std::string_view line) {
  line = withoutBlanks(line.substr(0, line.find('\0')));
  return line.starts_with('[') && endOfName(line) != std::string_view::npos;
}

}  // namespace

bool isKeyFile(std::string_view text) {
  text = withoutMark(text);
  if (text.find_first_not_of(kEmptiness) == std::string_view::npos) return true;
  if (endsLinesInReturns(text)) return false;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    if (isSectionLine(text.substr(0, end))) return true;
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return false;
}

// The zeros are a part of the disk that was never written.
size_t wholeSize(std::string_view text) {
  text = text.substr(0, text.find_last_not_of('\0') + 1);
  if (text.empty() || text.back() == '\n' || endsLinesInReturns(text)) return text.size();
  const size_t found = text.rfind("\n[");
  const size_t head = found == std::string_view::npos ? 0 : found + 1;
  const std::string_view record = withoutMark(text.substr(head));
  if (!record.starts_with('[')) return text.size();
  bool isCut = record.find(']') == std::string_view::npos;
  for (const std::string_view start : {"[PROJECT=", "[FOLDER="}) {
    isCut = isCut || compareNoCase(record.substr(0, start.size()), start) == 0;
  }
  return isCut ? head : text.size();
}

TVKeyFile::TVKeyFile(std::string_view text, const KeyTableEntry* sections)
    : text_(withoutMark(text)),
      sections_(sections),
      mayHoldNulls_(text.find('\0') != std::string_view::npos) {}

KeyFileResult TVKeyFile::parse(const RecordHandler& handler) {
  std::string_view name;
  OptionalText value;
  while (nextSection(&name, &value) == kKeyFileDone) {
    const SectionId id = sectionId(name);
    if (id == kSectionSkipped) continue;
    if (handler(id, name, value) == kRecordAbort) return kKeyFileAborted;
  }
  return kKeyFileDone;
}

KeyFileResult TVKeyFile::nextSection(std::string_view* name, OptionalText* value) {
  std::string_view head;
  do {
    if (!readLine()) return kKeyFileEnd;
    head = withoutBlanks(line_);
  } while (head.empty() || head.front() != '[');
  head.remove_prefix(1);
  sectionStart_ = lineStart_;

  const size_t end = endOfName(head);
  *name = head.substr(0, end);
  if (end == std::string_view::npos) {
    if (lineEnded_) sectionValue_.reset();
  } else if (head[end] == ']') {
    sectionValue_.reset();
  } else {
    head.remove_prefix(end + 1);
    sectionValue_ = head.substr(0, head.find(']'));
  }
  *value = sectionValue_;
  return kKeyFileDone;
}

KeyFileResult TVKeyFile::nextKey(std::string_view* key, OptionalText* value) {
  std::string_view line;
  do {
    if (!readLine()) return kKeyFileEndOfSection;
    line = withoutBlanks(line_);
  } while (line.empty());
  if (line.front() == '[') {
    pushedBack_ = true;
    return kKeyFileEndOfSection;
  }
  const size_t split = line.find('=');
  *key = line.substr(0, split);
  value->reset();
  if (split != std::string_view::npos) *value = expandMacros(line.substr(split + 1));
  return kKeyFileDone;
}

std::string_view TVKeyFile::sectionText() const {
  const size_t end = pushedBack_ ? lineStart_ : position_;
  return text_.substr(sectionStart_, end - sectionStart_);
}

// False at the end of the text. A null ends the text of its line.
bool TVKeyFile::readLine() {
  if (pushedBack_) {
    pushedBack_ = false;
    return true;
  }
  if (position_ >= text_.size()) return false;
  const size_t end = text_.find('\n', position_);
  lineEnded_ = end != std::string_view::npos;
  lineStart_ = position_;
  line_ = text_.substr(position_, lineEnded_ ? end - position_ : end);
  position_ = lineEnded_ ? end + 1 : text_.size();
  if (mayHoldNulls_) {
    const size_t null = line_.find('\0');
    lineEnded_ = lineEnded_ && null == std::string_view::npos;
    line_ = line_.substr(0, null);
  }
  return true;
}

SectionId TVKeyFile::sectionId(std::string_view name) const {
  for (const KeyTableEntry* row = sections_; row->name != nullptr; ++row) {
    const std::string_view known = row->name;
    if (known == "*") return row->sectionId;
    if (known.size() == name.size() && compareNoCase(known, name) == 0) return row->sectionId;
  }
  return kSectionSkipped;
}

void TVKeyFile::setMacro(std::string_view name, std::string_view value) {
  if (compareNoCase(name, "TRVSPRIV") != 0) assertFail("keyfile.cpp", 307);
  macro_ = value;
}

// Every "$(...)" gives way to the one macro value, whatever name it holds. The character that then
// stands in its place is stepped over unseen: the first one of the macro value or, where that is
// empty, the one after it, so that a second macro that touches the first stays. What a macro value
// holds is not expanded again.
std::string_view TVKeyFile::expandMacros(std::string_view value) {
  if (value.find("$(") == std::string_view::npos) return value;
  expanded_.clear();
  while (!value.empty()) {
    if (value.starts_with("$(")) {
      const size_t end = value.find(')');
      if (end == std::string_view::npos) break;
      expanded_ += macro_;
      value.remove_prefix(end + 1);
      if (!macro_.empty()) continue;
    }
    const size_t step = mbCharLength(value, 0);
    if (step == 0) break;
    expanded_ += value.substr(0, step);
    value.remove_prefix(step);
  }
  expanded_ += value;
  return expanded_;
}

}  // namespace foldapi
