// btkf520/checkin_test.cpp: creating archives, checking in and checking out through the C
// functions.
#include <utime.h>

#include <cstring>
#include <random>
#include <stdexcept>

#include "btkf520/archives.h"
#include "support/childprocess.h"
#include "support/limits.h"

namespace btkf520_test {
namespace {

using std::string_literals::operator""s;

class CheckIn : public Archives {};
class CheckOut : public Archives {};

TEST_F(CheckIn, FollowsALockOrTheTipOrStartsABranch) {
  struct Step {
    const char* why;
    const char* revision;
    uint32_t flags;
    int32_t status;
    const char* made;
  };
  const Step steps[] = {
      {"the first has two components", "1.2.1.0", 0, TRVS_BAD_NUMBER, ""},
      {"the first is no label", "REL", 0, TRVS_BAD_NUMBER, ""},
      {"a first number", "2.0", 0, TRVS_DONE, "2.0"},
      {"after the tip", nullptr, 0, TRVS_DONE, "2.1"},
      {"a number after the tip", "3.5", 0, TRVS_DONE, "3.5"},
      {"a number before the tip", "3.4", 0, TRVS_BAD_NUMBER, ""},
      {"not the tip", "2.1", 0, TRVS_DONE, "2.1.1.0"},
      {"once more", "2.1", 0, TRVS_DONE, "2.1.2.0"},
      {"the tip of a branch", "2.1.1", 0, TRVS_DONE, "2.1.1.1"},
      {"a branch from a tip", "2.1.1", TRVS_PUT_BRANCH, TRVS_DONE, "2.1.1.1.1.0"},
      {"a number on a branch", "2.1.2.7", 0, TRVS_DONE, "2.1.2.7"},
      {"a number that makes the next branch", "2.1.3.0", 0, TRVS_DONE, "2.1.3.0"},
      {"the next branch by number and by flag", "2.1.4.0", TRVS_PUT_BRANCH, TRVS_DONE, "2.1.4.0"},
      {"a number that skips a branch", "2.1.9.0", 0, TRVS_BAD_NUMBER, ""},
      {"a branch from nowhere", "2.7.1.0", 0, TRVS_NO_REVISION, ""},
      {"a branch that isn't there", "2.7.1", 0, TRVS_NO_REVISION, ""},
      {"no label", "REL", 0, TRVS_NO_SUCH_LABEL, ""},
      {"a number that can't branch", "4.0", TRVS_PUT_BRANCH, TRVS_BAD_NUMBER, ""},
      {"the last number", "3.999999999", 0, TRVS_DONE, "3.999999999"},
      {"after the last number", nullptr, 0, TRVS_BAD_NUMBER, ""},
  };
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS), 0);
  int count = 0;
  for (const Step& step : steps) {
    SCOPED_TRACE(step.why);
    const std::string before = revisions();
    ASSERT_EQ(put(std::to_string(++count), {.revision = step.revision, .flags = step.flags}),
              step.status);
    if (step.status != 0) {
      EXPECT_EQ(revisions(), before);
      continue;
    }
    EXPECT_EQ(content(step.made), std::to_string(count));
  }
  EXPECT_EQ(revisions("2.1.1"), "2.1.1.0 2.1.1.1");
}

TEST_F(CheckIn, NeedsALockOfOnesOwn) {
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("0", {}), 0);
  EXPECT_EQ(put("1", {}), TRVS_NO_LOCK) << "no lock at all";
  EXPECT_EQ(put("1", {.revision = "1.0"}), TRVS_NO_LOCK);
  become("bob");
  ASSERT_EQ(lock(), 0);
  become("ann");
  EXPECT_EQ(put("1", {.revision = "1.0"}), TRVS_LOCKED) << "another's";
  become("bob");
  EXPECT_EQ(put("1", {.flags = TRVS_PUT_KEEP_LOCK}), 0);
  EXPECT_EQ(tree(), "1.0^ 1.1!bob");
  ASSERT_EQ(lock("1.0"), 0);
  EXPECT_EQ(put("2", {}), TRVS_BAD_NUMBER) << "which lock?";
  EXPECT_EQ(put("2", {.revision = "1.0"}), 0);
  EXPECT_EQ(put("3", {}), 0);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^> 1.1 1.2");
  EXPECT_EQ(deleteRange("*+"), 0);
  EXPECT_EQ(put("0", {}), 0) << "as if it were new";
}

