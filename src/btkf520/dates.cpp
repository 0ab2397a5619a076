// btkf520/dates.cpp: checks date words and date formats.
#include "btkf520/dates.h"

#include <algorithm>
#include <set>
#include <vector>

#include "btkf520/configuration/text.h"

namespace btkf {
namespace {

constexpr size_t kWordCount = 14;
constexpr size_t kLongestWord = 30;
constexpr size_t kLongestFormat = 255;
constexpr std::string_view kDateSeparators = " \t,/.-";
constexpr std::string_view kTimeSeparators = " \t,:.";

// The initials of the fields that `text` consists of, in upper case, each field all letters.
// Nothing if a field holds anything but letters.
std::optional<std::string> initials(std::string_view text, std::string_view separators) {
  std::string result;
  for (std::string_view field : pieces(text, separators)) {
    if (!std::all_of(field.begin(), field.end(), isLetter)) return {};
    result += upperCase(field.front());
  }
  return result;
}

// The place where the third field of a date ends: a blank or one of the other separators. The size
// of `text` if there are less than three fields.
size_t endOfDate(std::string_view text) {
  size_t end = 0;
  for (int field = 0; field < 3; ++field) {
    end = std::min(text.find_first_not_of(kDateSeparators, end), text.size());
    end = std::min(text.find_first_of(kDateSeparators, end), text.size());
  }
  return end;
}

}  // namespace

std::optional<std::string> normalisedDateWords(std::string_view text) {
  std::string result;
  std::set<std::string> seen;
  for (std::string_view word : pieces(text, kDateSeparators)) {
    if (word.size() > kLongestWord || isDigit(word.front())) return {};
    if (word.find(':') != std::string_view::npos || !seen.insert(upperCase(word)).second) return {};
    result.append(result.empty() ? "" : " ").append(word);
  }
  return seen.size() == kWordCount ? std::optional(result) : std::nullopt;
}

bool isDateFormat(std::string_view text) {
  if (text.empty() || text.size() > kLongestFormat || !isLetter(text.front()) ||
      !isLetter(text.back())) {
    return false;
  }
  const size_t end = endOfDate(text);
  std::optional<std::string> date = initials(text.substr(0, end), kDateSeparators);
  if (!date) return false;
  std::sort(date->begin(), date->end());
  return *date == "DMY" && initials(text.substr(end), kTimeSeparators) == "HMS";
}

}  // namespace btkf
