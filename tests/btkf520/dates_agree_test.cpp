// The library checks dates before the engine reads them, each by its own reader: they must mean the
// same, or a date that was checked would be refused later, or another revision be taken.
#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>

#include "btkf520/operations/times.h"
#include "runtime/dateparse.h"
#include "runtime/datesettings.h"

namespace foldapi {
namespace {

struct Language {
  const char* words;
  const char* format;
};

constexpr Language kLanguages[] = {
    {"January February March April May June July August September October November December AM PM",
     "mm/dd/yy hh:mm:ss"},
    {"Januar Februar Maerz April Mai Juni Juli August September Oktober November Dezember vorm "
     "nachm",
     "dd.mm.yy hh:mm:ss"},
    {"a b c d e f g h i j k l m n", "yy-mm-dd hh.mm.ss"},
};

constexpr std::string_view kParts[] = {
    "1",  "2",   "12",   "28",   "29",   "31",         "59",   "60", "80", "95",
    "96", "199", "200",  "1979", "1995", "2100",       "2101", "0",  "/",  ":",
    ".",  "-",   " ",    ",",    "Jan",  "Ju",         "ma",   "pm", "AM", "n",
    "b",  "*",   "\xe9", "00",   "Feb",  "9999999999", "\t"};

std::string shown(bool isDate, uint32_t from, uint32_t to) {
  return isDate ? std::to_string(from) + " " + std::to_string(to) : "bad";
}

// A moment if `fill` is one, else a range.
std::string readByLibrary(const char* text, std::optional<btkf::Fill> fill) {
  uint32_t from = 0, to = 0;
  const bool isDate = fill ? ParseDate(&text, &from, "", *fill == btkf::Fill::kLatest) == 0
                           : ParseDateRange(text, &from, &to) == 0;
  return shown(isDate, from, to);
}

std::string readByEngine(const btkf::DateRules& rules, const char* text,
                         std::optional<btkf::Fill> fill) {
  if (fill) {
    const auto time = parseDate(rules, text, *fill);
    return shown(time.has_value(), time.value_or(0), 0);
  }
  const auto range = parseDateRange(rules, text).value_or(btkf::TimeRange{});
  return shown(parseDateRange(rules, text).has_value(), range.from, range.to);
}

TEST(Dates, MeanTheSameToTheLibraryAndToTheEngine) {
  const uint32_t now = packTime({2026, 5, 17, 13, 45, 30});
  dateSettings().now = [] { return packTime({2026, 5, 17, 13, 45, 30}); };
  int dates = 0;
  for (unsigned seed = 0; seed < 60000; ++seed) {
    std::mt19937 random(seed);
    const Language& language = kLanguages[seed % std::size(kLanguages)];
    ASSERT_EQ(SetDateWords(language.words), 0);
    ASSERT_EQ(SetDateFormat(language.format), 0);
    const btkf::DateRules rules{language.words, language.format, now};
    std::string text;
    for (size_t count = random() % 9; count > 0; --count) {
      text += kParts[random() % std::size(kParts)];
    }
    const std::optional<btkf::Fill> fills[] = {btkf::Fill::kEarliest, btkf::Fill::kLatest, {}};
    const auto fill = fills[random() % 3];
    const std::string wanted = readByLibrary(text.c_str(), fill);
    ASSERT_EQ(readByEngine(rules, text.c_str(), fill), wanted) << seed << ": " << text;
    if (wanted != "bad") ++dates;
  }
  EXPECT_GT(dates, 1000);
  dateSettings() = DateSettings();
}

}  // namespace
}  // namespace foldapi