TEST_F(CheckIn, DecidesAboutTheWorkfileByFlags) {
  struct Case {
    const char* why;
    const char* bytes;  // The parent is "old".
    bool isOlder;
    uint32_t flags;
    int32_t answer;
    int32_t status;
    const char* asked;
    const char* left;  // Of the workfile: gone, read-only or writable.
  };
  const uint32_t ask = TRVS_PUT_REFUSE_UNCHANGED | TRVS_PUT_ASK_UNCHANGED;
  const char* const done = "done:CHECKIN:1.1 ";
  const std::string askedAndDone = "unchanged "s + done;
  const Case cases[] = {
      {"plain", "new", false, 0, TRVS_REFUSE, TRVS_DONE, done, "gone"},
      {"keeps the lock", "new", false, TRVS_PUT_KEEP_LOCK, TRVS_REFUSE, TRVS_DONE, done,
       "writable"},
      {"read-only", "new", false, TRVS_PUT_READ_ONLY, TRVS_REFUSE, TRVS_DONE, done, "read-only"},
      {"both", "new", false, TRVS_PUT_READ_ONLY | TRVS_PUT_KEEP_LOCK, TRVS_GO_ON, TRVS_MISUSE, "",
       "writable"},
      {"unknown flag", "new", false, 0x100, TRVS_GO_ON, TRVS_MISUSE, "", "writable"},
      {"unchanged", "old", false, 0, TRVS_GO_ON, TRVS_UNCHANGED, "", "writable"},
      {"unchanged, refuse", "old", false, TRVS_PUT_REFUSE_UNCHANGED, TRVS_GO_ON, TRVS_UNCHANGED, "",
       "writable"},
      {"unchanged, in all the same", "old", false, TRVS_PUT_UNCHANGED, TRVS_REFUSE, TRVS_DONE, done,
       "gone"},
      {"unchanged, yes", "old", false, TRVS_PUT_ASK_UNCHANGED, TRVS_GO_ON, TRVS_DONE,
       askedAndDone.c_str(), "gone"},
      {"unchanged, no", "old", false, ask, TRVS_REFUSE, TRVS_UNCHANGED, "unchanged ", "writable"},
      {"changed: no question", "new", false, ask, TRVS_REFUSE, TRVS_DONE, done, "gone"},
      {"older", "new", true, 0, TRVS_GO_ON, TRVS_OLDER, "", "writable"},
      {"older, in all the same", "new", true, TRVS_PUT_OLDER, TRVS_REFUSE, TRVS_DONE, done, "gone"},
  };
  answerQuestions();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    unlink(archive().c_str());
    ASSERT_EQ(create(), 0);
    ASSERT_EQ(put("old", {.flags = TRVS_PUT_KEEP_LOCK}), 0);
    write("m.c", c.bytes);
    const utimbuf past{1000000000, 1000000000};
    if (c.isOlder) utime(workfile().c_str(), &past);
    asked.clear();
    answers[TRVS_CALLBACK_CHECK_IN] = c.answer;
    EXPECT_EQ(put({.flags = c.flags}), c.status);
    EXPECT_EQ(asked, c.asked);
    EXPECT_STREQ(!isWorkfileThere()     ? "gone"
                 : isWorkfileWritable() ? "writable"
                                        : "read-only",
                 c.left);
  }
}

TEST_F(CheckIn, RecordsWhatItIsTold) {
  ASSERT_EQ(create("old text"), 0);
  ASSERT_EQ(put("0", {.label = "REL", .change = "first\nline", .author = "zoe", .time = minute(9)}),
            0);
  EXPECT_EQ(labels(), "REL 1.0");
  EXPECT_EQ(content("REL"), "0");
  TrvsRevTree* record = nullptr;
  ASSERT_EQ(TrvsRevTreeInfo(TRVS_CONTEXT, archive().c_str(), &record, TRVS_TREE_FETCH), 0);
  std::string texts;
  for (const TrvsRevTree* each = record; each != nullptr; each = each->next) {
    texts.append(each->text).append("|");
  }
  EXPECT_EQ(texts, "1.0|2001-02-03 00:09:00|zoe|first\nline|REL|");
  TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &record, TRVS_TREE_RETURN);

  char text[40] = "";
  EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, archive().c_str(), nullptr, text, 40), 0);
  EXPECT_STREQ(text, "old text") << "null leaves it";
  ASSERT_EQ(lock(), 0);
  ASSERT_EQ(put("1", {.description = ""}), 0);
  EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, archive().c_str(), nullptr, text, 40), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(TrvsSetDescription(TRVS_CONTEXT, archive().c_str(), "1.0", "better"), 0);
  EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, archive().c_str(), "REL", text, 6),
            TRVS_BUFFER_TOO_SMALL);
  EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, archive().c_str(), "REL", text, 7), 0);
  EXPECT_STREQ(text, "better");
}

