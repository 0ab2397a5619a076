// Tests of dates that people type, read at 2026-05-17 13:45:30.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "dates/reader.h"
#include "os/clock.h"
#include "runtime/dateparse.h"
#include "runtime/mbstring.h"
#include "runtime/zone.h"
#include "support/table.h"

namespace dates {
namespace {

using foldapi::dateLanguage;

const PackedTime kNow = packTime({2026, 5, 17, 13, 45, 30});

class Dates : public testing::Test {
 protected:
  ~Dates() override { foldapi::setCharacterTable(nullptr); }

  // 0x81 to 0x9f lead characters of two bytes.
  static void useTwoByteCharacters() {
    foldapi::CharacterTable table = foldapi::characterTable();
    for (size_t c = 0x81; c <= 0x9f; ++c) table[c].classes |= foldapi::kCharLead;
    foldapi::setCharacterTable(&table);
  }

  // The moment, and what is left of the text after a "~"; or "error" and the code.
  std::string read(std::string_view text, Fill fill = Fill::kEarliest,
                   std::string_view endSet = "") const {
    const Reading date = readDate(text, language_, kNow, fill, endSet);
    if (date.status != kGood) return "error " + std::to_string(date.status);
    const std::string_view rest = text.substr(date.end);
    return isoText(date.time).append(rest.empty() ? "" : "~").append(rest);
  }

  // All that a text may mean: "1995" for the whole year, "1996-02..29" for a month with its last
  // day, "1995-03-04" for a day, then to the minute, else the earliest and the latest moment.
  std::string span(std::string_view text) const {
    const std::string earliest = read(text), latest = read(text, Fill::kLatest);
    const auto are = [&](size_t at, const std::string& first, const std::string& last) {
      return earliest.substr(0, at) == latest.substr(0, at) && earliest.substr(at) == first &&
             latest.substr(at) == last;
    };
    const std::string day = latest.substr(8, 2);
    if (earliest == latest) return earliest;
    if (are(4, "-01-01 00:00:00", "-12-31 23:59:58")) return earliest.substr(0, 4);
    if (are(10, " 00:00:00", " 23:59:58")) return earliest.substr(0, 10);
    if (are(7, "-01 00:00:00", "-" + day + " 23:59:58")) return earliest.substr(0, 7) + ".." + day;
    return are(16, ":00", ":58") ? earliest.substr(0, 16) : earliest + " to " + latest;
  }

