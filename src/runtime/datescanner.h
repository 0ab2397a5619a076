// runtime/datescanner.h: cuts a date text into tokens.
//
// What a number is follows from its size and from its neighbours: "95" is a year, "5" before "/" is
// part of a date, before ":" or "pm" of a time. A character that means nothing, such as the blank,
// is a separator of the same nature as what stood before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/datesettings.h"

namespace foldapi {

// What ends a word, and of which a text may consist that says nothing.
constexpr std::string_view kDateWordEnds = " \t,/.-:";

// The scanner keeps no place: tokens are read where, and behind what, the caller says. So looking
// ahead is reading and leaves nothing to put back.
class DateScanner {
 public:
  struct Token {
    DateToken kind = kDateEnd;
    int value = 0;
    size_t end = 0;     // One behind it; its own place if it is the end of the date.
    int32_t error = 0;  // kDateSyntaxError or kDateValueError; nothing else counts then.
  };

  // `text` and the settings must outlive the scanner.
  DateScanner(std::string_view text, std::string_view endSet, const DateSettings& settings);

  // The token at `at`, which is behind a token of kind `previous`: kDateEnd for the first one.
  Token read(size_t at, DateToken previous) const;

 private:
  Token readWord(size_t at) const;
  Token readNumber(size_t at, DateToken previous) const;
  void classify(DateToken previous, Token* number) const;
  size_t skip(size_t at) const { return at + mbSpan(text_.substr(at), settings_.skip); }

  std::string_view text_;
  std::string_view endSet_;
  std::string wordEnds_;
  const DateSettings& settings_;
};

}  // namespace foldapi