TEST_F(CheckIn, RefusesWhatCannotBe) {
  const std::string here = path("");
  EXPECT_EQ(TrvsCreateArchive(nullptr, "m.c", nullptr, nullptr, 0, 0), TRVS_MISUSE);
  EXPECT_EQ(TrvsCreateArchive(here.c_str(), "m.c", nullptr, nullptr, 0, 0), TRVS_BAD_NAME);
  EXPECT_EQ(TrvsCreateArchive(archive().c_str(), here.c_str(), nullptr, nullptr, 0, 0),
            TRVS_BAD_NAME);
  EXPECT_EQ(TrvsCreateArchive(workfile().c_str(), workfile().c_str(), nullptr, nullptr, 0, 0),
            TRVS_SAME_NAMES);
  EXPECT_EQ(TrvsCreateArchive((here + "none/m.c_v").c_str(), "m.c", nullptr, nullptr, 0, 0),
            TRVS_BAD_NAME);
  EXPECT_EQ(put("0", {}), TRVS_NO_ARCHIVE);
  ASSERT_EQ(create(), 0);
  EXPECT_EQ(create(), TRVS_ARCHIVE_EXISTS);
  // Months 0 and 13, day 0, the 30th of February, hour 24, minute 60, second 60.
  for (const uint32_t time :
       {0x10000u, 0x1a10000u, 0x200000u, 0x5e0000u, 0x21c000u, 0x210780u, 0x21001eu}) {
    SCOPED_TRACE(time);
    EXPECT_EQ(put("0", {.time = time}), TRVS_BAD_DATE);
    EXPECT_EQ(TrvsCreateArchive(path("n").c_str(), "m.c", nullptr, nullptr, time, 0),
              TRVS_BAD_DATE);
  }
  unlink(workfile().c_str());
  EXPECT_EQ(put({}), TRVS_NO_WORKFILE);
  EXPECT_EQ(get({}), TRVS_NO_REVISIONS) << "no revisions yet";
  EXPECT_EQ(TrvsPutRevision(0, 0, archive().c_str(), 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, 0, 0),
            TRVS_MISUSE);
  write("other", "no archive");
  EXPECT_EQ(TrvsUnLockRevision(TRVS_CONTEXT, path("other").c_str(), nullptr, nullptr),
            TRVS_NOT_AN_ARCHIVE);
  EXPECT_EQ(TrvsUnLockRevision(TRVS_CONTEXT, "", nullptr, nullptr), TRVS_BAD_NAME);
  EXPECT_EQ(TrvsUnLockRevision(TRVS_CONTEXT, nullptr, nullptr, nullptr), TRVS_MISUSE);
  become("");
  EXPECT_EQ(put("0", {}), TRVS_NO_USER_ID);
}

// Real faults: each of these was cut at another parenthesis, and could not be opened.
TEST_F(CheckIn, FindsTheArchiveAmongParentheses) {
  const std::pair<const char*, const char*> names[] = {
      {"m.c_v", "m.c"},        {"open(.c_v", "open(.c"}, {"close).c_v", "close).c"},
      {"old (2/m.c_v", "m.c"}, {"x", "(x) (1)"},         {"x(1)", "m.c"},
  };
  write("old (2/m.c", "");
  for (const auto& [archive, workfile] : names) {
    SCOPED_TRACE(archive);
    const std::string both = path(archive) + "(" + path(workfile) + ")";
    ASSERT_EQ(TrvsCreateArchive(path(archive).c_str(), workfile, archive, nullptr, 0, 0), 0);
    write(workfile, "0");
    EXPECT_EQ(TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, 0, TRVS_PUT_READ_ONLY),
              0);
    for (const std::string& name : {path(archive), both}) {
      char description[20] = "";
      EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, name.c_str(), nullptr, description, 20), 0);
      EXPECT_STREQ(description, archive);
    }
  }
}

