// runtime/dateparse.cpp: gives the reader of dates the clock, the character table and the settings.
#include "runtime/dateparse.h"

#include <cstring>
#include <string_view>

#include "dates/reader.h"
#include "os/clock.h"
#include "runtime/mbstring.h"
#include "runtime/zone.h"

namespace foldapi {
namespace {

constexpr dates::Characters kCodePage = {
    mbCharLength,
    mbSpan,
    mbSpanNot,
    [](char c) { return (characterClasses(c) & (kCharUpper | kCharLower)) != 0; },
    [](std::string_view text, std::string_view part) {
      return mbCompareNoCaseN(text, part, mbLength(part)) == 0;
    },
};

uint32_t presentTime() { return packNanoseconds(os::wallClockNanoseconds()); }

int32_t copyOut(std::string_view text, char* buffer, int32_t size) {
  if (size < 0 || text.size() >= static_cast<size_t>(size)) return 1;
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return 0;
}

}  // namespace

dates::Language& dateLanguage() {
  // Never destroyed: clients may end in any way.
  static dates::Language& language = *new dates::Language{.characters = kCodePage};
  return language;
}

int32_t ParseDate(const char** text, uint32_t* result, const char* endSet, int latest) {
  const auto fill = latest != 0 ? dates::Fill::kLatest : dates::Fill::kEarliest;
  const dates::Reading date =
      dates::readDate(*text, dateLanguage(), presentTime(), fill, endSet == nullptr ? "" : endSet);
  if (date.status != dates::kGood) return date.status;
  *result = date.time;
  *text += date.end;
  return 0;
}

int32_t ParseDateRange(const char* text, uint32_t* from, uint32_t* to) {
  const dates::Stretch stretch = dates::readStretch(text, dateLanguage(), presentTime());
  if (stretch.from.status == dates::kGood) *from = stretch.from.time;
  if (stretch.to.status == dates::kGood) *to = stretch.to.time;
  return stretch.from.status | stretch.to.status;
}

const char* FormatDate(uint32_t packed) {
  static thread_local char text[64];
  copyOut(dates::written(packed, dateLanguage()), text, sizeof text);
  return text;
}

int32_t SetDateWords(const char* text) { return dateLanguage().setWords(text) ? 0 : 1; }

int32_t SetDateFormat(const char* text) { return dateLanguage().setFormat(text) ? 0 : 1; }

int32_t GetDateWords(char* buffer, int32_t size) {
  return copyOut(dates::joined(dateLanguage().words), buffer, size);
}

int32_t GetDateFormat(char* buffer, int32_t size) {
  return copyOut(dateLanguage().format, buffer, size);
}

void TrimRight(char* text, const char* set) {
  const std::string_view whole = text;
  for (size_t at = 0;;) {
    at += mbSpanNot(whole.substr(at), set);
    const size_t run = mbSpan(whole.substr(at), set);
    if (at + run == whole.size()) text[at] = '\0';
    if (run == 0 || at + run == whole.size()) return;
    at += run;
  }
}

}  // namespace foldapi
