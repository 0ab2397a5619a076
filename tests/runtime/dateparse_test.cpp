// Tests of dates that people type, with the clock stopped at 2026-05-17 13:45:30.
#include "runtime/dateparse.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "../../fuzz/check_dates.h"
#include "runtime/datesettings.h"
#include "runtime/platform_time.h"
#include "support/table.h"

namespace foldapi {
namespace {

uint32_t stoppedClock() { return packTime({2026, 5, 17, 13, 45, 30}); }

std::string isoText(uint32_t packed) {
  LocalTime time;
  unpackTime(packed, &time);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day,
                time.hours, time.minutes, time.seconds);
  return text;
}

std::string setting(int32_t (*get)(char*, int32_t)) {
  char buffer[300] = "";
  return get(buffer, 300) == 0 ? buffer : "failed";
}
std::string dateWords() { return setting(GetDateWords); }
std::string dateFormat() { return setting(GetDateFormat); }

class Dates : public testing::Test {
 protected:
  Dates() { dateSettings().now = stoppedClock; }
  ~Dates() override {
    dateSettings() = DateSettings();
    setCharacterTable(nullptr);
  }

  // 0x81 to 0x9f lead characters of two bytes.
  void useTwoByteCharacters() {
    CharacterTable table = characterTable();
    for (size_t c = 0x81; c <= 0x9f; ++c) table[c].classes |= kCharLead;
    setCharacterTable(&table);
  }

  // The moment, and what is left of the text behind a "~"; or "error" and the code.
  static std::string read(const char* text, bool isLatest = false, const char* endSet = "") {
    const char* rest = text;
    uint32_t packed = 12345;
    const int32_t status = ParseDate(&rest, &packed, endSet, isLatest ? 1 : 0);
    if (status != 0) {
      EXPECT_EQ(rest, text) << "an error moves nothing";
      EXPECT_EQ(packed, 12345u) << "an error sets nothing";
      return "error " + std::to_string(status);
    }
    return isoText(packed) + (*rest == '\0' ? "" : std::string("~") + rest);
  }