TEST_F(CheckOut, GivesTheWorkfileModeAndTime) {
  struct Case {
    const char* why;
    uint32_t flags;
    bool isWritable;
    bool hasArchiveTime;
    const char* tree;
  };
  const Case cases[] = {
      {"plain", 0, false, false, "1.0^"},
      {"writable", TRVS_GET_WRITABLE, true, false, "1.0^"},
      {"check-in time", TRVS_GET_ARCHIVE_TIME, false, true, "1.0^"},
      {"both", TRVS_GET_ARCHIVE_TIME | TRVS_GET_WRITABLE, true, true, "1.0^"},
      {"locked", TRVS_GET_LOCK, true, false, "1.0^!ann"},
  };
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("0", {.time = minute(7)}), 0);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(get({.flags = c.flags | TRVS_GET_OVERWRITE}), 0);
    EXPECT_EQ(isWorkfileWritable(), c.isWritable);
    struct stat status {};
    stat(workfile().c_str(), &status);
    tm local{};
    localtime_r(&status.st_mtime, &local);
    const bool isOfArchive = local.tm_year == 101 && local.tm_min == 7 && local.tm_mday == 3;
    EXPECT_EQ(isOfArchive, c.hasArchiveTime);
    EXPECT_EQ(tree(), c.tree);
  }
  EXPECT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), 0, TRVS_ATTRIBUTE_READ_ONLY), 0);
  EXPECT_EQ(get({}), 0);
  EXPECT_TRUE(isWorkfileWritable());
}

TEST_F(CheckOut, OverwritesOnlyWhereItMay) {
  struct Case {
    const char* why;
    const char* bytes;  // Null for none.
    uint32_t flags;
    int32_t answer;
    int32_t status;
    const char* asked;
  };
  const char* const done = "done:CHECKOUT:1.0 ";
  const std::string askedAndDone = "overwrite "s + done;
  const Case cases[] = {
      {"no workfile", nullptr, 0, TRVS_REFUSE, TRVS_DONE, done},
      {"equal already", "right", 0, TRVS_REFUSE, TRVS_DONE, done},
      {"yes", "wrong", 0, TRVS_GO_ON, TRVS_DONE, askedAndDone.c_str()},
      {"no", "wrong", 0, TRVS_REFUSE, TRVS_WOULD_OVERWRITE, "overwrite "},
      {"always", "wrong", TRVS_GET_OVERWRITE, TRVS_REFUSE, TRVS_DONE, done},
      {"never", "wrong", TRVS_GET_KEEP, TRVS_GO_ON, TRVS_WOULD_OVERWRITE, ""},
      {"contradiction", "wrong", TRVS_GET_KEEP | TRVS_GET_OVERWRITE, TRVS_GO_ON, TRVS_MISUSE, ""},
      {"a lock that comes to nothing", "wrong", TRVS_GET_KEEP | TRVS_GET_LOCK, TRVS_GO_ON,
       TRVS_WOULD_OVERWRITE, ""},
  };
  answerQuestions();
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("right", {}), 0);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    unlink(workfile().c_str());
    if (c.bytes != nullptr) write("m.c", c.bytes);
    asked.clear();
    answers[TRVS_CALLBACK_OVERWRITE] = c.answer;
    EXPECT_EQ(get({.flags = c.flags}), c.status);
    EXPECT_EQ(asked, c.asked);
    EXPECT_EQ(support::readFile(workfile()), c.status == 0 ? "right" : "wrong");
    EXPECT_EQ(tree(), "1.0^");
  }
  TrvsRegisterCallback(TRVS_CALLBACK_OVERWRITE, nullptr);
  chmod(workfile().c_str(), 0644);
  write("m.c", "wrong");
  EXPECT_EQ(get({.flags = 0}), TRVS_WOULD_OVERWRITE) << "nobody to ask";
  unlink(workfile().c_str());
  mkdir(workfile().c_str(), 0777);
  EXPECT_EQ(get({}), TRVS_WOULD_OVERWRITE) << "a directory is no workfile";
  EXPECT_EQ(TrvsGetRevision(TRVS_CONTEXT, (archive() + "(" + path("none/x") + ")").c_str(), 0,
                            nullptr, nullptr, nullptr, 0, nullptr, 0, 0),
            TRVS_BAD_NAME);
}

