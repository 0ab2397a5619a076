// runtime/datescanner.cpp: the rules by which a piece of a date text becomes a token.
#include "runtime/datescanner.h"

#include <algorithm>

#include "runtime/dateparse.h"

namespace foldapi {
namespace {

constexpr size_t kLongestWord = 30;
constexpr int kTooLarge = 100000;  // For any field: larger numbers count as this one.
constexpr int kFirstYear = 1980;

bool isIn(std::string_view character, std::string_view set) { return mbSpan(character, set) != 0; }

}  // namespace

DateScanner::DateScanner(std::string_view text, std::string_view endSet,
                         const DateSettings& settings)
    : text_(text), endSet_(endSet), wordEnds_(kDateWordEnds), settings_(settings) {
  wordEnds_ += endSet;
}

DateScanner::Token DateScanner::read(size_t at, DateToken previous) const {
  at = skip(at);
  // A lead byte with nothing behind it counts as a character too.
  const size_t length = std::max<size_t>(mbCharLength(text_, at), 1);
  const std::string_view character = text_.substr(at, length);
  if (character.empty() || isIn(character, endSet_)) return {kDateEnd, 0, at};
  if (isIn(character, settings_.dateSeparators)) return {kDateSeparator, 0, at + length};
  if (isIn(character, settings_.timeSeparators)) return {kTimeSeparator, 0, at + length};
  if (isDateLetter(character[0])) return readWord(at);
  if (isDateDigit(character[0])) return readNumber(at, previous);
  const bool wasDate = (previous & (kDateBefore | kDateAfter)) != 0;
  return {wasDate ? kDateSeparator : kTimeSeparator, 0, at + length};
}

// A word may be cut short, as long as it is the beginning of one word only.
DateScanner::Token DateScanner::readWord(size_t at) const {
  const std::string_view rest = text_.substr(at);
  const std::string_view word = rest.substr(0, mbSpanNot(rest, wordEnds_));
  if (word.size() > kLongestWord) return {.error = kDateSyntaxError};
  const auto begins = [&word, length = mbLength(word)](const DateWord& row) {
    return mbCompareNoCaseN(row.text, word, length) == 0;
  };
  const DateWords& words = settings_.words;
  const auto row = std::find_if(words.begin(), words.end(), begins);
  if (row == words.end()) return {.error = kDateValueError};
  if (row + 1 != words.end() && begins(row[1])) return {.error = kDateValueError};
  return {row->token, row->value, at + word.size()};
}

DateScanner::Token DateScanner::readNumber(size_t at, DateToken previous) const {
  Token number{kYearNumber, 0, at};
  for (; number.end < text_.size() && isDateDigit(text_[number.end]); ++number.end) {
    number.value = std::min(number.value * 10 + (text_[number.end] - '0'), kTooLarge);
  }
  if (number.value >= 80 && number.value <= 199) {
    number.value += 1900;
  } else if (number.value < kFirstYear) {
    classify(previous, &number);
  }
  return number;
}

// What stands behind a number decides, else what stands before it.
void DateScanner::classify(DateToken previous, Token* number) const {
  int mask = 0;
  const size_t behind = skip(number->end);  // A digit only if there was something to skip.
  if (behind == text_.size() || !isDateDigit(text_[behind])) {
    // To a blank behind it the number is nothing yet: what counts is what the number stood behind.
    const Token next = read(behind, previous);
    number->error = next.error;
    mask = next.kind & (kDateBefore | kTimeBefore);
  }
  if (mask == 0) mask = previous & (kDateAfter | kTimeAfter);
  const bool isDate = (mask & (kDateBefore | kDateAfter)) != 0;
  number->kind = mask == 0 ? kAnyNumber : isDate ? kDateNumber : kTimeNumber;
}

}  // namespace foldapi
