// dates/language.h: how a project writes dates: the words, the order and the separators.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "dates/packedtime.h"

namespace dates {

inline constexpr std::string_view kDefaultWords =
    "January February March April May June July August September October November December AM PM";
inline constexpr std::string_view kDefaultFormat = "mm/dd/yy hh:mm:ss";

constexpr size_t kMonthCount = 12;
constexpr size_t kWordCount = kMonthCount + 2;
constexpr size_t kLongestWord = 30;  // In bytes.
// What ends a word, and of which a text may consist that says nothing.
inline constexpr std::string_view kWordEnds = " \t,/.-:";

// How bytes make characters. Here each byte is one, and A to Z are the letters; a reader of other
// code pages puts functions of its own in their places.
struct Characters {
  // The length of the character at `at`; 0 at the end of the text.
  size_t (*length)(std::string_view text, size_t at);
  // The length in bytes of the leading run of characters that all are, or all are not, in `set`.
  size_t (*span)(std::string_view text, std::string_view set);
  size_t (*spanNot)(std::string_view text, std::string_view set);
  bool (*isLetter)(char c);
  // Whether `text` begins with `part`, without regard to case.
  bool (*begins)(std::string_view text, std::string_view part);

  static const Characters kBytes;
};

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

struct Language {
  Characters characters = Characters::kBytes;
  std::array<std::string, kWordCount> words = englishWords();  // January to December, AM, PM.
  std::array<int LocalTime::*, 3> order{&LocalTime::month, &LocalTime::day, &LocalTime::year};
  std::string dateSeparators = "/.-";
  std::string timeSeparators = ":.";
  std::string skip = "";  // Characters that a text may hold anywhere, and that mean nothing.
  std::string format{kDefaultFormat};

  // Takes the first fourteen words of `text`, which have any of " \t,/.-" between. False, and
  // nothing changes, for too few words, or two that differ in case only.
  bool setWords(std::string_view text);
  // Takes order and separators from a text such as "dd.mm.yy hh:mm:ss". Of each field only the
  // first letter counts, without regard to case: D, M and Y in any order, then H, M and S. Every
  // character between two fields of the date becomes a separator of dates, the same for times;
  // those between date and time become neither. False, and nothing changes, for another text.
  bool setFormat(std::string_view text);

 private:
  static std::array<std::string, kWordCount> englishWords();
};

// The words with a blank between two.
std::string joined(const std::array<std::string, kWordCount>& words);

// What a configuration may say, in bytes and for every reader of dates there may be: less than a
// Language takes.

// Fourteen words, joined. Nothing if there are more or less, if two are equal but for case, or if a
// reader could never recognise one of them.
std::optional<std::string> configuredWords(std::string_view text);
// Whether `text` has up to 255 bytes, fields of letters alone, only blanks and separators between,
// and nothing after them.
bool isConfiguredFormat(std::string_view text);

}  // namespace dates