TEST_F(CheckOut, FindsRevisionsByNumberLabelGroupAndDate) {
  struct Case {
    const char* why;
    Get how;
    std::string want;  // The content or the status.
  };
  makeBranches();
  configure("PROMOTE dev = test\n");
  ASSERT_EQ(label("REL", "1.0"), 0);
  ASSERT_EQ(label("TIP", "1.1.1", TRVS_LABEL_FLOATS), 0);
  ASSERT_EQ(put("d\n", {.revision = "1.1.1", .time = minute(1442)}), 0);
  ASSERT_EQ(TrvsPromoteRevision(TRVS_CONTEXT, archive().c_str(), "dev", 0), 0);
  ASSERT_EQ(put("e\n", {.revision = "1.1.2", .time = minute(1443)}), 0);
  const uint32_t always = TRVS_GET_OVERWRITE;
  const Case cases[] = {
      {"tip", {}, "2\n"},
      {"number", {.revision = "1.1"}, "1\n"},
      {"trunk", {.revision = "1"}, "2\n"},
      {"branch", {.revision = "1.1.2"}, "e\n"},
      {"label", {.revision = "REL"}, "0\n"},
      {"floating label", {.revision = "TIP"}, "d\n"},
      {"no such number", {.revision = "1.7"}, "18"},
      {"no such branch", {.revision = "1.7.1"}, "18"},
      {"no such label", {.revision = "rel"}, "11"},
      {"group", {.group = "dev"}, "e\n"},
      {"group above", {.group = "test"}, "d\n"},
      {"no such group", {.group = "prod"}, "41"},
      {"date", {.cutoff = "2/3/2001 00:02:30"}, "1\n"},
      {"a whole day", {.revision = "1.1.1", .cutoff = "2/3/2001"}, "b\n"},
      {"the next day", {.revision = "1.1.1", .cutoff = "2/4/2001"}, "d\n"},
      {"up to a revision", {.revision = "1.1", .cutoff = "2/4/2001"}, "1\n"},
      {"before all", {.cutoff = "2/2/2001"}, "18"},
      {"any date", {.cutoff = "* "}, "2\n"},
      {"no date", {.cutoff = "31/31/2001"}, "17"},
      {"dates don't count", {.flags = always | TRVS_GET_LATEST, .cutoff = "x"}, "2\n"},
      {"newer", {.flags = always | TRVS_GET_IF_NEWER, .newerThan = "2/2/2001"}, "2\n"},
      {"not newer", {.flags = always | TRVS_GET_IF_NEWER, .newerThan = "2/3/2001"}, "18"},
      {"not newer than the workfile", {.flags = always | TRVS_GET_IF_NEWER}, "18"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    write("m.c", "before");
    const int32_t status = get(c.how);
    EXPECT_EQ(status == 0 ? support::readFile(workfile()) : std::to_string(status), c.want);
    chmod(workfile().c_str(), 0644);
  }
}

TEST_F(CheckOut, ExpandsKeywordsOnlyWhereTheArchiveWantsIt) {
  const std::string text =
      "$Revision$ $Author: me $ $Date$\r\n$Workfile: $$Archive$ $Other$ $5 $Revision\n$Revision: "
      "x\n$";
  const std::string want =
      "$Revision: 1.0 $ $Author: ann $ $Date: 2001-02-03 00:01:00 $\r\n$Workfile: m.c $"
      "$Archive: m.c_v $ $Other$ $5 $Revision\n$Revision: x\n$";
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put(text, {.time = minute(1), .flags = TRVS_PUT_KEEP_LOCK}), 0);
  EXPECT_EQ(content("1.0"), text);
  unlink(archive().c_str());
  configure("EXPANDKEYWORDS\n");
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put(text, {.time = minute(1), .flags = TRVS_PUT_KEEP_LOCK}), 0);
  EXPECT_EQ(content("1.0"), want);
  EXPECT_EQ(put({}), TRVS_UNCHANGED) << "what a check-out gives is unchanged";
  EXPECT_EQ(put(text + "\0$Revision$"s, {}), 0);
  EXPECT_EQ(content("1.1"), text + "\0$Revision$"s) << "no text";
  EXPECT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), TRVS_ATTRIBUTE_BINARY, 0), 0);
  EXPECT_EQ(content("1.0"), text) << "what is stored never changed";
}

