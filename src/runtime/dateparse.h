// runtime/dateparse.h: dates by settings that belong to the process, in the code page's characters.
//
// dates/reader.h tells how dates are read. Nothing here keeps two threads apart: whoever sets words
// or a format holds others off until its dates are read.
#pragma once

#include <cstdint>

#include "dates/language.h"

namespace foldapi {

// The language in force.
dates::Language& dateLanguage();

// Reads the date at *text, up to a NUL or a character of `endSet`, which may be null. Missing
// fields are the latest that fit if `latest` isn't 0, else the earliest. Gives 0, and *text then
// points at what ended the date; or 1 for a syntax error, 2 for a value error, and nothing is
// changed.
int32_t ParseDate(const char** text, uint32_t* result, const char* endSet, int latest);
// Reads both ends of "date*date". Gives 0, or the codes of both dates joined by OR; an end that
// could not be read then keeps its value.
int32_t ParseDateRange(const char* text, uint32_t* from, uint32_t* to);

// The time as the language in force writes it. The text lies in a buffer of the calling thread,
// until its next call.
const char* FormatDate(uint32_t packed);

// Change the language in force. Give 0, or 1 for a text that is neither, which changes nothing.
// Nothing of `text` is kept.
int32_t SetDateWords(const char* text);
int32_t SetDateFormat(const char* text);

// The words, with blanks between, and the format text, as they are set. Give 0; or 1 if `size`
// bytes can't hold text and NUL, and `buffer` is unchanged.
int32_t GetDateWords(char* buffer, int32_t size);
int32_t GetDateFormat(char* buffer, int32_t size);

// Cuts off the trailing characters that are in `set`. A byte of a double-byte character is none of
// them.
void TrimRight(char* text, const char* set);

}  // namespace foldapi
