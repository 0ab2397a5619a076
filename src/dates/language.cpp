// dates/language.cpp: takes in words and formats. Each is cut up first, so that one that fails
// changes nothing.
#include "dates/language.h"

#include <algorithm>
#include <utility>

namespace dates {
namespace {

constexpr size_t kLongestFormat = 255;
constexpr std::string_view kDateFieldEnds = " \t,/.-";
constexpr std::string_view kTimeFieldEnds = " \t,:.";
constexpr size_t kDateFields = 3;
constexpr size_t kFields = 6;
using Words = std::array<std::string, kWordCount>;

char upperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool isByteLetter(char c) { return upperCase(c) >= 'A' && upperCase(c) <= 'Z'; }
size_t endIfNone(size_t at, std::string_view text) { return std::min(at, text.size()); }

bool beginsWithBytes(std::string_view text, std::string_view part) {
  return part.size() <= text.size() &&
         std::equal(part.begin(), part.end(), text.begin(),
                    [](char a, char b) { return upperCase(a) == upperCase(b); });
}

std::string_view takeFront(std::string_view* rest, size_t length) {
  const std::string_view front = rest->substr(0, length);
  rest->remove_prefix(length);
  return front;
}

// Takes fourteen words off `rest`. Nothing for too few, and for two equal ones.
std::optional<Words> takeWords(std::string_view* rest, const Characters& characters) {
  Words words;
  for (auto word = words.begin(); word != words.end(); ++word) {
    takeFront(rest, characters.span(*rest, kDateFieldEnds));
    *word = takeFront(rest, characters.spanNot(*rest, kDateFieldEnds));
    const auto isEqual = [&](const std::string& other) {
      return characters.begins(other, *word) && characters.begins(*word, other);
    };
    if (word->empty() || std::any_of(words.begin(), word, isEqual)) return {};
  }
  return words;
}

// A format cut up: fields of the date, fields of the time, and what stands after each of them.
struct FormatPieces {
  std::array<std::string_view, kFields> fields;
  std::array<std::string_view, kFields> gaps;
};

// Takes what stands between two fields: all that is neither a letter nor a digit.
std::string_view takeGap(std::string_view* rest, const Characters& characters) {
  size_t length = 0;
  for (size_t step; (step = characters.length(*rest, length)) != 0; length += step) {
    const char c = (*rest)[length];
    if (characters.isLetter(c) || isDigit(c)) break;
  }
  return takeFront(rest, length);
}

FormatPieces cutFormat(std::string_view rest, const Characters& characters) {
  FormatPieces pieces;
  for (size_t i = 0; i < kFields; ++i) {
    const std::string_view ends = i < kDateFields ? kDateFieldEnds : kTimeFieldEnds;
    pieces.fields[i] = takeFront(&rest, characters.spanNot(rest, ends));
    pieces.gaps[i] = i + 1 < kFields ? takeGap(&rest, characters) : rest;
  }
  return pieces;
}

// In upper case; 0 for no letter.
char initialOf(std::string_view field, const Characters& characters) {
  return !field.empty() && characters.isLetter(field[0]) ? upperCase(field[0]) : '\0';
}

using DateOrder = std::array<int LocalTime::*, kDateFields>;

// Nothing if the fields are not D, M and Y, each once, and then H, M and S.
std::optional<DateOrder> orderOf(const FormatPieces& pieces, const Characters& characters) {
  std::string initials;
  for (std::string_view field : pieces.fields) initials += initialOf(field, characters);
  if (initials.substr(kDateFields) != "HMS") return {};
  const size_t day = initials.find('D');
  const size_t month = initials.find('M');
  const size_t year = initials.find('Y');
  if (std::max({day, month, year}) >= kDateFields) return {};
  DateOrder order;
  order[day] = &LocalTime::day;
  order[month] = &LocalTime::month;
  order[year] = &LocalTime::year;
  return order;
}

}  // namespace

constexpr Characters Characters::kBytes = {
    [](std::string_view text, size_t at) -> size_t { return at < text.size() ? 1 : 0; },
    [](std::string_view text, std::string_view set) {
      return endIfNone(text.find_first_not_of(set), text);
    },
    [](std::string_view text, std::string_view set) {
      return endIfNone(text.find_first_of(set), text);
    },
    isByteLetter,
    beginsWithBytes,
};

Words Language::englishWords() {
  std::string_view text = kDefaultWords;
  return *takeWords(&text, Characters::kBytes);
}

bool Language::setWords(std::string_view text) {
  auto taken = takeWords(&text, characters);
  if (taken) words = std::move(*taken);
  return taken.has_value();
}

bool Language::setFormat(std::string_view text) {
  const FormatPieces pieces = cutFormat(text, characters);
  const auto newOrder = orderOf(pieces, characters);
  if (!newOrder) return false;
  order = *newOrder;
  dateSeparators = std::string(pieces.gaps[0]).append(pieces.gaps[1]);
  timeSeparators = std::string(pieces.gaps[3]).append(pieces.gaps[4]);
  format = text;
  return true;
}

std::string joined(const Words& words) {
  std::string result;
  for (const std::string& word : words) result.append(result.empty() ? "" : " ").append(word);
  return result;
}

std::optional<std::string> configuredWords(std::string_view text) {
  const auto words = takeWords(&text, Characters::kBytes);
  if (!words || text.find_first_not_of(kDateFieldEnds) != std::string_view::npos) return {};
  const auto isReadable = [](std::string_view word) {
    return word.size() <= kLongestWord && !isDigit(word[0]) &&
           word.find(':') == std::string_view::npos;
  };
  if (!std::all_of(words->begin(), words->end(), isReadable)) return {};
  return joined(*words);
}

bool isConfiguredFormat(std::string_view text) {
  const FormatPieces pieces = cutFormat(text, Characters::kBytes);
  if (text.size() > kLongestFormat || !orderOf(pieces, Characters::kBytes)) return false;
  for (size_t i = 0; i < kFields; ++i) {
    const std::string_view field = pieces.fields[i];
    const std::string_view apart = i + 1 < kDateFields ? kDateFieldEnds : kTimeFieldEnds;
    if (!std::all_of(field.begin(), field.end(), isByteLetter)) return false;
    if (pieces.gaps[i].find_first_not_of(apart) != std::string_view::npos) return false;
  }
  return pieces.gaps.back().empty();
}

}  // namespace dates