TEST_F(CheckOut, RefusesDamagedRevisionsAndGivesTheOthers) {
  std::mt19937 random(7);
  std::string first(5000, '\0');
  std::string second(5000, '\0');
  for (char& byte : first) byte = static_cast<char>(random());
  for (char& byte : second) byte = static_cast<char>(random());
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put(first, {.flags = TRVS_PUT_KEEP_LOCK}), 0);
  ASSERT_EQ(put(second, {}), 0);
  std::string file = support::readFile(archive());
  const size_t place = file.find(first.substr(1000, 100));  // Random bytes are stored as they are.
  ASSERT_NE(place, std::string::npos);
  file[place] = static_cast<char>(file[place] ^ 1);
  write("m.c_v", file);
  EXPECT_EQ(content("1.0"), statusText(TRVS_NOT_AN_ARCHIVE));
  EXPECT_TRUE(content("1.1") == second);
  char damaged[16] = "";
  EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, archive().c_str(), damaged, 4), TRVS_BUFFER_TOO_SMALL);
  EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, archive().c_str(), damaged, 16), TRVS_NOT_AN_ARCHIVE);
  EXPECT_EQ(std::string(damaged, 5), "1.0\0\0"s);
}

// A full disk, by a limit on the size of files.
TEST_F(CheckOut, LeavesAllAsItWasWhenTheDiskIsFull) {
  ASSERT_EQ(create(), 0);
  const std::string large(200000, 'x');
  ASSERT_EQ(put(large, {}), 0);
  write("m.c", "before");
  const std::string file = support::readFile(archive());
  {
    const support::SizeLimit full(file.size() / 2);
    EXPECT_EQ(get({}), TRVS_CANNOT_WRITE);
    EXPECT_EQ(lock(), TRVS_CANNOT_WRITE);
    EXPECT_EQ(label("REL", "1.0"), TRVS_CANNOT_WRITE);
  }
  EXPECT_EQ(support::readFile(workfile()), "before");
  EXPECT_TRUE(support::readFile(archive()) == file);
  mkdir(path("directory").c_str(), 0777);
  EXPECT_EQ(TrvsUnLockRevision(TRVS_CONTEXT, path("directory").c_str(), nullptr, nullptr),
            TRVS_CANNOT_OPEN);
}

TEST_F(CheckOut, LeavesAllAsItWasWhenMemoryIsShort) {
  constexpr off_t kWide = 96 << 20;
  ASSERT_EQ(create(), 0);
  write("m.c", "wide");
  ASSERT_EQ(truncate(workfile().c_str(), kWide), 0);
  ASSERT_EQ(put({.flags = TRVS_PUT_KEEP_LOCK}), 0);
  write("m.c", "wide, too");
  ASSERT_EQ(truncate(workfile().c_str(), kWide), 0);
  const std::string file = support::readFile(archive());
  const int failed = support::inProcess([&] {
    // The workfile is mapped, but can't be packed.
    const bool isShort = support::limitMemory(kWide + kWide / 2);
    if (isShort && put({}) != TRVS_NO_MEMORY) return 1;
    // There is a file to compare it with.
    if (support::limitMemory(kWide / 2) && get({.flags = 0}) != TRVS_NO_MEMORY) return 2;
    return get({}) != 0 ? 3 : 0;  // Piece by piece.
  });
  EXPECT_EQ(failed, 0);
  EXPECT_TRUE(support::readFile(archive()) == file);
  EXPECT_TRUE(support::readFile(workfile()) == "wide" + std::string(kWide - 4, '\0'));
}

TEST_F(CheckIn, SurvivesACallbackThatThrows) {
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("0", {}), 0);
  const std::string file = support::readFile(archive());
  TrvsRegisterCallback(
      1, anyCallback(+[]() -> int32_t { throw std::runtime_error("the client's own"); }));
  EXPECT_EQ(lock(), TRVS_INTERNAL_ERROR);
  EXPECT_EQ(support::readFile(archive()), file);
  TrvsRegisterCallback(TRVS_CALLBACK_CONTINUE, nullptr);
  EXPECT_EQ(lock(), 0);
}

