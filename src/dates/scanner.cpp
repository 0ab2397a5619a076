// dates/scanner.cpp: the rules by which a piece of a date text becomes a token.
#include "dates/scanner.h"

#include <algorithm>

namespace dates {
namespace {

constexpr int kTooLarge = 100000;  // For any field: larger numbers count as this one.
constexpr int kFirstYear = 1980;

// The token of the word that stands at `place` in a language.
Token wordToken(size_t place, size_t end) {
  if (place < kMonthCount) return {kMonthWord, static_cast<int>(place) + 1, end};
  return place == kMonthCount ? Token{kAmWord, 0, end} : Token{kPmWord, 1, end};
}

}  // namespace

Scanner::Scanner(std::string_view text, std::string_view endSet, const Language& language)
    : text_(text), endSet_(endSet), wordEnds_(kWordEnds), language_(language) {
  wordEnds_ += endSet;
}

Token Scanner::read(size_t at, TokenKind previous) const {
  at = skip(at);
  // A character that the text cuts off counts as one too.
  const size_t length = std::max<size_t>(language_.characters.length(text_, at), 1);
  const std::string_view character = text_.substr(at, length);
  const auto isIn = [&](std::string_view set) { return span(character, set) != 0; };
  if (character.empty() || isIn(endSet_)) return {kEnd, 0, at};
  if (isIn(language_.dateSeparators)) return {kDateSeparator, 0, at + length};
  if (isIn(language_.timeSeparators)) return {kTimeSeparator, 0, at + length};
  if (language_.characters.isLetter(character[0])) return readWord(at);
  if (isDigit(character[0])) return readNumber(at, previous);
  const bool wasDate = (previous & (kDateBefore | kDateAfter)) != 0;
  return {wasDate ? kDateSeparator : kTimeSeparator, 0, at + length};
}

// A word may be cut short, as long as it is the beginning of one word only.
Token Scanner::readWord(size_t at) const {
  const std::string_view rest = text_.substr(at);
  const std::string_view word = rest.substr(0, language_.characters.spanNot(rest, wordEnds_));
  if (word.size() > kLongestWord) return {.status = kSyntaxError};
  const auto begins = [&](const std::string& whole) {
    return language_.characters.begins(whole, word);
  };
  const auto& words = language_.words;
  const auto found = std::find_if(words.begin(), words.end(), begins);
  if (found == words.end() || std::any_of(found + 1, words.end(), begins)) {
    return {.status = kValueError};
  }
  return wordToken(static_cast<size_t>(found - words.begin()), at + word.size());
}

Token Scanner::readNumber(size_t at, TokenKind previous) const {
  Token number{kYearNumber, 0, at};
  for (; number.end < text_.size() && isDigit(text_[number.end]); ++number.end) {
    number.value = std::min(number.value * 10 + (text_[number.end] - '0'), kTooLarge);
  }
  if (number.value >= 80 && number.value <= 199) {
    number.value += 1900;
  } else if (number.value < kFirstYear) {
    classify(previous, &number);
  }
  return number;
}

// What stands after a number decides, else what stands before it.
void Scanner::classify(TokenKind previous, Token* number) const {
  int mask = 0;
  const size_t after = skip(number->end);  // A digit only if there was something to skip.
  if (after == text_.size() || !isDigit(text_[after])) {
    // To a blank after it the number is nothing yet: what counts is what stood before the number.
    const Token next = read(after, previous);
    number->status = next.status;
    mask = next.kind & (kDateBefore | kTimeBefore);
  }
  if (mask == 0) mask = previous & (kDateAfter | kTimeAfter);
  const bool isDate = (mask & (kDateBefore | kDateAfter)) != 0;
  number->kind = mask == 0 ? kAnyNumber : isDate ? kDateNumber : kTimeNumber;
}

}  // namespace dates
