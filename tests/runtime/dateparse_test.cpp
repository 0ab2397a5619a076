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

std::string asText(const char* (*get)(char*)) {
  char buffer[300] = "";
  return get(buffer);
}
std::string dateWords() {
  return asText([](char* buffer) -> const char* {
    return GetDateWords(buffer, 300) == 0 ? buffer : "failed";
  });
}
std::string dateFormat() {
  return asText([](char* buffer) -> const char* {
    return GetDateFormat(buffer, 300) == 0 ? buffer : "failed";
  });
}

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

  // The moment, and what is left of the text behind a "|"; or "error" and the code.
  static std::string read(const char* text, bool isLatest = false, const char* endSet = "") {
    const char* rest = text;
    uint32_t packed = 12345;
    const int32_t status = ParseDate(&rest, &packed, endSet, isLatest ? 1 : 0);
    if (status != 0) {
      EXPECT_EQ(rest, text) << "an error moves nothing";
      EXPECT_EQ(packed, 12345u) << "an error sets nothing";
      return "error " + std::to_string(status);
    }
    return isoText(packed) + (*rest == '\0' ? "" : std::string("|") + rest);
  }
};

TEST_F(Dates, AreReadAsPeopleMeanThem) {
  struct Case {
    const char* text;
    const char* earliest;
    const char* latest;  // Null: the same.
  };
  const std::string word31(31, 'x'), word30(30, 'x'), fourNumbers = "1/2/3/4/" + word31;
  const Case cases[] = {
      // What is left out.
      {"", "1980-01-01 00:00:00", "2100-12-31 23:59:58"},
      {" ", "2026-05-17 00:00:00", "2026-05-17 23:59:58"},
      {"5", "2026-05-05 00:00:00", "2026-05-05 23:59:58"},
      {"3/4", "2026-03-04 00:00:00", "2026-03-04 23:59:58"},
      {"3/4/95", "1995-03-04 00:00:00", "1995-03-04 23:59:58"},
      {"3/4/05", "2005-03-04 00:00:00", "2005-03-04 23:59:58"},
      {"95", "1995-01-01 00:00:00", "1995-12-31 23:59:58"},
      {"2/96", "1996-02-01 00:00:00", "1996-02-29 23:59:58"},
      {"2/97", "1997-02-01 00:00:00", "1997-02-28 23:59:58"},
      {"4/", "2026-05-04 00:00:00", "2026-05-04 23:59:58"},
      {"12:30", "2026-05-17 12:30:00", "2026-05-17 12:30:58"},
      {"12:30:20", "2026-05-17 12:30:20", nullptr},
      {"12/25/95 10:30", "1995-12-25 10:30:00", "1995-12-25 10:30:58"},
      {"10:30:21 12/25/95", "1995-12-25 10:30:20", nullptr},
      {"2pm 3/4", "2026-03-04 14:00:00", "2026-03-04 14:59:58"},
      {"3/4 10:30", "2026-03-04 10:30:00", "2026-03-04 10:30:58"},
      {"3.4-95", "1995-03-04 00:00:00", "1995-03-04 23:59:58"},
      // Numbers that only look like years, and years that only look like numbers.
      {"79/1", "error 2", nullptr},
      {"80", "1980-01-01 00:00:00", "1980-12-31 23:59:58"},
      {"199", "2099-01-01 00:00:00", "2099-12-31 23:59:58"},
      {"1/2/79", "2079-01-02 00:00:00", "2079-01-02 23:59:58"},
      {"1/1/200", "error 2", nullptr},
      {"1/1/1979", "error 2", nullptr},
      {"3/4 1979", "error 2", nullptr},  // An hour;
      {"3/4 1980", "error 1", nullptr},  // a second date.
      {"1/1/1980", "1980-01-01 00:00:00", "1980-01-01 23:59:58"},
      {"12:80", "1980-01-01 12:00:00", "1980-12-31 12:59:58"},
      {"1/1/2101", "error 2", nullptr},
      {"12/31/2100", "2100-12-31 00:00:00", "2100-12-31 23:59:58"},
      {"2/29/2100", "2100-02-29 00:00:00", "2100-02-29 23:59:58"},
      {"67531", "error 2", nullptr},  // 1995 in 16 bits,
      {"1/1/4294969291", "error 2", nullptr},
      {"18446744073709553611", "error 2", nullptr},
      {"1/0000000000000000000000005/95", "1995-01-05 00:00:00", "1995-01-05 23:59:58"},
      // The blank takes the nature of what stands before it.
      {"Mar 5", "2026-03-01 05:00:00", "2026-03-31 05:59:58"},
      {"5 Mar", "2026-03-01 05:00:00", "2026-03-31 05:59:58"},
      {"Mar/5", "2026-03-05 00:00:00", "2026-03-05 23:59:58"},
      {"Mar/5/1995", "1995-03-05 00:00:00", "1995-03-05 23:59:58"},
      {"5/Mar", "2026-03-05 00:00:00", "2026-03-05 23:59:58"},
      {"95/3", "1995-03-01 00:00:00", "1995-03-31 23:59:58"},
      {"3 4 95", "1995-01-01 03:04:00", "1995-12-31 03:04:58"},
      {"March 5, 1995", "error 1", nullptr},
      {"Jan 5 Feb", "error 2", nullptr},
      {"Jan/Feb", "error 2", nullptr},
      {"3/4 Feb", "error 2", nullptr},
      {"1995 Feb", "error 1", nullptr},
      {"1995 1996", "error 1", nullptr},
      {"1995/1996", "error 2", nullptr},
      {"10:30 3/4 5", "error 1", nullptr},
      // Fields that there are not.
      {"13/1/95", "error 2", nullptr},
      {"0/1/95", "error 2", nullptr},
      {"1/0/95", "error 2", nullptr},
      {"4/31/95", "error 2", nullptr},
      {"2/29/96", "1996-02-29 00:00:00", "1996-02-29 23:59:58"},
      {"2/29/97", "error 2", nullptr},
      {"24:00", "error 2", nullptr},
      {"23:60", "error 2", nullptr},
      {"23:59:60", "error 2", nullptr},
      {"1:2:3:4", "error 1", nullptr},
      {"1/2/3/4", "error 2", nullptr},
      {fourNumbers.c_str(), "error 2", nullptr},  // The fourth comes first.
      {"1/2/3/95", "error 2", nullptr},
      // The halves of a day.
      {"2pm", "2026-05-17 14:00:00", "2026-05-17 14:59:58"},
      {"2:30 AM", "2026-05-17 02:30:00", "2026-05-17 02:30:58"},
      {"12am", "2026-05-17 00:00:00", "2026-05-17 00:59:58"},
      {"12pm", "2026-05-17 12:00:00", "2026-05-17 12:59:58"},
      {"13pm", "error 2", nullptr},
      {"am", "2026-05-17 00:00:00", "2026-05-17 11:59:58"},
      {"p", "2026-05-17 12:00:00", "2026-05-17 23:59:58"},
      {"3/4 pm", "2026-03-04 12:00:00", "2026-03-04 23:59:58"},
      {"pm 5", "2026-05-05 12:00:00", "2026-05-05 23:59:58"},
      {"pm5", "error 2", nullptr},
      {"2am:pm", "error 2", nullptr},
      {"am pm", "error 1", nullptr},  // The blank begins a date.
      // Words.
      {"Ja", "2026-01-01 00:00:00", "2026-01-31 23:59:58"},
      {"feBRUary", "2026-02-01 00:00:00", "2026-02-28 23:59:58"},
      {"mar", "2026-03-01 00:00:00", "2026-03-31 23:59:58"},
      {"Ap", "2026-04-01 00:00:00", "2026-04-30 23:59:58"},
      {"may", "2026-05-01 00:00:00", "2026-05-31 23:59:58"},
      {"Jun", "2026-06-01 00:00:00", "2026-06-30 23:59:58"},
      {"July", "2026-07-01 00:00:00", "2026-07-31 23:59:58"},
      {"au", "2026-08-01 00:00:00", "2026-08-31 23:59:58"},
      {"S", "2026-09-01 00:00:00", "2026-09-30 23:59:58"},
      {"o", "2026-10-01 00:00:00", "2026-10-31 23:59:58"},
      {"N", "2026-11-01 00:00:00", "2026-11-30 23:59:58"},
      {"d", "2026-12-01 00:00:00", "2026-12-31 23:59:58"},
      {"J", "error 2", nullptr},
      {"Ju", "error 2", nullptr},
      {"Ma", "error 2", nullptr},
      {"A", "error 2", nullptr},
      {"Januaryx", "error 2", nullptr},
      {"Mar5", "error 2", nullptr},
      {word30.c_str(), "error 2", nullptr},
      {word31.c_str(), "error 1", nullptr},
      {"1:2:3:4z", "error 2", nullptr},  // The word ahead is looked at before the fourth number.
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(read(c.text), c.earliest);
    EXPECT_EQ(read(c.text, true), c.latest == nullptr ? c.earliest : c.latest);
  }
}