// Real faults: the archive was replaced by its own workfile, and checked in as one.
TEST_F(CheckOut, NeverTakesTheArchiveForTheWorkfile) {
  const std::string archive = path("v/m.c");
  write("v/.keep", "");
  ASSERT_EQ(TrvsCreateArchive(archive.c_str(), workfile().c_str(), nullptr, nullptr, 0, 0), 0);
  const std::string before = support::readFile(archive);
  for (const std::string& workfile : {archive, path("v/./m.c"), path("v/../v/m.c")}) {
    const std::string both = archive + "(" + workfile + ")";
    EXPECT_EQ(TrvsGetRevision(TRVS_CONTEXT, both.c_str(), 0, nullptr, nullptr, nullptr, 0, nullptr,
                              0, TRVS_GET_OVERWRITE),
              TRVS_SAME_NAMES);
    EXPECT_EQ(TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, 0, 0),
              TRVS_SAME_NAMES);
  }
  EXPECT_EQ(
      TrvsCreateArchive(path("v/new").c_str(), path("v/./new").c_str(), nullptr, nullptr, 0, 0),
      TRVS_SAME_NAMES);
  EXPECT_TRUE(support::readFile(archive) == before);
}

// What happens while the client is asked whether to go on: nobody has agreed to overwrite that.
TEST_F(CheckOut, KeepsAWorkfileThatComesOrChangesMeanwhile) {
  static std::string theWorkfile;
  theWorkfile = workfile();
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("right", {}), 0);
  for (const uint32_t flags : {0u, uint32_t{TRVS_GET_KEEP}, uint32_t{TRVS_GET_LOCK}}) {
    for (const bool isThere : {false, true}) {
      if (isThere && flags == TRVS_GET_KEEP) continue;
      SCOPED_TRACE(std::to_string(flags) + (isThere ? " changes" : " comes"));
      static int calls;
      calls = 0;
      unlink(workfile().c_str());
      if (isThere) write("m.c", "right");
      TrvsRegisterCallback(TRVS_CALLBACK_CONTINUE, anyCallback(+[]() -> int32_t {
                             if (++calls == 2) support::writeFile(theWorkfile, "mine");
                             return 0;
                           }));
      EXPECT_EQ(get({.flags = flags}), TRVS_WOULD_OVERWRITE);
      EXPECT_EQ(support::readFile(workfile()), "mine");
      EXPECT_EQ(tree(), "1.0^");
    }
  }
  TrvsRegisterCallback(TRVS_CALLBACK_CONTINUE, nullptr);
}

TEST_F(CheckIn, ComputesArchiveNames) {
  struct Case {
    const char* configuration;
    std::string workfile;
    std::string want;
  };
  const std::string here = path("");
  write("b/m.c_x", "");
  const Case cases[] = {
      {"", "m.c", "m.c_v"},
      {"", "V:\\src\\m.c", "m.c_v"},
      {"ARCHIVESUFFIX c = _x\n", "/src/m.C", "m.C_x"},
      {"ARCHIVESUFFIX . = _n\n", "a.b/makefile", "makefile_n"},
      {"VCSDIR = V:\\a;V:\\b\n", "m.c", "V:\\a\\m.c_v"},
      {"VCSDIR = ;a/;b\n", "m.c", "a/m.c_v"},
      {"VCSDIR = V:\n", "m.c", "V:m.c_v"},
      {"VCSDIR = vault\n", "m.c", "vault/m.c_v"},
      {"", "/w/12:30.log", "12:30.log_v"},
      {"", "V:m.c", "m.c_v"},
      {"ARCHIVESUFFIX c = _x\nVCSDIR = %a;%b\n", "m.c", here + "b/m.c_x"},
  };
  for (const Case& c : cases) {
    std::string text = c.configuration;
    for (size_t at; (at = text.find('%')) != std::string::npos;) text.replace(at, 1, here);
    configure(text);
    char buffer[2049];
    EXPECT_EQ(TrvsComputeArchiveName(c.workfile.c_str(), buffer, 2049), 0);
    EXPECT_EQ(buffer, c.want);
    EXPECT_EQ(TrvsComputeArchiveName(c.workfile.c_str(), buffer,
                                     static_cast<int32_t>(std::strlen(buffer))),
              TRVS_BUFFER_TOO_SMALL);
  }
  char buffer[9];
  EXPECT_EQ(TrvsComputeArchiveName("dir/", buffer, 9), TRVS_BAD_NAME);
}

}  // namespace
}  // namespace btkf520_test