  // All that a text may mean: "1995" for the whole year, "1996-02..29" for a month with its last
  // day, "1995-03-04" for a day, then to the minute, else the earliest and the latest moment.
  static std::string span(const char* text) {
    const std::string earliest = read(text), latest = read(text, true);
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
  for (const auto& [text, want] : cases) EXPECT_EQ(span(text.c_str()), want) << text;
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
    for (const bool isLatest : {false, true}) {
      EXPECT_EQ(read(text.c_str(), isLatest), "error " + status) << text;
    }
  }
}

TEST_F(Dates, ComeFromTheSystemsClock) {
  dateSettings() = DateSettings();
  const uint32_t before = packNanoseconds(wallClockNanoseconds());
  uint32_t from = 0, to = 0;
  EXPECT_EQ(ParseDateRange("", &from, &to), 0);
  EXPECT_LE(before, from);
  EXPECT_EQ(from, to);
  EXPECT_LE(to, packNanoseconds(wallClockNanoseconds()));
}

TEST_F(Dates, MakeRanges) {
  const auto cases = support::table<2>(R"(
      3/4/95 -> 0, 1995-03-04 00:00:00, 1995-03-04 23:59:58
      1995* -> 0, 1995-01-01 00:00:00, 2100-12-31 23:59:58
      *1995 -> 0, 1980-01-01 00:00:00, 1995-12-31 23:59:58
      3/95*4/95 -> 0, 1995-03-01 00:00:00, 1995-04-30 23:59:58
      * -> 0, 1980-01-01 00:00:00, 2100-12-31 23:59:58
       -> 0, 2026-05-17 13:45:30, 2026-05-17 13:45:30
      , /.-: -> 0, 2026-05-17 13:45:30, 2026-05-17 13:45:30
      1995*x -> 2, 1995-01-01 00:00:00, unchanged      | 1:2:3:4*95 -> 1, unchanged, unchanged
      95*1:2:3:4 -> 1, 1995-01-01 00:00:00, unchanged  | 13/1/95*1995 1996 -> 3, unchanged, unchanged
      1995*1996*1997 -> 1, 1995-01-01 00:00:00, unchanged)");
  const auto shown = [](uint32_t time) { return time == 1 ? "unchanged" : isoText(time); };
  for (const auto& [text, want] : cases) {
    uint32_t from = 1, to = 1;
    const int32_t status = ParseDateRange(text.c_str(), &from, &to);
    EXPECT_EQ(std::to_string(status) + ", " + shown(from) + ", " + shown(to), want) << text;
  }
}

TEST_F(Dates, SpeakAnotherLanguage) {
  // With what a configuration may hold besides: other apart, other case, something behind the last.
  ASSERT_EQ(SetDateWords("\tJanuar,  Februar/M\xe4rz April Mai Juni Juli August September Oktober "
                         "November Dezember vorm nachm, Ende"),
            0);
  EXPECT_EQ(dateWords(),
            "Januar Februar M\xe4rz April Mai Juni Juli August September Oktober November "
            "Dezember vorm nachm");
  ASSERT_EQ(SetDateFormat("TT.MM.JJ hh:mm:ss"), 1);
  ASSERT_EQ(SetDateFormat("dd-mm-yy hh.mm.ss"), 0);
  // "/" separates no more: 25 is an hour, and what follows a day and a month is a time.
  const auto cases = support::table<2>(R"(
      3-12-95 4.05nachm -> 1995-12-03 16:05:00 | Mai -> 2026-05-01 00:00:00 | May -> error 2
      pm -> error 2            | V -> 2026-05-17 00:00:00   | 4-3 -> 2026-03-04 00:00:00
      25/12/95 -> error 2      | 12/31/95 -> 1995-01-01 12:31:00   | 3-4/95 -> error 1
      10:30 -> 2026-05-17 10:30:00)");
  for (const auto& [text, want] : cases) EXPECT_EQ(read(text.c_str()), want) << text;
  EXPECT_EQ(read("3-M\xe4r-95"), "1995-03-03 00:00:00");
  ASSERT_EQ(SetDateFormat("Year/Month/Day H:M:S"), 0);
  EXPECT_EQ(read("95/12/3"), "1995-12-03 00:00:00");
  EXPECT_EQ(read("5/12"), "2005-12-01 00:00:00") << "the year comes first";
  dateSettings().skip = " ";
  EXPECT_EQ(read("M\xe4rz 5"), "2005-03-01 00:00:00");
  EXPECT_EQ(read(" 5 / 12 / 3 "), "2005-12-03 00:00:00");
  std::string many;
  for (int i = 0; i < 200000; ++i) many += "1 ";
  EXPECT_EQ(read(many.c_str()), "error 2") << "no number is read to judge the one before it";
}

TEST_F(Dates, RefuseWordsThatAreNoSet) {
  const std::string english = dateWords();
  EXPECT_EQ(english,
            "January February March April May June July August September October November "
            "December AM PM");
  for (const char* bad : {"", " ,/", "1 2 3 4 5 6 7 8 9 10 11 12 AM", "a b c d e f g h i j k l m A",
                          "a b c d e f g h i j k l b m"}) {
    EXPECT_EQ(SetDateWords(bad), 1) << bad;
    EXPECT_EQ(dateWords(), english) << bad;
    EXPECT_EQ(read("Feb"), "2026-02-01 00:00:00") << bad;
  }
}

TEST_F(Dates, FollowTheFormat) {
  const struct {
    const char* format;
    const char* dateSeparators;
    const char* timeSeparators;
    const char* written;
  } cases[] = {
      {"mm/dd/yy hh:mm:ss", "//", "::", "12/03/05 04:06:08"},
      {"D.M-Y H:M.S", ".-", ":.", "03.12.05 04:06:08"},
      {"year, Month,, day -;- hour,min:second am", ", ,, ", ",:", "05,12,03 04,06,08"},
      {"dd/;mm/yy hh:mm:ss", "/;/", "::", "03/12/05 04:06:08"},
      {"y m d h m s", "  ", "  ", "05 12 03 04 06 08"},
  };
  const auto shown = [] {
    const DateSettings& now = dateSettings();
    return dateFormat() + "|" + now.dateSeparators + "|" + now.timeSeparators + "|" +
           FormatDate(packTime({2005, 12, 3, 4, 6, 8}));
  };
  const std::string standard = "mm/dd/yy hh:mm:ss|/.-|:.|12/03/05 04:06:08";
  EXPECT_EQ(shown(), standard);
  for (const auto& c : cases) {
    EXPECT_EQ(SetDateFormat(c.format), 0);
    EXPECT_EQ(shown(), std::string(c.format) + "|" + c.dateSeparators + "|" + c.timeSeparators +
                           "|" + c.written);
  }
  dateSettings() = DateSettings();
  for (const char* bad :
       {"", "dd/mm/yy", "dd/mm/yy hh:mm", "dd/mm/dd hh:mm:ss", "dd/mm/xx hh:mm:ss",
        "dd/mm/2yy hh:mm:ss", " dd/mm/yy hh:mm:ss", "dd:mm:yy hh:mm:ss", "dd/mm/yy mm:hh:ss",
        "dd/mm/yy hh-mm-ss", "dd/mm/yy:hh:mm:ss"}) {
    EXPECT_EQ(SetDateFormat(bad), 1) << bad;
    EXPECT_EQ(shown(), standard) << bad;
  }
}

TEST_F(Dates, FitIntoABufferOrStayOut) {
  char buffer[] = "0123456789abcdefgh";
  for (const int32_t size : {-1, 0, 1, 17}) {
    EXPECT_EQ(GetDateFormat(buffer, size), 1) << size;
    EXPECT_EQ(GetDateWords(buffer, size), 1) << size;
    EXPECT_STREQ(buffer, "0123456789abcdefgh") << size;
  }
  EXPECT_EQ(GetDateFormat(buffer, 18), 0);
  EXPECT_STREQ(buffer, "mm/dd/yy hh:mm:ss");
}

TEST_F(Dates, StepOverCharactersOfTwoBytes) {
  useTwoByteCharacters();
  // Trail bytes that are a letter, a digit, a separator and an end.
  EXPECT_EQ(read("3\x81z4"), "2026-05-17 03:04:00");
  EXPECT_EQ(read("3\x81\x35:4"), "2026-05-17 03:04:00");
  EXPECT_EQ(read("3\x81/4"), "2026-05-17 03:04:00") << "no separator of dates";
  EXPECT_EQ(read("3\x81*4", false, "*"), "2026-05-17 03:04:00");
  EXPECT_EQ(read("3/4\x81"), "2026-03-04 00:00:00") << "nothing behind the lead byte";
  ASSERT_EQ(SetDateWords("I\x81/a I\x81/b I\x81z d e f g h i j k l m n"), 0);
  EXPECT_EQ(read("i\x81/B/3"), "2026-02-03 00:00:00") << "the trail byte doesn't end the word";
  EXPECT_EQ(read("i\x81/"), "error 2") << "January or February";
  EXPECT_EQ(read("i\x81z"), "2026-03-01 00:00:00");
  EXPECT_EQ(read("i\x81Z"), "error 2") << "a trail byte has no case";
  ASSERT_EQ(SetDateFormat("y/\x81/m/\x81/d h:m:s"), 0);
  EXPECT_EQ(dateSettings().dateSeparators, "/\x81//\x81/");
  EXPECT_EQ(read("5\x81/6\x81/7"), "2005-06-07 00:00:00");
}

TEST_F(Dates, AreTrimmed) {
  const auto trimmed = [](std::string text, const char* set) {
    TrimRight(text.data(), set);
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
}  // namespace foldapi
