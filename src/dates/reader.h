// dates/reader.h: dates that people type, in the words and the order that a project sets.
//
// A date may leave out nearly all of itself. What is missing comes from today, or from the earliest
// or the latest date that fits: "95" is the first or the last moment of 1995. Times are from 1980
// to 2100; every fourth year is a leap year, 2100 too.
//
// All is values: language and present time are given, and nothing is kept.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "dates/language.h"
#include "dates/scanner.h"

namespace dates {

// What a date that leaves out fields means: the first or the last moment that fits.
enum class Fill { kEarliest, kLatest };

struct Reading {
  Status status = kGood;
  PackedTime time = 0;  // After an error neither this
  size_t end = 0;       // nor the place of what ended the date means anything.
};

// Reads the date that `text` begins with, up to its end or a character of `endSet`. No date at all
// is the first moment of 1980 or the last one of 2100.
Reading readDate(std::string_view text, const Language& language, PackedTime now, Fill fill,
                 std::string_view endSet = {});

// Both ends of a stretch of time.
struct Stretch {
  Reading from;
  Reading to;
};

// Reads "date*date", where either date may be missing. A single date is all the time that it may
// mean; a text of nothing but blanks and separators is the present moment.
Stretch readStretch(std::string_view text, const Language& language, PackedTime now);

// "12/25/95 10:30:00": the fields in the order of the language, each pair apart by the first of its
// separators. Years up to 2079 have two digits, later ones four, which is how they are read.
std::string written(PackedTime time, const Language& language);

}  // namespace dates
