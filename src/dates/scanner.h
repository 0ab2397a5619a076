// dates/scanner.h: cuts a date text into tokens.
//
// What a number is follows from its size and from its neighbours: "95" is a year, "5" before "/" is
// part of a date, before ":" or "pm" of a time. A character that means nothing, such as the blank,
// is a separator of the same nature as what stood before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "dates/language.h"

namespace dates {

// What reading a date may come to.
enum Status : int32_t {
  kGood = 0,
  kSyntaxError = 1,  // A piece where none can stand, a word that is too long.
  kValueError = 2,   // An unknown word, a day that there isn't, a field twice.
};

// Where a piece of a date text may belong, and what it makes of a number beside it.
constexpr int kInDate = 0x10;
constexpr int kInTime = 0x20;
constexpr int kDateBefore = 0x40;  // A number before it belongs to a date,
constexpr int kTimeBefore = 0x80;  // to a time;
constexpr int kDateAfter = 0x100;  // a number after it to a date,
constexpr int kTimeAfter = 0x200;  // to a time.

// What a piece is: the bits above, and a number of its own.
enum TokenKind : int {
  kEnd = 0,
  kMonthWord = kInDate | 1,
  kYearNumber = kInDate | 2,
  kDateNumber = kInDate | 3,
  kTimeNumber = kInTime | 4,
  kAnyNumber = kInDate | kInTime | 5,
  kDateSeparator = kInDate | kDateBefore | kDateAfter | 6,
  kTimeSeparator = kInTime | kTimeBefore | kTimeAfter | 7,
  kAmWord = kInTime | kTimeBefore | kDateAfter | 8,
  kPmWord = kInTime | kTimeBefore | kDateAfter | 9,
};

struct Token {
  TokenKind kind = kEnd;
  int value = 0;          // Of a number; a month from 1 on; 0 for AM, 1 for PM.
  size_t end = 0;         // Where the next one begins; its own place if it is the end of the date.
  Status status = kGood;  // After an error nothing else counts.
};

// The scanner keeps no place: tokens are read where, and after what, the caller says. So looking
// ahead is reading, and leaves nothing to put back.
class Scanner {
 public:
  // `text` and `language` must outlive the scanner. A character of `endSet` ends the date.
  Scanner(std::string_view text, std::string_view endSet, const Language& language);

  // The token at `at`, which is after a token of kind `previous`: kEnd for the first one.
  Token read(size_t at, TokenKind previous) const;

 private:
  Token readWord(size_t at) const;
  Token readNumber(size_t at, TokenKind previous) const;
  void classify(TokenKind previous, Token* number) const;
  size_t skip(size_t at) const { return at + span(text_.substr(at), language_.skip); }
  size_t span(std::string_view text, std::string_view set) const {
    return language_.characters.span(text, set);
  }

  std::string_view text_;
  std::string_view endSet_;
  std::string wordEnds_;
  const Language& language_;
};

}  // namespace dates