TEST_F(Dates, EndWhereTheCallerSays) {
  struct Case {
    const char* text;
    const char* endSet;
    const char* want;
  };
  const Case cases[] = {
      {"95*rest", "*", "1995-01-01 00:00:00|*rest"}, {"Mar;5", "*;", "2026-03-01 00:00:00|;5"},
      {"3/4/95/5", "5", "1995-03-04 00:00:00|5"},    {"3/4/6;x", ";", "2006-03-04 00:00:00|;x"},
      {"*", "*", "1980-01-01 00:00:00|*"},           {"3/4 ]", "]", "2026-03-04 00:00:00|]"},
      {"3*4", nullptr, "2026-05-17 03:04:00"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(read(c.text, false, c.endSet), c.want) << c.text;
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
  struct Case {
    const char* text;
    int32_t status;
    const char* from;  // Null: unchanged.
    const char* to;
  };
  const Case cases[] = {
      {"3/4/95", 0, "1995-03-04 00:00:00", "1995-03-04 23:59:58"},
      {"95", 0, "1995-01-01 00:00:00", "1995-12-31 23:59:58"},
      {"1995*", 0, "1995-01-01 00:00:00", "2100-12-31 23:59:58"},
      {"*1995", 0, "1980-01-01 00:00:00", "1995-12-31 23:59:58"},
      {"3/95*4/95", 0, "1995-03-01 00:00:00", "1995-04-30 23:59:58"},
      {"Jan*Mar", 0, "2026-01-01 00:00:00", "2026-03-31 23:59:58"},
      {"*", 0, "1980-01-01 00:00:00", "2100-12-31 23:59:58"},
      {"", 0, "2026-05-17 13:45:30", "2026-05-17 13:45:30"},
      {" \t,/.-:", 0, "2026-05-17 13:45:30", "2026-05-17 13:45:30"},
      {"1995*x", 2, "1995-01-01 00:00:00", nullptr},
      {"1:2:3:4*95", 1, nullptr, nullptr},
      {"95*1:2:3:4", 1, "1995-01-01 00:00:00", nullptr},
      {"1995*1996*1997", 1, "1995-01-01 00:00:00", nullptr},
      {"13/1/95*1995 1996", 3, nullptr, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    uint32_t from = 1, to = 2;
    EXPECT_EQ(ParseDateRange(c.text, &from, &to), c.status);
    EXPECT_EQ(isoText(from), c.from == nullptr ? isoText(1) : c.from);
    EXPECT_EQ(isoText(to), c.to == nullptr ? isoText(2) : c.to);
  }
}

TEST_F(Dates, SpeakAnotherLanguage) {
  struct Case {
    const char* text;
    const char* want;
  };
  // With what a configuration may hold besides: other apart, other case, something behind the last.
  ASSERT_EQ(SetDateWords("\tJanuar,  Februar/M\xe4rz April Mai Juni Juli August September Oktober "
                         "November Dezember vorm nachm, Ende"),
            0);
  EXPECT_EQ(dateWords(),
            "Januar Februar M\xe4rz April Mai Juni Juli August September Oktober November "
            "Dezember vorm nachm");
  ASSERT_EQ(SetDateFormat("TT.MM.JJ hh:mm:ss"), 1);
  ASSERT_EQ(SetDateFormat("dd-mm-yy hh.mm.ss"), 0);
  for (const Case& c : {
           Case{"3-12-95 4.05nachm", "1995-12-03 16:05:00"},
           {"3-M\xe4r-95", "1995-03-03 00:00:00"},
           {"Mai", "2026-05-01 00:00:00"},
           {"May", "error 2"},
           {"pm", "error 2"},
           {"V", "2026-05-17 00:00:00"},
           {"4-3", "2026-03-04 00:00:00"},
           {"25/12/95", "error 2"},  // "/" separates no more: an hour of 25,
           {"12/31/95", "1995-01-01 12:31:00"},
           {"3-4/95", "error 1"},  // what follows a day and a month is a time.
           {"10:30", "2026-05-17 10:30:00"},
       }) {
    EXPECT_EQ(read(c.text), c.want) << c.text;
  }
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
  for (const char* bad : {
           "",
           " ,/",
           "1 2 3 4 5 6 7 8 9 10 11 12 AM",
           "a b c d e f g h i j k l m A",
           "a b c d e f g h i j k l b m",
       }) {
    EXPECT_EQ(SetDateWords(bad), 1) << bad;
    EXPECT_EQ(dateWords(), english) << bad;
    EXPECT_EQ(read("Feb"), "2026-02-01 00:00:00") << bad;
  }
}

TEST_F(Dates, FollowTheFormat) {
  struct Case {
    const char* format;
    int32_t status;
    const char* dateSeparators;
    const char* timeSeparators;
    const char* written;  // 2005-12-03 04:06:08.
  };
  const Case cases[] = {
      {"mm/dd/yy hh:mm:ss", 0, "//", "::", "12/03/05 04:06:08"},
      {"D.M-Y H:M.S", 0, ".-", ":.", "03.12.05 04:06:08"},
      {"year, Month,, day -;- hour,min:second am", 0, ", ,, ", ",:", "05,12,03 04,06,08"},
      {"dd/;mm/yy hh:mm:ss", 0, "/;/", "::", "03/12/05 04:06:08"},
      {"y m d h m s", 0, "  ", "  ", "05 12 03 04 06 08"},
      {"", 1, "", "", ""},
      {"dd/mm/yy", 1, "", "", ""},
      {"dd/mm/yy hh:mm", 1, "", "", ""},
      {"dd/mm/dd hh:mm:ss", 1, "", "", ""},
      {"dd/mm/xx hh:mm:ss", 1, "", "", ""},
      {"dd/mm/2yy hh:mm:ss", 1, "", "", ""},
      {" dd/mm/yy hh:mm:ss", 1, "", "", ""},
      {"dd:mm:yy hh:mm:ss", 1, "", "", ""},
      {"dd/mm/yy mm:hh:ss", 1, "", "", ""},
      {"dd/mm/yy hh-mm-ss", 1, "", "", ""},
      {"dd/mm/yy:hh:mm:ss", 1, "", "", ""},
  };
  EXPECT_EQ(dateFormat(), "mm/dd/yy hh:mm:ss");
  EXPECT_STREQ(FormatDate(packTime({2005, 12, 3, 4, 6, 8})), "12/03/05 04:06:08");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.format);
    dateSettings() = DateSettings();
    EXPECT_EQ(SetDateFormat(c.format), c.status);
    const DateSettings standard;
    const bool isSet = c.status == 0;
    EXPECT_EQ(dateFormat(), isSet ? c.format : standard.format);
    EXPECT_EQ(dateSettings().dateSeparators, isSet ? c.dateSeparators : standard.dateSeparators);
    EXPECT_EQ(dateSettings().timeSeparators, isSet ? c.timeSeparators : standard.timeSeparators);
    EXPECT_STREQ(FormatDate(packTime({2005, 12, 3, 4, 6, 8})),
                 isSet ? c.written : "12/03/05 04:06:08");
  }
}

TEST_F(Dates, AreWrittenAsTheyAreRead) {
  struct Case {
    LocalTime time;
    const char* want;
  };
  for (const Case& c : {
           Case{{1980, 1, 1, 0, 0, 0}, "01/01/80 00:00:00"},
           {{1999, 12, 31, 23, 59, 58}, "12/31/99 23:59:58"},
           {{2000, 2, 29, 12, 0, 2}, "02/29/00 12:00:02"},
           {{2079, 10, 20, 10, 20, 30}, "10/20/79 10:20:30"},
           {{2080, 10, 20, 10, 20, 30}, "10/20/2080 10:20:30"},
           {{2100, 10, 20, 10, 20, 30}, "10/20/2100 10:20:30"},
       }) {
    EXPECT_STREQ(FormatDate(packTime(c.time)), c.want);
    EXPECT_EQ(read(c.want, true), isoText(packTime(c.time)));
  }
  EXPECT_STREQ(FormatDate(UINT32_MAX), "15/31/2107 31:63:62");
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
  struct Case {
    const char* text;
    const char* set;
    const char* want;
  };
  const auto check = [](const Case& c) {
    std::string text = c.text;
    TrimRight(text.data(), c.set);
    EXPECT_STREQ(text.c_str(), c.want) << c.text;
  };
  for (const Case& c : {Case{"", " ", ""},
                        {" \t ", " \t", ""},
                        {"a b \t", " \t", "a b"},
                        {"a b", " \t", "a b"},
                        {"a ", "", "a "},
                        {" a\x81 ", " ", " a\x81"}}) {
    check(c);
  }
  useTwoByteCharacters();
  for (const Case& c : {Case{"a\x81  ", " ", "a\x81 "},
                        {"a \x81", " ", "a \x81"},
                        {"a\x81z z\x81z", "\x81z", "a\x81z z"},
                        {"a\x81z\x82z", "z", "a\x81z\x82z"}}) {
    check(c);
  }
}

TEST(DatesFuzz, KeepTheirPromisesForAnyText) {
  const std::string seeds[] = {
      "\1"
      "12/25/95 10:30:20pm*Mar 5\ndd-mm-yy hh.mm.ss\n"
      "January February March April May June July August September October November December AM PM",
      "\2"
      "5 Jan 1995, 2:30am*95\nyear/month/day h m s\na b c d e f g h i j k l m n",
      "\3"
      "3/4/05 12:30\x81z*1995\nm\x81.d.y h:m:s",
      std::string("\0"
                  "2/29/2100 am*18446744073709553611",
                  35),
      "\1"
      "Jan*Dec; 3-4-5 12.30 pm, 6/7\n\nIan Ion Iun I\x81z ma me mi mo mu na ne ni am pm",
  };
  for (unsigned seed = 0; seed < 40000; ++seed) {
    SCOPED_TRACE(seed);
    fuzz::checkDates(fuzz::damaged(seeds[seed % std::size(seeds)], seed));
  }
}

}  // namespace
}  // namespace foldapi
