// cli/text/text.h: the rules for text that people read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

// With commas from 10,000 on.
std::string number(uint64_t count);
// "512 B", "38.1 MB", in thousands.
std::string sizeText(uint64_t bytes);
// Whether it is like that of a revision or a branch.
bool isNumber(std::string_view text);
// "1 file", "3 files", "2 branches".
std::string counted(uint64_t count, std::string_view thing);
// "2 files have no 1.4", for `what` "no 1.4".
std::string lacking(uint64_t files, std::string_view what);

// A path or a name as it is shown: quoted, with escapes, if it has control characters or bytes that
// are no UTF-8.
std::string shown(std::string_view text);
// Lines with control characters as "\x1b", but for tabs and line ends: what others wrote moves no
// terminal's cursor.
std::string onTerminal(std::string_view text);
// Bytes that are no UTF-8 become U+FFFD.
inline constexpr std::string_view kNoText = "\uFFFD";
std::string asUtf8(std::string_view text);
bool isUtf8(std::string_view text);
// The first code point of a text, or its first byte if that begins none.
std::string_view firstLetter(std::string_view text);
// Of one code point: one of ASCII's, or of U+0080 to U+009F, which some terminals obey too; or one
// that turns around the text after it, so that a name looks like another.
bool isControl(std::string_view letter);

// How many columns a text takes on a terminal, and the text filled up to that many.
size_t columnsOf(std::string_view text);
std::string padded(std::string_view text, size_t columns);
// Rows with two blanks between columns that are as wide as their longest cell; no blanks at the end
// of a line.
std::vector<std::string> table(const std::vector<std::vector<std::string>>& rows);

// Whether the texts are the same, but for the letter case of ASCII's letters.
bool equalsButForCase(std::string_view left, std::string_view right);

// The one of `known` that `word` may have been meant for: one that differs in case only, or so near
// that at most a third of its letters differ. Empty for none.
std::string nearest(std::string_view word, const std::vector<std::string>& known);

// "did you mean 'REL_1'?" with that one, else `otherwise`.
std::string offerNearest(std::string_view word, const std::vector<std::string>& known,
                         const std::string& otherwise = "");

// "a, b and c".
std::string listed(const std::vector<std::string>& words);

std::vector<std::string> split(std::string_view text, char separator);

// "1.0..1.4", of which both ends may be empty; else what is named is the first one.
struct Ends {
  std::string first;
  std::string last;
  bool isRange = false;
};
Ends endsOf(const std::string& range);

// Bytes as letters that mails, documents and addresses can hold.
std::string base64(std::string_view bytes);

// A number that hardly any other text has, the same for ever.
uint64_t hashOf(std::string_view text);

}  // namespace cli
