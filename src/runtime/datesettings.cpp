// runtime/datesettings.cpp: takes in new words and formats. Each is read into a copy first, so that
// one that fails changes nothing.
#include "runtime/datesettings.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "runtime/dateparse.h"
#include "runtime/platform_time.h"

namespace foldapi {
namespace {

constexpr std::string_view kDateFieldEnds = " \t,/.-";
constexpr std::string_view kTimeFieldEnds = " \t,:.";

std::string_view takeFront(std::string_view* rest, size_t length) {
  const std::string_view front = rest->substr(0, length);
  rest->remove_prefix(length);
  return front;
}

bool comesBefore(const DateWord& a, const DateWord& b) {
  return mbCompareNoCase(a.text, b.text) < 0;
}

// False for too few words and for two equal ones.
bool readWords(std::string_view rest, DateWords* words) {
  for (size_t i = 0; i < kDateWordCount; ++i) {
    takeFront(&rest, mbSpan(rest, kDateFieldEnds));
    const std::string_view text = takeFront(&rest, mbSpanNot(rest, kDateFieldEnds));
    if (text.empty()) return false;
    const bool isMonth = i < kMonthCount;
    const DateToken token = isMonth ? kMonthWord : i == kMonthCount ? kAmWord : kPmWord;
    const size_t value = isMonth ? i + 1 : i - kMonthCount;
    (*words)[i] = {std::string(text), token, static_cast<int>(value)};
  }
  std::sort(words->begin(), words->end(), comesBefore);
  return std::adjacent_find(words->begin(), words->end(), [](const auto& a, const auto& b) {
           return !comesBefore(a, b);
         }) == words->end();
}

// Takes a field, up to one of `ends`, and gives its first letter in upper case; 0 for no letter.
char takeField(std::string_view* rest, std::string_view ends) {
  const std::string_view field = takeFront(rest, mbSpanNot(*rest, ends));
  if (field.empty() || !isDateLetter(field[0])) return '\0';
  return static_cast<char>(characterTable()[static_cast<unsigned char>(field[0])].upper);
}

// Takes what stands between two fields: all that is neither a letter nor a digit.
std::string_view takeGap(std::string_view* rest) {
  size_t length = 0;
  for (size_t step; (step = mbCharLength(*rest, length)) != 0; length += step) {
    const char c = (*rest)[length];
    if (isDateLetter(c) || isDateDigit(c)) break;
  }
  return takeFront(rest, length);
}

DateFieldPointer fieldOfInitial(char initial) {
  switch (initial) {
    case 'D':
      return &LocalTime::day;
    case 'M':
      return &LocalTime::month;
    case 'Y':
      return &LocalTime::year;
    default:
      return nullptr;
  }
}

bool readDateFields(std::string_view* rest, DateSettings* settings) {
  settings->dateSeparators.clear();
  auto& order = settings->order;
  for (auto field = order.begin(); field != order.end(); ++field) {
    if (field != order.begin()) settings->dateSeparators += takeGap(rest);
    *field = fieldOfInitial(takeField(rest, kDateFieldEnds));
    if (*field == nullptr || std::find(order.begin(), field, *field) != field) return false;
  }
  return true;
}

bool readTimeFields(std::string_view* rest, DateSettings* settings) {
  settings->timeSeparators.clear();
  for (const char initial : {'H', 'M', 'S'}) {
    if (initial != 'H') settings->timeSeparators += takeGap(rest);
    if (takeField(rest, kTimeFieldEnds) != initial) return false;
  }
  return true;
}

int32_t copyOut(std::string_view text, char* buffer, int32_t size) {
  if (size < 0 || text.size() >= static_cast<size_t>(size)) return 1;
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return 0;
}

}  // namespace

DateWords englishDateWords() {
  DateWords words;
  readWords(
      "January February March April May June July August September October November December AM PM",
      &words);
  return words;
}

uint32_t presentPackedTime() { return packNanoseconds(wallClockNanoseconds()); }

DateSettings& dateSettings() {
  static DateSettings& settings =
      *new DateSettings;  // Never destroyed: clients may end in any way.
  return settings;
}

int32_t SetDateWords(const char* text) {
  DateWords words;
  if (!readWords(text, &words)) return 1;
  dateSettings().words = std::move(words);
  return 0;
}

int32_t SetDateFormat(const char* text) {
  DateSettings changed = dateSettings();
  changed.format = text;
  std::string_view rest = text;
  if (!readDateFields(&rest, &changed)) return 1;
  takeGap(&rest);
  if (!readTimeFields(&rest, &changed)) return 1;
  dateSettings() = std::move(changed);
  return 0;
}

int32_t GetDateWords(char* buffer, int32_t size) {
  std::array<std::string_view, kDateWordCount> texts;
  for (const DateWord& word : dateSettings().words) {
    const auto value = static_cast<size_t>(word.value);
    texts[word.token == kMonthWord ? value - 1 : kMonthCount + value] = word.text;
  }
  std::string joined;
  for (const std::string_view text : texts) joined.append(joined.empty() ? "" : " ").append(text);
  return copyOut(joined, buffer, size);
}

int32_t GetDateFormat(char* buffer, int32_t size) {
  return copyOut(dateSettings().format, buffer, size);
}

}  // namespace foldapi
