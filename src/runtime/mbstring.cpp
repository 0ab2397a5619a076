// runtime/mbstring.cpp: one rule for where a character ends, and everything built upon it.
//
// Each function walks by mbCharLength(), so a trail byte that looks like a backslash or a letter is
// never taken for one. Text without lead bytes, which is nearly all, goes a shorter way where a
// path function asks once for every separator.
#include "runtime/mbstring.h"

#include <algorithm>
#include <cstring>

#include "runtime/files.h"

namespace foldapi {
namespace {

constexpr uint32_t kTableMagic = 0x23239843;
constexpr size_t kEntrySize = 4;

constexpr bool isBetween(int c, char low, char high) { return c >= low && c <= high; }

constexpr bool isVowel(int upper) {
  return upper == 'A' || upper == 'E' || upper == 'I' || upper == 'O' || upper == 'U';
}

constexpr CharacterEntry asciiEntry(int c) {
  const bool isUpper = isBetween(c, 'A', 'Z');
  const bool isLower = isBetween(c, 'a', 'z');
  const bool isDigit = isBetween(c, '0', '9');
  const int upper = isLower ? c - 'a' + 'A' : c;
  const int lower = isUpper ? c - 'A' + 'a' : c;
  const bool isGraphic = c > ' ' && c < 0x7f;
  const bool isAlphanumeric = isUpper || isLower || isDigit;
  int classes = 0;
  if (isUpper) classes |= kCharUpper;
  if (isLower) classes |= kCharLower;
  if (isDigit) classes |= kCharDigit;
  if (c == ' ' || (c >= '\t' && c <= '\r')) classes |= kCharSpace;
  if (isGraphic && !isAlphanumeric) classes |= kCharPunctuation;
  if (c < ' ' || c == 0x7f) classes |= kCharControl;
  if (isAlphanumeric) classes |= kCharAlphanumeric;
  if (isDigit || isBetween(upper, 'A', 'F')) classes |= kCharHexDigit;
  if (isGraphic) classes |= kCharGraphic;
  if (c == ' ' || c == '\t') classes |= kCharBlank;
  if (isVowel(upper)) classes |= kCharVowel;
  return {static_cast<uint16_t>(classes), static_cast<uint8_t>(upper), static_cast<uint8_t>(lower)};
}

constexpr CharacterTable makeAsciiTable() {
  CharacterTable table{};
  for (int c = 0; c < 256; ++c) {
    const auto self = static_cast<uint8_t>(c);
    table[self] = c < 128 ? asciiEntry(c) : CharacterEntry{0, self, self};
  }
  return table;
}

constexpr CharacterTable kAsciiTable = makeAsciiTable();
constinit CharacterTable theTable = kAsciiTable;
constinit bool theTableHasLeadBytes = false;

uint8_t upperOf(char c) { return theTable[static_cast<unsigned char>(c)].upper; }

// Whether the character of `text` at `at` is one of `set`.
bool isInSet(std::string_view text, size_t at, size_t length, std::string_view set) {
  const std::string_view character = text.substr(at, length);
  for (size_t i = 0, step; (step = mbCharLength(set, i)) != 0; i += step) {
    if (set.substr(i, step) == character) return true;
  }
  return false;
}

enum class Run { kOfSet, kOfOthers };

// The length of the leading run of characters that are in `set`, or of those that are not.
size_t lengthOf(Run run, std::string_view text, std::string_view set) {
  size_t at = 0;
  for (size_t step; (step = mbCharLength(text, at)) != 0; at += step) {
    if (isInSet(text, at, step, set) != (run == Run::kOfSet)) break;
  }
  return at;
}

int sign(int difference) { return (difference > 0) - (difference < 0); }

// Orders the characters at `x` and `y`; both are there.
int compareCharacters(std::string_view x, std::string_view y) {
  if (x.size() == 1 && y.size() == 1) return upperOf(x[0]) - upperOf(y[0]);
  if (x.size() != y.size()) {
    return static_cast<unsigned char>(x[0]) - static_cast<unsigned char>(y[0]);
  }
  return x.compare(y);
}

void mapSingleBytes(std::string* text, uint8_t CharacterEntry::*form) {
  for (size_t at = 0, step; (step = mbCharLength(*text, at)) != 0; at += step) {
    if (step != 1) continue;
    char& c = (*text)[at];
    c = static_cast<char>(theTable[static_cast<unsigned char>(c)].*form);
  }
}

}  // namespace

const CharacterTable& characterTable() { return theTable; }

void setCharacterTable(const CharacterTable* table) {
  theTable = table == nullptr ? kAsciiTable : *table;
  theTableHasLeadBytes =
      std::any_of(theTable.begin(), theTable.end(),
                  [](const CharacterEntry& entry) { return (entry.classes & kCharLead) != 0; });
}

bool loadCharacterTable(std::string_view path) {
  std::array<uint8_t, sizeof(kTableMagic) + 256 * kEntrySize> bytes;
  os::File file;
  if (openFile(path, os::File::Access::kRead, &file) != os::FileResult::kDone ||
      !file.readAt(0, bytes.data(), bytes.size())) {
    return false;
  }
  uint32_t magic = 0;
  for (size_t i = 0; i < sizeof magic; ++i) magic |= static_cast<uint32_t>(bytes[i]) << (8 * i);
  if (magic != kTableMagic) return false;
  CharacterTable table;
  const uint8_t* entry = bytes.data() + sizeof magic;
  for (CharacterEntry& target : table) {
    target = {static_cast<uint16_t>(entry[0] | entry[1] << 8), entry[2], entry[3]};
    entry += kEntrySize;
  }
  setCharacterTable(&table);
  return true;
}

bool hasLeadBytes() { return theTableHasLeadBytes; }

size_t mbCharLength(std::string_view text, size_t at) {
  if (at >= text.size() || text[at] == '\0') return 0;
  if (!theTableHasLeadBytes || (characterClasses(text[at]) & kCharLead) == 0) return 1;
  return at + 1 < text.size() && text[at + 1] != '\0' ? 2 : 0;
}

size_t mbLength(std::string_view text) {
  size_t count = 0;
  for (size_t at = 0, step; (step = mbCharLength(text, at)) != 0; at += step) ++count;
  return count;
}

size_t mbFindByte(std::string_view text, char byte) {
  for (size_t at = 0, step; (step = mbCharLength(text, at)) != 0; at += step) {
    if (step == 1 && text[at] == byte) return at;
  }
  return std::string_view::npos;
}

size_t mbFindLastByte(std::string_view text, char byte) {
  size_t found = std::string_view::npos;
  for (size_t at = 0, step; (step = mbCharLength(text, at)) != 0; at += step) {
    if (step == 1 && text[at] == byte) found = at;
  }
  return found;
}

size_t mbFindAny(std::string_view text, std::string_view set) {
  const size_t at = mbSpanNot(text, set);
  return mbCharLength(text, at) == 0 ? std::string_view::npos : at;
}

size_t mbSpan(std::string_view text, std::string_view set) {
  return lengthOf(Run::kOfSet, text, set);
}

size_t mbSpanNot(std::string_view text, std::string_view set) {
  return lengthOf(Run::kOfOthers, text, set);
}

size_t mbFindString(std::string_view text, std::string_view part) {
  for (size_t at = 0;;) {
    if (text.substr(at, part.size()) == part) return at;
    const size_t step = mbCharLength(text, at);
    if (step == 0) return std::string_view::npos;
    at += step;
  }
}

char* mbTokenize(char* text, const char* delimiters) {
  static thread_local char* position = nullptr;
  if (text != nullptr) position = text;
  if (position == nullptr) return nullptr;
  char* const token = position + mbSpan(position, delimiters);
  const std::string_view rest = token;
  const size_t length = mbSpanNot(rest, delimiters);
  const size_t delimiter = mbCharLength(rest, length);
  position = delimiter == 0 ? nullptr : token + length + delimiter;
  std::memset(token + length, 0, delimiter);
  return length == 0 ? nullptr : token;
}

int mbCompareNoCase(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
  return mbCompareNoCase(std::string_view(a), std::string_view(b));
}

int mbCompareNoCase(std::string_view a, std::string_view b) {
  return mbCompareNoCaseN(a, b, std::string_view::npos);
}

int mbCompareNoCaseN(std::string_view a, std::string_view b, size_t count) {
  size_t x = 0, y = 0;
  for (; count != 0; --count) {
    const size_t stepX = mbCharLength(a, x);
    const size_t stepY = mbCharLength(b, y);
    if (stepX == 0 || stepY == 0) return (stepX != 0) - (stepY != 0);
    const int order = compareCharacters(a.substr(x, stepX), b.substr(y, stepY));
    if (order != 0) return sign(order);
    x += stepX;
    y += stepY;
  }
  return 0;
}

void mbUpper(std::string* text) { mapSingleBytes(text, &CharacterEntry::upper); }

void mbLower(std::string* text) { mapSingleBytes(text, &CharacterEntry::lower); }

void mbReverse(std::string* text) {
  const std::string source = *text;
  size_t at = 0;
  for (size_t step; (step = mbCharLength(source, at)) != 0; at += step) {
  }
  size_t end = at;  // What no character holds, after the last one, stays where it is.
  for (size_t from = 0, step; (step = mbCharLength(source, from)) != 0; from += step) {
    end -= step;
    text->replace(end, step, source, from, step);
  }
}

uint16_t mbNext(std::string_view text, size_t* at) {
  const size_t length = mbCharLength(text, *at);
  unsigned character = 0;
  for (size_t i = 0; i < length; ++i) {
    character = character << 8 | static_cast<unsigned char>(text[*at + i]);
  }
  *at += length;
  return static_cast<uint16_t>(character);
}

size_t mbPut(uint16_t character, char* out) {
  const auto low = static_cast<char>(character & 0xff);
  if (character <= 0xff) {
    out[0] = low;
    return 1;
  }
  out[0] = static_cast<char>(character >> 8);
  out[1] = low;
  return 2;
}

int mbTrailOffset(std::string_view text, size_t index) {
  if (!theTableHasLeadBytes) return 0;
  for (size_t at = 0, step; (step = mbCharLength(text, at)) != 0; at += step) {
    if (index < at + step) return step == 2 ? static_cast<int>(index - at) + 1 : 0;
  }
  return 0;
}

}  // namespace foldapi
