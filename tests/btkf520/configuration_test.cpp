// btkf520/configuration_test.cpp: the configuration language through the toolkit's C functions.
#include "btkf520/configuration/configuration.h"

#include <unistd.h>

#include <cerrno>

#include "../../fuzz/check_configuration.h"
#include "btkf520/toolkit.h"
#include "os/systemcalls.h"
#include "support/table.h"

namespace btkf520_test {
namespace {

using std::string_literals::operator""s;

class ConfigurationFile : public Toolkit {};

std::string lines(std::string text) {
  std::replace(text.begin(), text.end(), ';', '\n');
  return text + '\n';
}

TEST_F(ConfigurationFile, TakesEveryFormOfALineAndReportsTheRest) {
  struct Case {
    std::string text;
    const char* directories;
    const char* told = "";
  };
  const Case cases[] = {
      {"# VERSION TRVS Trevault_5.2.00\r\n", ""},
      {"VCSDIR=V:\\vault;W:\\docs\r\n\r\n", "V:\\vault;W:\\docs"},
      {"vcsdir \t V:\\a b \t\r\n", "V:\\a b"},
      {"# c\nVcsDir = a", "a"},
      {"VCSDIR=a\nVCSDIR=b;c\n", "b;c"},
      {"VCSDIR=a\nVCSDIR=\n", ""},
      {" # x\nVCSDIR=d:\\c#\n", "d:\\c#"},
      {"\xEF\xBB\xBFVCSDIR=a\n", "a"},
      {"VCSDIR=;a;;b=c;\n", ";a;;b=c;"},
      {"VCSDIR=b\xFCro\n", "b\xFCro"},
      {"VCSDIRX=a\n=b\n\nVCSDIR/c\nVCSDIR=d\n[e]\n", "d", "line@1 line@2 line@4 line@6"},
      {"VCSDIR=a\0b\n# \0\nVCSDIR=c\n"s, "c", "line@1"},
      {"VCSDIR=" + std::string(8184, 'x') + "\r\nVCSDIR=a\n", "a"},
      {"VCSDIR=b\nVCSDIR=" + std::string(8185, 'x') + "\n", "b", "line@2"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(load(c.text), TRVS_DONE);
    EXPECT_EQ(directories(), c.directories) << c.text;
    EXPECT_EQ(told(), c.told) << c.text;
  }
}

TEST_F(ConfigurationFile, ConditionalsChooseOneBranch) {
  const support::ScopedEnvironment site("SITE", "Kiel Nord");
  const support::ScopedEnvironment empty("EMPTY", "");
  // The lines, with ";" between; the directory that is set in the end; what is told.
  const auto cases = support::table<3>(R"(
      IF SITE;VCSDIR=a;ELSE;VCSDIR=b;ENDIF -> a -> | if EMPTY;VCSDIR=a;else;VCSDIR=b;endif -> b ->
      IF NOT SITE;VCSDIR=a;ELSEIF not NONE;VCSDIR=b;ENDIF -> b ->
      IF SITE == Kiel Nord;VCSDIR=a;ENDIF -> a ->  | IF SITE==kiel nord;VCSDIR=a;ENDIF -> ->
      IF SITE != Kiel;VCSDIR=a;ENDIF -> a ->       | IF NONE ==;VCSDIR=a;ENDIF -> a ->
      IF NONE;VCSDIR=a;ELSEIF SITE;VCSDIR=b;ELSEIF SITE;VCSDIR=c;ELSE;VCSDIR=d;ENDIF -> b ->
      IF NONE;IF SITE;VCSDIR=a;ELSE;VCSDIR=b;ENDIF;ELSE;VCSDIR=c;ENDIF -> c ->
      IF NONE;[x];IF =;ENDIF;ENDIF;VCSDIR=a -> a ->
      IF == x;VCSDIR=a;ELSEIF SITE;VCSDIR=b;ELSE;VCSDIR=c;ENDIF -> -> conditional@1
      IF SITE;VCSDIR=a;ELSEIF ?;ENDIF -> a ->
      IF NONE;ELSEIF SITE = x;ELSE;VCSDIR=c;ENDIF -> -> conditional@2
      ELSE;ENDIF;ELSEIF SITE;VCSDIR=a -> a -> conditional@1 conditional@2 conditional@3
      IF NONE;ELSE;ELSEIF SITE;VCSDIR=a;ELSE;VCSDIR=b;ENDIF -> -> conditional@3 conditional@5
      IF NONE;ENDIF NONE;VCSDIR=a -> a -> conditional@2
      VCSDIR=a;IF NONE;VCSDIR=b -> a -> conditional@2)");
  for (const auto& [text, directory, reported] : cases) {
    EXPECT_EQ(load(lines(text)), TRVS_DONE);
    EXPECT_EQ(directories(), directory) << text;
    EXPECT_EQ(told(), reported) << text;
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
  if (geteuid() != 0) return;  // Only root can give files away.
  ASSERT_EQ(chown(path("open.cfg").c_str(), 12345, 0), 0);
  write("sub/two.cfg", "secret\nINCLUDE " + path("sub/three.cfg") + "\n");
  write("sub/three.cfg", "line 1\n");
  ASSERT_EQ(chown(path("sub/two.cfg").c_str(), 12345, 0), 0);
  load("INCLUDE open.cfg\nINCLUDE sub/two.cfg\nline 3\n");
  EXPECT_EQ(told(), "conditional@1- line@1- line@1 line@3") << "another's lines are not told";
}

TEST_F(ConfigurationFile, CanBeToldFromFilesOfOtherKinds) {
  const auto check = [](const std::string& text) {
    return TrvsCheckConfiguration(text.c_str(), static_cast<int32_t>(text.size()));
  };
  for (const char* text : {"", "\n# x\n", "x\nVCSDIR=a\n[y]", "IF A\nDISALLOW INCLUDE\nENDIF\n",
                           "INCLUDE none.cfg", "no=1\nINCLUDE a", "no=1\nDISALLOW JOURNAL"}) {
    EXPECT_EQ(check(text), TRVS_DONE) << text;
  }
  const auto others = {"root:x:0:0::/root:/bin/sh\n"s, "# x\nif [ -d a ]; then\n  VCSDIR=a\nfi\n"s,
                       "export A=1\n"s, "\0"s, std::string((1 << 20) + 1, '\n')};
  for (const std::string& text : others) {
    EXPECT_EQ(check(text), TRVS_INVALID_LINE) << text.substr(0, 99);
  }
  EXPECT_EQ(told(), "");
}

// A real fault: without a free descriptor the load passed for done, and was not tried again.
TEST_F(ConfigurationFile, AnIncludeThatMayBeReadLaterFailsTheLoad) {
  write("more.cfg", "");
  load("VCSDIR=old\n");
  for (const int error : {EMFILE, ESTALE, EACCES}) {
    SCOPED_TRACE(error);
    const os_test::SystemCalls calls([=](const os_test::Call& call) {
      return call.name == "open" && call.path == "more.cfg" ? error : 0;
    });
    const bool isDone = error == EACCES;
    EXPECT_EQ(load("VCSDIR=a\nINCLUDE more.cfg\n", TRVS_READ_FOLLOWING),
              isDone ? 0 : TRVS_CANNOT_READ_CONFIGURATION);
    EXPECT_EQ(directories(), isDone ? "a" : "old");
    EXPECT_EQ(told(), isDone ? "include@2" : "");
  }
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

TEST_F(ConfigurationFile, DateWordsAndFormatAreWhatParsersTake) {
  const std::string words =
      "January February March April May June July August September October November December AM PM";
  const std::string format = "mm/dd/yy hh:mm:ss";
  // Too few, too many, one that begins as another one, one that begins or ends wrongly or is long.
  const auto bad = support::table<1>(
      "WORDS = a b c d e f g h i j k l m     | WORDS = a b c d e f g h i j k l m n o |"
      "WORDS = a b c d e f g h i j k l m A   | WORDS = a b c d e f g h i j k l m 1n  |"
      "WORDS = a b c d e f g h i j k l m n:  | FORMAT = dd/dd/yy hh:mm:ss |"
      "FORMAT = dd/mm/yy | FORMAT = dd/mm/yy ss:mm:hh | FORMAT = d1/mm/yy hh:mm:ss |"
      "FORMAT = dd/mm/yy hh:mm:ss pp | WORDS = a b c d e f g h i j k l m " +
      std::string(31, 'n'));
  for (const auto& [line] : bad) {
    load("DATE" + line);
    EXPECT_EQ(told(), "line@1") << line;
    EXPECT_EQ(item(TRVS_ITEM_DATE_WORDS), words);
    EXPECT_EQ(item(TRVS_ITEM_DATE_FORMAT), format);
  }
  const auto good = support::table<3>(
      "WORDS = J F M\xE4rz A M. Jn Jl Au S O N D VM NM -> J F M\xE4rz A M Jn Jl Au S O N D VM NM "
      "->|"
      "WORDS = a,b, c\td.e-f/g,,h i j k l m n -> a b c d e f g h i j k l m n -> | WORDS= -> -> |"
      "FORMAT = dd.mm.yyyy, hh.mm.ss -> -> dd.mm.yyyy, hh.mm.ss |"
      "FORMAT Year-Month-Day Hour:Minute:Second -> -> Year-Month-Day Hour:Minute:Second");
  for (const auto& [line, wantedWords, wantedFormat] : good) {
    load("DATE" + line + "\r\n");
    EXPECT_EQ(told(), "") << line;
    EXPECT_EQ(item(TRVS_ITEM_DATE_WORDS), wantedWords.empty() ? words : wantedWords);
    EXPECT_EQ(item(TRVS_ITEM_DATE_FORMAT), wantedFormat.empty() ? format : wantedFormat);
  }
}

// What holds, with its place; and what is listed is itself a configuration that says the same.
TEST_F(ConfigurationFile, ListsWhatHolds) {
  // "NAME value [file:line]", without the directory, and only what stands in a file if `all` isn't
  // asked for.
  const auto listed = [this](bool all) {
    std::string buffer;
    EXPECT_EQ(grown(&buffer,
                    [](char* bytes, int32_t size) { return TrvsListConfiguration(bytes, size); }),
              TRVS_DONE);
    std::string result;
    for (const char* text = buffer.data(); *text != '\0';) {
      std::string fields[4];
      for (std::string& field : fields) {
        field = text;
        text += field.size() + 1;
      }
      const auto& [name, value, file, line] = fields;
      EXPECT_EQ(file.empty(), line == "0") << name;
      if (all) result += name + " = " + value + "\n";
      if (all || file.empty()) continue;
      EXPECT_TRUE(file.starts_with(path(""))) << file;
      result += name + " " + value + " [" + file.substr(path("").size()) + ":" + line + "]\n";
    }
    return result;
  };
  load("");
  EXPECT_EQ(listed(false), "");
  const std::string defaults = listed(true);
  EXPECT_TRUE(defaults.starts_with("VCSDIR = \nARCHIVESUFFIX = * = _v\nPROMOTE = \n")) << defaults;
  write("more.cfg", "VCSDIR = b;c\nPROMOTE dev = test\nUSERID environment WHO\n");
  load(
      "VCSDIR = a\nDISALLOW = VCSDIR\nMULTILOCK = 0\nINCLUDE more.cfg\nJOURNAL = a\n"
      "ARCHIVESUFFIX .c=_c\nARCHIVESUFFIX = . = _none\nACCESSLIST ann,bo\n"
      "EVENTTRIGGER postlock = echo a = b\nPROMOTE test = prod\nPROMOTE dev = prod\n");
  EXPECT_EQ(told(), "line@2");
  const std::string want =
      "VCSDIR b;c [more.cfg:1]\nARCHIVESUFFIX . = _none [project.cfg:7]\n"
      "ARCHIVESUFFIX C = _c [project.cfg:6]\nPROMOTE dev = prod [project.cfg:11]\n"
      "PROMOTE test = prod [project.cfg:10]\nMULTILOCK OFF [project.cfg:3]\n"
      "JOURNAL a [project.cfg:5]\nUSERID ENVIRONMENT WHO [more.cfg:3]\n"
      "ACCESSLIST ann, bo [project.cfg:8]\nEVENTTRIGGER POSTLOCK = echo a = b [project.cfg:9]\n";
  EXPECT_EQ(listed(false), want);
  // A broken model leaves the one before, with its places; so do other modes and bad lines.
  load("PROMOTE prod = dev\nMULTILOCK = maybe\n", TRVS_READ_FOLLOWING);
  EXPECT_EQ(told(), "line@2 circle@0");
  EXPECT_EQ(listed(false), want);
  const std::string all = listed(true);
  load(all);
  EXPECT_EQ(told(), "");
  EXPECT_EQ(listed(true), all);
  load("ARCHIVESUFFIX =\nPROMOTE\nEVENTTRIGGER\nVCSDIR\n", TRVS_READ_FOLLOWING);
  EXPECT_TRUE(
      listed(false).starts_with("VCSDIR  [project.cfg:4]\n"
                                "ARCHIVESUFFIX * = _v [project.cfg:1]\n"
                                "PROMOTE  [project.cfg:2]\n"));
  load("DISALLOW = INCLUDE journal\nMULTILOCK\n", TRVS_READ_MASTER);
  EXPECT_EQ(listed(false),
            "MULTILOCK ON [project.cfg:2]\nDISALLOW INCLUDE [project.cfg:1]\n"
            "DISALLOW JOURNAL [project.cfg:1]\n");
}

// What operations on archives ask for, which no item of the C interface shows.
TEST(Configuration, SettingsTakeTheirValuesOrRefuseThem) {
  btkf::Configuration configuration;
  const auto kept = [&] {
    std::string result;
    for (const char* extension : {"c", ".H", "", "x"}) {
      result += configuration.archiveSuffix(extension) + " ";
    }
    for (const bool on : {configuration.exclusiveLock(), configuration.branchWarning()}) {
      result += on ? "on " : "off ";
    }
    result += configuration.journal().text + ";" + configuration.userVariable() + ";";
    for (const std::string& user : configuration.accessList()) result += user + "+";
    return result + ";" + configuration.eventTrigger("PRECHECKIN").text;
  };
  // A setting, its value, and all that is kept after it. "bad": nothing changes.
  const auto cases = support::table<3>(R"(
      ARCHIVESUFFIX -> C = _c    -> _c _v _v _v off off ;;;
      ARCHIVESUFFIX -> .h=_h     -> _c _h _v _v off off ;;;
      ARCHIVESUFFIX -> . = _none -> _c _h _none _v off off ;;;
      ARCHIVESUFFIX -> * = _rest -> _c _h _none _rest off off ;;;
      ARCHIVESUFFIX -> c =       -> _rest _h _none _rest off off ;;;
      ARCHIVESUFFIX -> c = ../x -> bad | ARCHIVESUFFIX -> _v -> bad | ARCHIVESUFFIX -> = _v -> bad
      ARCHIVESUFFIX -> -> _v _v _v _v off off ;;; | EXCLUSIVELOCK -> yes -> _v _v _v _v on off ;;;
      BRANCHWARN -> -> _v _v _v _v on on ;;;      | EXCLUSIVELOCK -> maybe -> bad
      EXCLUSIVELOCK -> Off -> _v _v _v _v off on ;;;
      JOURNAL -> V:\log\all.jnl -> _v _v _v _v off on V:\log\all.jnl;;;
      JOURNAL -> -> _v _v _v _v off on ;;;
      USERID -> Environment  LOGNAME -> _v _v _v _v off on ;LOGNAME;;
      USERID -> ENVIRONMENT A-B -> bad            | USERID -> SOMEBODY -> bad
      USERID -> account -> _v _v _v _v off on ;;;
      ACCESSLIST -> ann, the office ,bo -> _v _v _v _v off on ;;ann+the office+bo+;
      ACCESSLIST -> ann, ,bo -> bad               | ACCESSLIST -> -> _v _v _v _v off on ;;;
      EVENTTRIGGER -> PreCheckin = lint --all=1 -> _v _v _v _v off on ;;;lint --all=1
      EVENTTRIGGER -> PREDINNER = wash -> bad     | NOSETTING -> 1 -> bad
      EVENTTRIGGER -> precheckin = -> _v _v _v _v off on ;;;)");
  for (const auto& [name, value, want] : cases) {
    const std::string before = kept();
    EXPECT_EQ(configuration.set(name, value), want != "bad") << name << " = " << value;
    EXPECT_EQ(kept(), want == "bad" ? before : want) << name << " = " << value;
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
