// btkf520/configuration_test.cpp: the configuration language through the toolkit's C functions.
#include "btkf520/configuration/configuration.h"

#include "../../fuzz/check_configuration.h"
#include "btkf520/toolkit.h"

namespace btkf520_test {
namespace {

using std::string_literals::operator""s;

class ConfigurationFile : public Toolkit {};

TEST_F(ConfigurationFile, TakesEveryFormOfALineAndReportsTheRest) {
  struct Case {
    const char* why;
    std::string text;
    const char* directories;
    const char* told;
  };
  const Case cases[] = {
      {"what projects are made with", "# VERSION TRVS Trevault_5.2.00\r\n", "", ""},
      {"what clients append", "VCSDIR=V:\\vault;W:\\docs\r\n\r\n", "V:\\vault;W:\\docs", ""},
      {"a blank for the sign", "vcsdir \t V:\\a b \t\r\n", "V:\\a b", ""},
      {"no end of the last line", "# c\nVcsDir = a", "a", ""},
      {"the last one wins", "VCSDIR=a\nVCSDIR=b;c\n", "b;c", ""},
      {"an empty one clears", "VCSDIR=a\nVCSDIR=\n", "", ""},
      {"only whole lines are comments", " # x\nVCSDIR=d:\\c#\n", "d:\\c#", ""},
      {"a byte order mark", "\xEF\xBB\xBFVCSDIR=a\n", "a", ""},
      {"places are kept as they are", "VCSDIR=;a;;b=c;\n", ";a;;b=c;", ""},
      {"bytes of any code page", "VCSDIR=b\xFCro\n", "b\xFCro", ""},
      {"bad lines stop nothing", "VCSDIRX=a\n=b\n\nVCSDIR/c\nVCSDIR=d\n[e]\n", "d",
       "line@1 line@2 line@4 line@6"},
      {"a NUL in a line, one in a comment", "VCSDIR=a\0b\n# \0\nVCSDIR=c\n"s, "c", "line@1"},
      {"a line of the largest length", "VCSDIR=" + std::string(8184, 'x') + "\r\nVCSDIR=a\n", "a",
       ""},
      {"a line that is longer", "VCSDIR=b\nVCSDIR=" + std::string(8185, 'x') + "\n", "b", "line@2"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(load(c.text), 0);
    EXPECT_EQ(directories(), c.directories);
    EXPECT_EQ(told(), c.told);
  }
}

TEST_F(ConfigurationFile, ConditionalsChooseOneBranch) {
  const support::ScopedEnvironment site("BTKF_SITE", "Kiel Nord");
  const support::ScopedEnvironment empty("BTKF_EMPTY", "");
  struct Case {
    const char* why;
    const char* text;
    const char* directories;
    const char* told;
  };
  const Case cases[] = {
      {"set", "IF BTKF_SITE\nVCSDIR=a\nELSE\nVCSDIR=b\nENDIF\n", "a", ""},
      {"empty is not set", "if BTKF_EMPTY\nVCSDIR=a\nelse\nVCSDIR=b\nendif\n", "b", ""},
      {"not", "IF NOT BTKF_SITE\nVCSDIR=a\nELSEIF not BTKF_NONE\nVCSDIR=b\nENDIF\n", "b", ""},
      {"equal, with a blank", "IF BTKF_SITE == Kiel Nord\nVCSDIR=a\nENDIF\n", "a", ""},
      {"equal means case too", "IF BTKF_SITE==kiel nord\nVCSDIR=a\nENDIF\n", "", ""},
      {"unequal", "IF BTKF_SITE != Kiel\nVCSDIR=a\nENDIF\n", "a", ""},
      {"unset equals nothing", "IF BTKF_NONE ==\nVCSDIR=a\nENDIF\n", "a", ""},
      {"the first true branch only",
       "IF BTKF_NONE\nVCSDIR=a\nELSEIF BTKF_SITE\nVCSDIR=b\nELSEIF BTKF_SITE\nVCSDIR=c\nELSE\n"
       "VCSDIR=d\nENDIF\n",
       "b", ""},
      {"nested in a skipped one",
       "IF BTKF_NONE\nIF BTKF_SITE\nVCSDIR=a\nELSE\nVCSDIR=b\nENDIF\nELSE\nVCSDIR=c\nENDIF\n", "c",
       ""},
      {"skipped lines may be anything", "IF BTKF_NONE\n[x]\nIF =\nENDIF\nENDIF\nVCSDIR=a\n", "a",
       ""},
      {"malformed: no branch at all",
       "IF == x\nVCSDIR=a\nELSEIF BTKF_SITE\nVCSDIR=b\nELSE\nVCSDIR=c\nENDIF\n", "",
       "conditional@1"},
      {"malformed where it matters not", "IF BTKF_SITE\nVCSDIR=a\nELSEIF ?\nENDIF\n", "a", ""},
      {"malformed further down", "IF BTKF_NONE\nELSEIF BTKF_SITE = x\nELSE\nVCSDIR=c\nENDIF\n", "",
       "conditional@2"},
      {"out of place", "ELSE\nENDIF\nELSEIF BTKF_SITE\nVCSDIR=a\n", "a",
       "conditional@1 conditional@2 conditional@3"},
      {"after ELSE", "IF BTKF_NONE\nELSE\nELSEIF BTKF_SITE\nVCSDIR=a\nELSE\nVCSDIR=b\nENDIF\n", "",
       "conditional@3 conditional@5"},
      {"text after ENDIF", "IF BTKF_NONE\nENDIF BTKF_NONE\nVCSDIR=a\n", "a", "conditional@2"},
      {"not closed", "VCSDIR=a\nIF BTKF_NONE\nVCSDIR=b\n", "a", "conditional@2"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(load(c.text), 0);
    EXPECT_EQ(directories(), c.directories);
    EXPECT_EQ(told(), c.told);
  }
}

TEST_F(ConfigurationFile, IncludesAreFoundBesideTheIncludingFile) {
  write("sub/one.cfg", "VCSDIR=one\nINCLUDE two.cfg\n");
  write("sub/two.cfg", "VCSDIR=two\n");
  write("open.cfg", "IF PATH\nVCSDIR=open\n");
  load("INCLUDE sub\\one.cfg\n");
  EXPECT_EQ(directories(), "two");
  load("INCLUDE " + path("sub/two.cfg") + "\nVCSDIR=later\n");
  EXPECT_EQ(directories(), "later");
  EXPECT_EQ(told(), "");
  load("INCLUDE\nINCLUDE none.cfg\nINCLUDE sub\nINCLUDE open.cfg\nENDIF\n");
  EXPECT_EQ(told(), "include@1 include@2 include@3 conditional@1 conditional@5");
}

TEST_F(ConfigurationFile, IncludesEnd) {
  load("VCSDIR=a\nINCLUDE project.cfg\nINCLUDE ./project.cfg\nVCSDIR=b\n");
  EXPECT_EQ(told(), "nesting@2 nesting@3") << "a file in itself";
  EXPECT_EQ(directories(), "b");

  write("a.cfg", "INCLUDE b.cfg\n");
  write("b.cfg", "INCLUDE a.cfg\n");
  load("INCLUDE a.cfg\nINCLUDE b.cfg\n");
  EXPECT_EQ(told(), "nesting@1 nesting@1") << "two files in each other";

  for (int level = 2; level <= 21; ++level) {
    write("chain" + std::to_string(level),
          "VCSDIR=" + std::to_string(level) + "\nINCLUDE chain" + std::to_string(level + 1) + "\n");
  }
  load("INCLUDE chain2\n");
  EXPECT_EQ(told(), "nesting@2");
  EXPECT_EQ(directories(), "20");

  // Files that include others in number would make as many reads as the numbers multiplied.
  write("empty.cfg", "");
  std::string text;
  for (int i = 0; i < 257; ++i) text += "INCLUDE empty.cfg\n";
  load(text);
  EXPECT_EQ(told(), "include@256 include@257");
  write("large.cfg", std::string(1 << 20, '\n'));
  load("INCLUDE large.cfg\nINCLUDE large.cfg\nINCLUDE large.cfg\nINCLUDE large.cfg\nVCSDIR=end\n");
  EXPECT_EQ(told(), "include@4");
  EXPECT_EQ(directories(), "end");
}

TEST_F(ConfigurationFile, DisallowedDirectivesHoldAgainstLaterFilesOnly) {
  write("more.cfg", "DISALLOW promote\n");
  load("DISALLOW VcsDir, INCLUDE NONSENSE\nVCSDIR=master\nINCLUDE more.cfg\n", TRVS_READ_MASTER);
  EXPECT_EQ(directories(), "master");
  EXPECT_EQ(told(), "line@1");
  load("VCSDIR=own\nPROMOTE a = b\nINCLUDE more.cfg\nDATEFORMAT = dd.mm.yy hh:mm:ss\n",
       TRVS_READ_FOLLOWING);
  EXPECT_EQ(told(), "disallowed@1 disallowed@2 disallowed@3");
  EXPECT_EQ(directories(), "master");
  EXPECT_EQ(item(TRVS_ITEM_DATE_FORMAT), "dd.mm.yy hh:mm:ss");

  load("DISALLOW VCSDIR\nVCSDIR=own\n");
  EXPECT_EQ(told(), "line@1") << "only a master file disallows, and a first file forgets it";
  load("VCSDIR=next\n", TRVS_READ_FOLLOWING);
  EXPECT_EQ(directories(), "next");
}

TEST_F(ConfigurationFile, StopsAtAnErrorIfToldTo) {
  write("more.cfg", "VCSDIR=b\nBAD\nVCSDIR=c\n");
  load("BAD\nONERROR = STOP\nVCSDIR=a\nINCLUDE more.cfg\nVCSDIR=d\nBAD\n");
  EXPECT_EQ(told(), "line@1 line@2");
  EXPECT_EQ(directories(), "b");
  load("BAD\nVCSDIR=e\nONERROR=CONTINUE\n", TRVS_READ_FOLLOWING);
  EXPECT_EQ(directories(), "b") << "the rule of an earlier file goes on";
}

TEST_F(ConfigurationFile, WhatIsLeftAfterAFailure) {
  const std::string none = path("none.cfg");
  load("VCSDIR=master\n", TRVS_READ_MASTER);
  EXPECT_EQ(TrvsQueryConfiguration(none.c_str(), 0, 0, TRVS_READ_FOLLOWING),
            TRVS_CANNOT_READ_CONFIGURATION);
  EXPECT_EQ(directories(), "master");
  for (int32_t mode : {7, 11})
    EXPECT_EQ(TrvsQueryConfiguration(none.c_str(), 0, 0, mode), TRVS_MISUSE);
  EXPECT_EQ(TrvsQueryConfiguration(nullptr, 0, 0, TRVS_READ_FIRST), TRVS_MISUSE);
  EXPECT_EQ(directories(), "master");
  EXPECT_EQ(TrvsQueryConfiguration(none.c_str(), 0, 0, TRVS_READ_MASTER),
            TRVS_CANNOT_READ_CONFIGURATION);
  EXPECT_EQ(directories(), "") << "no project works with another one's settings";

  load("VCSDIR=master\n", TRVS_READ_MASTER);
  answer = 2;
  EXPECT_EQ(load("VCSDIR=own\nBAD\nBAD\nPROMOTE a=b\nPROMOTE c=d\n", TRVS_READ_FOLLOWING),
            TRVS_CANCELLED);
  EXPECT_EQ(told(), "line@2");
  EXPECT_EQ(directories(), "master");
  EXPECT_EQ(load(std::string(1 << 20, '\n')), 0);
  EXPECT_EQ(load(std::string((1 << 20) + 1, '\n')), TRVS_CANNOT_READ_CONFIGURATION);
  EXPECT_EQ(TrvsQueryConfiguration(path("").c_str(), 0, 0, TRVS_READ_FIRST),
            TRVS_CANNOT_READ_CONFIGURATION)
      << "a directory";
}

TEST_F(ConfigurationFile, DateWordsAndFormatAreWhatParsersTake) {
  const std::string german =
      "Januar Februar M\xE4rz April Mai Juni Juli August September Oktober November Dezember VM NM";
  const std::string english = item(TRVS_ITEM_DATE_WORDS);
  struct Case {
    const char* why;
    std::string line;
    int32_t item;
    std::string want;  // Empty: the line is bad, and the item keeps its default.
  };
  const int32_t words = TRVS_ITEM_DATE_WORDS;
  const int32_t format = TRVS_ITEM_DATE_FORMAT;
  const Case cases[] = {
      {"other words", "DATEWORDS = " + german, words, german},
      {"any separators", "DATEWORDS = a,b, c\td.e-f/g,,h i j k l m n", words,
       "a b c d e f g h i j k l m n"},
      {"back to the default", "DATEWORDS=", words, english},
      {"thirteen", "DATEWORDS = a b c d e f g h i j k l m", words, ""},
      {"fifteen", "DATEWORDS = a b c d e f g h i j k l m n o", words, ""},
      {"two alike", "DATEWORDS = a b c d e f g h i j k l m A", words, ""},
      {"a number", "DATEWORDS = a b c d e f g h i j k l m 1n", words, ""},
      {"a colon", "DATEWORDS = a b c d e f g h i j k l m n:", words, ""},
      {"too long", "DATEWORDS = a b c d e f g h i j k l m " + std::string(31, 'n'), words, ""},
      {"the other order", "DATEFORMAT = dd.mm.yyyy, hh.mm.ss", format, "dd.mm.yyyy, hh.mm.ss"},
      {"whole words", "DATEFORMAT Year-Month-Day Hour:Minute:Second", format,
       "Year-Month-Day Hour:Minute:Second"},
      {"two days", "DATEFORMAT = dd/dd/yy hh:mm:ss", format, ""},
      {"no time", "DATEFORMAT = dd/mm/yy", format, ""},
      {"time in another order", "DATEFORMAT = dd/mm/yy ss:mm:hh", format, ""},
      {"digits", "DATEFORMAT = d1/mm/yy hh:mm:ss", format, ""},
      {"more after it", "DATEFORMAT = dd/mm/yy hh:mm:ss pp", format, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    load("");
    const std::string before = item(c.item);
    load(c.line + "\r\n");
    EXPECT_EQ(item(c.item), c.want.empty() ? before : c.want);
    EXPECT_EQ(told(), c.want.empty() ? "line@1" : "");
  }
  load("");
  EXPECT_EQ(item(words),
            "January February March April May June July August September October "
            "November December AM PM");
  EXPECT_EQ(item(format), "mm/dd/yy hh:mm:ss");
}

// What operations on archives ask for, which no item of the C interface shows.
TEST(Configuration, SettingsTakeTheirValuesOrRefuseThem) {
  struct Case {
    const char* name;
    const char* value;
    bool good;
    std::string want;  // All that is kept, after this one and those before it.
  };
  btkf::Configuration configuration;
  const auto kept = [&] {
    std::string result;
    for (const char* extension : {"c", ".H", "", "x"}) {
      result += configuration.archiveSuffix(extension) + " ";
    }
    for (const bool on : {configuration.exclusiveLock(), configuration.branchWarning()}) {
      result += on ? "on " : "off ";
    }
    result += configuration.journal() + "|" + configuration.userVariable() + "|";
    for (const std::string& user : configuration.accessList()) result += user + "+";
    return result + "|" + configuration.eventTrigger("PRECHECKIN");
  };
  const Case cases[] = {
      {"ARCHIVESUFFIX", "C = _c", true, "_c _v _v _v off off |||"},
      {"ARCHIVESUFFIX", ".h=_h", true, "_c _h _v _v off off |||"},
      {"ARCHIVESUFFIX", ". = _none", true, "_c _h _none _v off off |||"},
      {"ARCHIVESUFFIX", "* = _rest", true, "_c _h _none _rest off off |||"},
      {"ARCHIVESUFFIX", "c =", true, "_rest _h _none _rest off off |||"},
      {"ARCHIVESUFFIX", "c = ../x", false, "_rest _h _none _rest off off |||"},
      {"ARCHIVESUFFIX", "_v", false, "_rest _h _none _rest off off |||"},
      {"ARCHIVESUFFIX", "= _v", false, "_rest _h _none _rest off off |||"},
      {"ARCHIVESUFFIX", "", true, "_v _v _v _v off off |||"},
      {"EXCLUSIVELOCK", "yes", true, "_v _v _v _v on off |||"},
      {"BRANCHWARN", "", true, "_v _v _v _v on on |||"},
      {"EXCLUSIVELOCK", "maybe", false, "_v _v _v _v on on |||"},
      {"EXCLUSIVELOCK", "Off", true, "_v _v _v _v off on |||"},
      {"JOURNAL", "V:\\log\\all.jnl", true, "_v _v _v _v off on V:\\log\\all.jnl|||"},
      {"JOURNAL", "", true, "_v _v _v _v off on |||"},
      {"USERID", "Environment  LOGNAME", true, "_v _v _v _v off on |LOGNAME||"},
      {"USERID", "ENVIRONMENT A-B", false, "_v _v _v _v off on |LOGNAME||"},
      {"USERID", "SOMEBODY", false, "_v _v _v _v off on |LOGNAME||"},
      {"USERID", "account", true, "_v _v _v _v off on |||"},
      {"ACCESSLIST", "ann, the office ,bo", true, "_v _v _v _v off on ||ann+the office+bo+|"},
      {"ACCESSLIST", "ann, ,bo", false, "_v _v _v _v off on ||ann+the office+bo+|"},
      {"ACCESSLIST", "", true, "_v _v _v _v off on |||"},
      {"EVENTTRIGGER", "PreCheckin = lint --all=1", true, "_v _v _v _v off on |||lint --all=1"},
      {"EVENTTRIGGER", "PREDINNER = wash", false, "_v _v _v _v off on |||lint --all=1"},
      {"EVENTTRIGGER", "precheckin =", true, "_v _v _v _v off on |||"},
      {"NOSETTING", "1", false, "_v _v _v _v off on |||"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " = " + c.value);
    EXPECT_EQ(configuration.set(c.name, c.value), c.good);
    EXPECT_EQ(kept(), c.want);
  }
  EXPECT_TRUE(configuration.set("VCSDIR", ";a b; ;c"));
  EXPECT_EQ(configuration.archiveDirectories(), (std::vector<std::string>{"a b", "c"}));
}

// What editors, disks and merges do to files, each joined with another's lines.
TEST(ConfigurationDamage, BreaksNoPromise) {
  const std::string_view seeds[] = {
      "\2# VERSION TRVS Trevault_5.2.00\r\nVCSDIR=V:\\vault;W:\\docs\r\nARCHIVESUFFIX .c = _v\r\n"
      "DISALLOW VCSDIR, PROMOTE\r\nUSERID = ENVIRONMENT LOGNAME\r\nACCESSLIST = ann, bo\r\n",
      "\1PROMOTE dev = test\nPROMOTE test = prod\nPROMOTE fix = prod\nPROMOTE prod = top\n"
      "PROMOTE\nPROMOTE a = b\nPROMOTE b = a\n",
      "\200IF HOME\nIF NOT SHELL\nVCSDIR a\nELSEIF SITE == x\nINCLUDE 1\nELSE\nINCLUDE 2\nENDIF\n"
      "ENDIF\n\fINCLUDE 0\nINCLUDE 1\nINCLUDE 2\nINCLUDE 2\n\fINCLUDE 1\nONERROR STOP\nBAD\n",
      "\3DATEWORDS = a b c d e f g h i j k l m n\nDATEFORMAT = dd.mm.yy hh:mm:ss\n"
      "ONERROR=CONTINUE\nEVENTTRIGGER PRECHECKIN = lint\nJOURNAL = j\nEXCLUSIVELOCK\n"
      "BRANCHWARN off\n"};
  for (unsigned seed = 0; seed < 20000; ++seed) {
    SCOPED_TRACE(seed);
    const std::string one = fuzz::damaged(std::string(seeds[seed % 4]), seed);
    const std::string_view other = seeds[seed / 4 % 4].substr(1);
    fuzz::checkConfiguration(fuzz::damaged(one + std::string(other), seed));
  }
}

}  // namespace
}  // namespace btkf520_test
