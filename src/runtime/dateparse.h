// runtime/dateparse.h: dates that people type, in the words and the order that a project sets.
//
// A date may leave out nearly all of itself. What is missing comes from today, or from the earliest
// or the latest date that fits: "95" is the first or the last moment of 1995. Times are packed
// local times (see packedtime.h), from 1980 to 2100; every fourth year is a leap year, 2100 too.
//
// The settings belong to the process. Nothing here keeps two threads apart: whoever sets words or a
// format holds others off until its dates are read.
#pragma once

#include <cstdint>

namespace foldapi {

// What reading a date gives besides 0.
constexpr int32_t kDateSyntaxError = 1;  // A piece where none can stand, a word that is too long.
constexpr int32_t kDateValueError = 2;   // An unknown word, a day that there isn't, a field twice.

// Reads the date at *text, up to a NUL or a character of `endSet`, which may be null. Missing
// fields are the latest that fit if `latest` isn't 0, else the earliest; with no date at all that
// is the first moment of 1980 or the last one of 2100. Gives 0, and *text then points at what ended
// the date; or an error's code, and nothing is changed.
int32_t ParseDate(const char** text, uint32_t* result, const char* endSet, int latest);

// Reads "date*date", where either date may be missing. A single date is all the time that it may
// mean; a text of nothing but blanks and separators is the present moment. Gives 0, or the codes of
// both dates joined by OR; an end that could not be read then keeps its value.
int32_t ParseDateRange(const char* text, uint32_t* from, uint32_t* to);

// "12/25/95 10:30:00": the fields in the order that is set, each pair apart by the first of the
// separators that are set. Years up to 2079 have two digits, later ones four, which is how
// ParseDate() reads them. The text lies in a buffer of the calling thread, until its next call.
const char* FormatDate(uint32_t packed);

// Sets the names of the months from January on, then AM and PM: fourteen words with any of
// " \t,/.-" between. What follows them is ignored. Gives 0; or 1 for too few words, or two that
// differ in case only, and the earlier words stay. Nothing of `text` is kept.
int32_t SetDateWords(const char* text);
// Sets order and separators by a text such as "dd.mm.yy hh:mm:ss". Of each field only the first
// letter counts, without regard to case: D, M and Y in any order, then H, M and S. Every character
// between two fields of the date becomes a separator of dates, the same for times; those between
// date and time become neither. Gives 0; or 1 for another text, and the earlier format stays.
int32_t SetDateFormat(const char* text);

// The words, with blanks between, and the format text, as they are set: what the functions above
// take. Give 0; or 1 if `size` bytes can't hold text and NUL, and `buffer` is unchanged.
int32_t GetDateWords(char* buffer, int32_t size);
int32_t GetDateFormat(char* buffer, int32_t size);

// Cuts off the trailing characters that are in `set`. A byte of a double-byte character is none of
// them.
void TrimRight(char* text, const char* set);

}  // namespace foldapi