  Language language_ = dateLanguage();  // In the characters of the table that is set.
};

TEST_F(Dates, AreReadAsPeopleMeanThem) {
  // What is left out; numbers that look like years or not; the blank, which takes the nature of
  // what stands before it; the halves of a day.
  const auto cases = support::table<2>(R"(
      5 -> 2026-05-05   | 4/ -> 2026-05-04     | 3/4 -> 2026-03-04    | 3/4/95 -> 1995-03-04
      95 -> 1995        | 3/4/05 -> 2005-03-04 | 3.4-95 -> 1995-03-04 | 2/96 -> 1996-02..29
      2/97 -> 1997-02..28       | 12:30 -> 2026-05-17 12:30   | 12:30:20 -> 2026-05-17 12:30:20
      3/4 10:30 -> 2026-03-04 10:30  | 10:30:21 12/25/95 -> 1995-12-25 10:30:20
      2pm 3/4 -> 2026-03-04 14:00:00 to 2026-03-04 14:59:58
      80 -> 1980        | 199 -> 2099          | 1/2/79 -> 2079-01-02 | 1/1/1980 -> 1980-01-01
      12/31/2100 -> 2100-12-31  | 2/29/2100 -> 2100-02-29     | 2/29/96 -> 1996-02-29
      12:80 -> 1980-01-01 12:00:00 to 1980-12-31 12:59:58
      1/0000000000000000000000005/95 -> 1995-01-05
      Mar 5 -> 2026-03-01 05:00:00 to 2026-03-31 05:59:58
      5 Mar -> 2026-03-01 05:00:00 to 2026-03-31 05:59:58
      3 4 95 -> 1995-01-01 03:04:00 to 1995-12-31 03:04:58
      Mar/5 -> 2026-03-05       | 5/Mar -> 2026-03-05         | 95/3 -> 1995-03..31
      2:30 AM -> 2026-05-17 02:30    | am -> 2026-05-17 00:00:00 to 2026-05-17 11:59:58
      12am -> 2026-05-17 00:00:00 to 2026-05-17 00:59:58
      12pm -> 2026-05-17 12:00:00 to 2026-05-17 12:59:58
      3/4 p -> 2026-03-04 12:00:00 to 2026-03-04 23:59:58
      pm 5 -> 2026-05-05 12:00:00 to 2026-05-05 23:59:58)");
  for (const auto& [text, want] : cases) EXPECT_EQ(span(text), want) << text;
  EXPECT_EQ(span(""), "1980-01-01 00:00:00 to 2100-12-31 23:59:58");
  EXPECT_EQ(span(" "), "2026-05-17");
  int month = 0;
  for (const char* word :
       {"Ja", "feBRUary", "mar", "Ap", "may", "Jun", "July", "au", "S", "o", "N", "d"}) {
    EXPECT_EQ(read(word), isoText(packTime({2026, ++month, 1, 0, 0, 0}))) << word;
  }
}

TEST_F(Dates, AreRefusedForWhatTheyCannotMean) {
  // 67531 is 1995 in 16 bits; others are in 32 and 64. The blank of "am pm" begins a date, and
  // before the fourth number of "1:2:3:4z" the word ahead is looked at.
  const auto cases = support::table<2>(R"(
      3/4 1979 -> 2      | 3/4 1980 -> 1 | 1/2/3/4/x -> 2
      March 5, 1995 -> 1 | 1995 Feb -> 1 | 10:30 3/4 5 -> 1 | 1:2:3:4 -> 1   | am pm -> 1
      79/1 -> 2          | 1/1/200 -> 2  | 1/1/1979 -> 2    | 1/1/2101 -> 2  | 67531 -> 2
      1/1/4294969291 -> 2                | 18446744073709553611 -> 2         | 1995/1996 -> 2
      Jan 5 Feb -> 2     | Jan/Feb -> 2  | 13/1/95 -> 2     | 0/1/95 -> 2    | 1/0/95 -> 2
      4/31/95 -> 2       | 2/29/97 -> 2  | 24:00 -> 2       | 23:60 -> 2     | 23:59:60 -> 2
      1/2/3/95 -> 2
      1/2/3/4 -> 2       | 13pm -> 2     | pm5 -> 2         | 2am:pm -> 2    | 1:2:3:4z -> 2
      J -> 2             | Ju -> 2       | Ma -> 2          | A -> 2         | Januaryx -> 2
      Mar5 -> 2          | xxxxxxxxxxxxxxxxxxxxxxxxxxxxxx -> 2 | xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx -> 1)");
  for (const auto& [text, status] : cases) {
    for (const Fill fill : {Fill::kEarliest, Fill::kLatest}) {
      EXPECT_EQ(read(text, fill), "error " + status) << text;
    }
  }
}

TEST_F(Dates, MakeStretches) {
  const auto cases = support::table<3>(R"(
      3/4/95 -> 1995-03-04 00:00:00 -> 1995-03-04 23:59:58
      1995* -> 1995-01-01 00:00:00 -> 2100-12-31 23:59:58
      *1995 -> 1980-01-01 00:00:00 -> 1995-12-31 23:59:58
      3/95*4/95 -> 1995-03-01 00:00:00 -> 1995-04-30 23:59:58
      * -> 1980-01-01 00:00:00 -> 2100-12-31 23:59:58
       -> 2026-05-17 13:45:30 -> 2026-05-17 13:45:30
      , /.-: -> 2026-05-17 13:45:30 -> 2026-05-17 13:45:30
      1995*x -> 1995-01-01 00:00:00 -> error 2       | 1:2:3:4*95 -> error 1 -> error 1
      95*1:2:3:4 -> 1995-01-01 00:00:00 -> error 1   | 13/1/95*1995 1996 -> error 2 -> error 1
      1995*1996*1997 -> 1995-01-01 00:00:00 -> error 1)");
  const auto shown = [](const Reading& date) {
    return date.status == kGood ? isoText(date.time) : "error " + std::to_string(date.status);
  };
  for (const auto& [text, from, to] : cases) {
    const Stretch stretch = readStretch(text, language_, kNow);
    EXPECT_EQ(shown(stretch.from), from) << text;
    EXPECT_EQ(shown(stretch.to), to) << text;
  }
}

TEST_F(Dates, SpeakAnotherLanguage) {
  // With what a configuration may hold besides: other apart, other case, something after the last.
  ASSERT_TRUE(
      language_.setWords("\tJanuar,  Februar/M\xe4rz April Mai Juni Juli August September "
                         "Oktober November Dezember vorm nachm, Ende"));
  EXPECT_EQ(joined(language_.words),
            "Januar Februar M\xe4rz April Mai Juni Juli August September Oktober November "
            "Dezember vorm nachm");
  ASSERT_TRUE(language_.setFormat("dd-mm-yy hh.mm.ss"));
  // "/" separates no more: 25 is an hour, and what follows a day and a month is a time.
  const auto cases = support::table<2>(R"(
      3-12-95 4.05nachm -> 1995-12-03 16:05:00 | Mai -> 2026-05-01 00:00:00 | May -> error 2
      pm -> error 2            | V -> 2026-05-17 00:00:00   | 4-3 -> 2026-03-04 00:00:00
      25/12/95 -> error 2      | 12/31/95 -> 1995-01-01 12:31:00   | 3-4/95 -> error 1
      10:30 -> 2026-05-17 10:30:00)");
  for (const auto& [text, want] : cases) EXPECT_EQ(read(text), want) << text;
  EXPECT_EQ(read("3-M\xe4r-95"), "1995-03-03 00:00:00");
  ASSERT_TRUE(language_.setFormat("Year/Month/Day H:M:S"));
  EXPECT_EQ(read("95/12/3"), "1995-12-03 00:00:00");
  EXPECT_EQ(read("5/12"), "2005-12-01 00:00:00") << "the year comes first";
  language_.skip = " ";
  EXPECT_EQ(read("M\xe4rz 5"), "2005-03-01 00:00:00");
  EXPECT_EQ(read(" 5 / 12 / 3 "), "2005-12-03 00:00:00");
  std::string many;
  for (int i = 0; i < 200000; ++i) many += "1 ";
  EXPECT_EQ(read(many), "error 2") << "no number is read to judge the one before it";
}

TEST_F(Dates, RefuseWordsThatAreNoSet) {
  for (const char* bad : {"", " ,/", "1 2 3 4 5 6 7 8 9 10 11 12 AM", "a b c d e f g h i j k l m A",
                          "a b c d e f g h i j k l b m"}) {
    EXPECT_FALSE(language_.setWords(bad)) << bad;
    EXPECT_EQ(joined(language_.words), kDefaultWords) << bad;
  }
}

TEST_F(Dates, FollowTheFormat) {
  const auto shown = [](const Language& language) {
    return language.format + "|" + language.dateSeparators + "|" + language.timeSeparators + "|" +
           written(packTime({2005, 12, 3, 4, 6, 8}), language);
  };
  const std::string standard = "mm/dd/yy hh:mm:ss|/.-|:.|12/03/05 04:06:08";
  EXPECT_EQ(shown(Language()), standard);
  for (const char* good :
       {"mm/dd/yy hh:mm:ss|//|::|12/03/05 04:06:08", "D.M-Y H:M.S|.-|:.|03.12.05 04:06:08",
        "year, Month,, day -;- hour,min:second am|, ,, |,:|05,12,03 04,06,08",
        "dd/;mm/yy hh:mm:ss|/;/|::|03/12/05 04:06:08", "y m d h m s|  |  |05 12 03 04 06 08"}) {
    const std::string_view format(good, std::string_view(good).find('|'));
    EXPECT_TRUE(language_.setFormat(format));
    EXPECT_EQ(shown(language_), good);
  }
  language_ = Language();
  for (const char* bad :
       {"", "dd/mm/yy", "dd/mm/yy hh:mm", "dd/mm/dd hh:mm:ss", "dd/mm/xx hh:mm:ss",
        "dd/mm/2yy hh:mm:ss", " dd/mm/yy hh:mm:ss", "dd:mm:yy hh:mm:ss", "dd/mm/yy mm:hh:ss",
        "dd/mm/yy hh-mm-ss", "dd/mm/yy:hh:mm:ss"}) {
    EXPECT_FALSE(language_.setFormat(bad)) << bad;
    EXPECT_EQ(shown(language_), standard) << bad;
  }
}

TEST_F(Dates, StepOverCharactersOfTwoBytes) {
  useTwoByteCharacters();
  // Trail bytes that are a letter, a digit, a separator and an end.
  EXPECT_EQ(read("3\x81z4"), "2026-05-17 03:04:00");
  EXPECT_EQ(read("3\x81\x35:4"), "2026-05-17 03:04:00");
  EXPECT_EQ(read("3\x81/4"), "2026-05-17 03:04:00") << "no separator of dates";
  EXPECT_EQ(read("3\x81*4", Fill::kEarliest, "*"), "2026-05-17 03:04:00");
  EXPECT_EQ(read("3/4\x81"), "2026-03-04 00:00:00") << "nothing after the lead byte";
  ASSERT_TRUE(language_.setWords("I\x81/a I\x81/b I\x81z d e f g h i j k l m n"));
  EXPECT_EQ(read("i\x81/B/3"), "2026-02-03 00:00:00") << "the trail byte doesn't end the word";
  EXPECT_EQ(read("i\x81/"), "error 2") << "January or February";
  EXPECT_EQ(read("i\x81z"), "2026-03-01 00:00:00");
  EXPECT_EQ(read("i\x81Z"), "error 2") << "a trail byte has no case";
  ASSERT_TRUE(language_.setFormat("y/\x81/m/\x81/d h:m:s"));
  EXPECT_EQ(language_.dateSeparators, "/\x81//\x81/");
  EXPECT_EQ(read("5\x81/6\x81/7"), "2005-06-07 00:00:00");
}

TEST_F(Dates, OfTheLibraryComeFromTheSystemsClock) {
  const auto now = [] { return foldapi::packNanoseconds(os::wallClockNanoseconds()); };
  const uint32_t before = now();
  uint32_t from = 0, to = 0;
  EXPECT_EQ(foldapi::ParseDateRange("", &from, &to), 0);
  EXPECT_LE(before, from);
  EXPECT_EQ(from, to);
  EXPECT_LE(to, now());
  for (const auto& [latest, want] :
       {std::pair{0, "1995-01-01 00:00:00"}, {1, "1995-12-31 23:59:58"}}) {
    const char* text = "95";
    EXPECT_EQ(foldapi::ParseDate(&text, &from, nullptr, latest), 0);
    EXPECT_EQ(isoText(from) + text, want);
  }
  EXPECT_EQ(foldapi::ParseDateRange("1994*1:2:3:4", &from, &to), 1);
  EXPECT_EQ(isoText(from), "1994-01-01 00:00:00");
  EXPECT_EQ(foldapi::ParseDateRange("13/1/95*1995 1996", &(from = 1), &(to = 1)), 3);
  EXPECT_EQ(from + to, 2u) << "an end that can't be read keeps its value";
  char buffer[] = "0123456789abcdefgh";
  for (const int32_t size : {-1, 0, 17}) {
    EXPECT_EQ(foldapi::GetDateFormat(buffer, size) & foldapi::GetDateWords(buffer, size), 1);
    EXPECT_STREQ(buffer, "0123456789abcdefgh") << size;
  }
  EXPECT_EQ(foldapi::GetDateFormat(buffer, 18), 0);
  EXPECT_EQ(buffer, dateLanguage().format);
}

TEST_F(Dates, AreTrimmed) {
  const auto trimmed = [](std::string text, const char* set) {
    foldapi::TrimRight(text.data(), set);
    return std::string(text.c_str());
  };
  EXPECT_EQ(trimmed("", " ") + trimmed(" \t ", " \t"), "");
  EXPECT_EQ(trimmed("a b \t", " \t") + trimmed("a ", ""), "a ba ");
  EXPECT_EQ(trimmed(" a\x81 ", " "), " a\x81");
  useTwoByteCharacters();
  EXPECT_EQ(trimmed("a\x81  ", " "), "a\x81 ");
  EXPECT_EQ(trimmed("a \x81", " "), "a \x81");
  EXPECT_EQ(trimmed("a\x81z z\x81z", "\x81z"), "a\x81z z");
  EXPECT_EQ(trimmed("a\x81z\x82z", "z"), "a\x81z\x82z");
}

}  // namespace
}  // namespace dates
