// runtime/datesettings.h: what the reader of dates knows of a project's habits: words, order and
// separators. Only dateparse and datescanner look at it; callers use the functions of dateparse.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "runtime/mbstring.h"
#include "runtime/packedtime.h"

namespace foldapi {

// What a piece of a date text is. The bits tell where it may belong and what it makes of a number
// beside it.
enum DateToken : int {
  kDateEnd = 0,
  kMonthWord = 0x81,
  kYearNumber = 0x82,
  kDateNumber = 0x88,
  kTimeNumber = 0x49,
  kAnyNumber = 0xc7,
  kDateSeparator = 0x383,
  kTimeSeparator = 0xc46,
  kAmWord = 0x944,
  kPmWord = 0x945,
};
constexpr int kInDate = 0x80;
constexpr int kInTime = 0x40;
constexpr int kDateBefore = 0x200;  // A number before it belongs to a date,
constexpr int kTimeBefore = 0x800;  // to a time;
constexpr int kDateAfter = 0x100;   // a number after it to a date,
constexpr int kTimeAfter = 0x400;   // to a time.

struct DateWord {
  std::string text;
  DateToken token = kDateEnd;
  int value = 0;  // A month from 1 on; 0 for AM, 1 for PM.
};

constexpr size_t kMonthCount = 12;
constexpr size_t kDateWordCount = kMonthCount + 2;
using DateWords = std::array<DateWord, kDateWordCount>;

using DateFieldPointer = int LocalTime::*;

DateWords englishDateWords();
// This moment, by the system's clock.
uint32_t presentPackedTime();

struct DateSettings {
  DateWords words = englishDateWords();  // Sorted by text without regard to case.
  std::string dateSeparators = "/.-";
  std::string timeSeparators = ":.";
  std::string skip;  // Characters that a text may hold anywhere, and that mean nothing.
  std::array<DateFieldPointer, 3> order{&LocalTime::month, &LocalTime::day, &LocalTime::year};
  std::string format = "mm/dd/yy hh:mm:ss";
  uint32_t (*now)() = presentPackedTime;  // Tests stop the clock.
};

// Those in force.
DateSettings& dateSettings();

inline bool isDateLetter(char c) { return (characterClasses(c) & (kCharUpper | kCharLower)) != 0; }
// Not by the character table: a digit has a value here.
inline bool isDateDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace foldapi
