// store/keyfile.h: TVKeyFile, the line tokeniser under every text data file.
//
// It knows two kinds of line, a section line "[Name=value]" and a key line "KEY=value", and drives
// the parse: it finds each section, looks its name up in a table and hands it to a record handler,
// which then pulls the section's key lines. What a record means is none of its business.
//
// Nothing is copied: names, keys and values are views into the text, or into a buffer of the
// tokeniser that is good until the next call.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace foldapi {

// Sections with id 0 are passed over.
enum SectionId : int {
  kSectionSkipped = 0,
  kSectionFolder = 1,
  kSectionDocument = 2,
  kSectionProject = 3,
};

// A row of a section table. A null name ends the table; the name "*" matches every section.
struct KeyTableEntry {
  const char* name;
  SectionId sectionId;
};

enum KeyFileResult : int {
  kKeyFileDone = 0,
  kKeyFileNoMemory = 2,
  kKeyFileEndOfSection = 3,
  kKeyFileEnd = 4,
  kKeyFileAborted = 5,
};

// What a record handler made of a record.
enum RecordResult : int {
  kRecordTaken = 0,
  kRecordAbort = 1,
  kRecordDropped = 2,
};

// A value that may be missing, which is not the same as empty.
using OptionalText = std::optional<std::string_view>;

// How much of a data file's text is whole: without a last record whose append a power cut ended.
// That is one whose last line has no end; a document's lacks nothing as soon as its "]" is there.
size_t wholeSize(std::string_view text);

// Whether a data file's text is one: it has nothing in it, or a section line. What is written in
// UTF-16 or ends its lines in CR alone must not pass for a file without records.
bool isKeyFile(std::string_view text);

class TVKeyFile {
 public:
  using RecordHandler =
      std::function<RecordResult(SectionId id, std::string_view name, OptionalText value)>;

  // Neither the text nor the table is copied. Line ends are LF. A UTF-8 mark at the start doesn't
  // count.
  TVKeyFile(std::string_view text, const KeyTableEntry* sections);

  // Runs over the whole text. Gives kKeyFileDone, or kKeyFileAborted when a handler asked for it.
  [[nodiscard]] KeyFileResult parse(const RecordHandler& handler);

  // The next section line; key lines and anything else before it are passed over.
  [[nodiscard]] KeyFileResult nextSection(std::string_view* name, OptionalText* value);
  // The next key line of the present section, for record handlers: to be called until it gives
  // something other than kKeyFileDone.
  [[nodiscard]] KeyFileResult nextKey(std::string_view* key, OptionalText* value);
  // The present section word for word, once all its key lines have been read.
  std::string_view sectionText() const;

  // The text that stands for every macro "$(...)" in a value. `name` is "TRVSPRIV". Nothing in the
  // library sets one, so that a macro stands for nothing.
  void setMacro(std::string_view name, std::string_view value);

 private:
  bool readLine();
  SectionId sectionId(std::string_view name) const;
  std::string_view expandMacros(std::string_view value);

  std::string_view text_;
  const KeyTableEntry* sections_;
  bool mayHoldNulls_;
  size_t position_ = 0;
  size_t sectionStart_ = 0;
  size_t lineStart_ = 0;
  std::string_view line_;      // Without its line end.
  bool lineEnded_ = false;     // The line had an end of its own.
  bool pushedBack_ = false;    // The line has been looked at but not consumed.
  OptionalText sectionValue_;  // A section line that is cut off keeps the value of the last one.
  std::string macro_;
  std::string expanded_;
};

}  // namespace foldapi
