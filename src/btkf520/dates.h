// btkf520/dates.h: what a configuration may say about the words and the order of dates.
//
// The toolkit hands both texts to clients, whose date parsers take no others.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace btkf {

inline constexpr std::string_view kDefaultDateWords =
    "January February March April May June July August September October November December AM PM";
inline constexpr std::string_view kDefaultDateFormat = "mm/dd/yy hh:mm:ss";

// Twelve months and two halves of the day, with one blank between two words. Nothing if there are
// not 14, if two are equal but for case, or if a parser could never recognise one of them.
std::optional<std::string> normalisedDateWords(std::string_view text);

// Whether `text` names day, month and year in any order, then hour, minute and second in this one.
bool isDateFormat(std::string_view text);

}  // namespace btkf
