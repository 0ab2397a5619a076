// runtime/mbstring.h: text by characters, on code pages where a character may take two bytes.
//
// What a byte means stands in one character table, which a program may replace. The table built in
// knows ASCII only and has no lead bytes, so with it every character is one byte long.
//
// A scan stops at a NUL as at the end of the text, and at a lead byte that has nothing after it.
// Positions are byte positions; std::string_view::npos says "not there".
//
// The library itself uses the half of this that paths and dates need. The rest completes the set
// for programs that replace the table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace foldapi {

constexpr uint16_t kCharUpper = 0x1;
constexpr uint16_t kCharLower = 0x2;
constexpr uint16_t kCharDigit = 0x4;
constexpr uint16_t kCharSpace = 0x8;
constexpr uint16_t kCharPunctuation = 0x10;
constexpr uint16_t kCharControl = 0x20;
constexpr uint16_t kCharAlphanumeric = 0x40;
constexpr uint16_t kCharHexDigit = 0x80;
constexpr uint16_t kCharGraphic = 0x100;
constexpr uint16_t kCharLead = 0x200;
constexpr uint16_t kCharBlank = 0x400;
constexpr uint16_t kCharVowel = 0x800;

// A to Z in lower case, and any other byte as it is: what texts are compared by where case doesn't
// count.
constexpr char foldedCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

struct CharacterEntry {
  uint16_t classes;  // A set of kChar bits.
  uint8_t upper;
  uint8_t lower;
};
using CharacterTable = std::array<CharacterEntry, 256>;

const CharacterTable& characterTable();
// Copies `table`; null brings back the one that is built in.
void setCharacterTable(const CharacterTable* table);
// Replaces the table by the one in a file: the magic 0x23239843, then the 256 entries, all little
// endian. False for a file that can't be read, is too short or is something else: nothing changes.
[[nodiscard]] bool loadCharacterTable(std::string_view path);
// Whether any byte of the table is a lead byte.
bool hasLeadBytes();

inline uint16_t characterClasses(char c) {
  return characterTable()[static_cast<unsigned char>(c)].classes;
}

// The length of the character at `at`: 1 or 2 bytes, 0 where a scan stops.
size_t mbCharLength(std::string_view text, size_t at);
// The number of characters.
size_t mbLength(std::string_view text);

// The first and the last place of a byte that is a character by itself.
size_t mbFindByte(std::string_view text, char byte);
size_t mbFindLastByte(std::string_view text, char byte);
// The first character that occurs in `set`.
size_t mbFindAny(std::string_view text, std::string_view set);
// The length in bytes of the leading run of characters that all are, or all are not, in `set`.
size_t mbSpan(std::string_view text, std::string_view set);
size_t mbSpanNot(std::string_view text, std::string_view set);
// The first place of `part`, tested at the start of each character.
size_t mbFindString(std::string_view text, std::string_view part);

// The next token of `text`, cut out in place; a null `text` goes on in the last one. Null at the
// end. The position is kept for each thread.
char* mbTokenize(char* text, const char* delimiters);

// Orders by the upper-case forms of single-byte characters; below, at or above 0. Null sorts first.
int mbCompareNoCase(const char* a, const char* b);
int mbCompareNoCase(std::string_view a, std::string_view b);
// The same for the first `count` characters.
int mbCompareNoCaseN(std::string_view a, std::string_view b, size_t count);

// In place. Characters of two bytes stay as they are.
void mbUpper(std::string* text);
void mbLower(std::string* text);
// In place. A character of two bytes keeps the order of its bytes.
void mbReverse(std::string* text);

// Reads the character at *at, lead byte in the high half, and steps over it. 0 where a scan stops.
uint16_t mbNext(std::string_view text, size_t* at);
// Writes one character to `out`: 1 byte, or 2 if the high half is not 0. Gives the number written.
size_t mbPut(uint16_t character, char* out);

// Whether byte `index` belongs to a character of two bytes: 1 for the lead byte, 2 for the trail
// byte, else 0.
int mbTrailOffset(std::string_view text, size_t index);

}  // namespace foldapi
