// btkf520/checkin_test.cpp: creating archives, checking in and checking out through the C
// functions.
#include <sys/stat.h>
#include <utime.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <stdexcept>

#include "btkf520/archives.h"
#include "btkf520/history.h"
#include "os/pages.h"
#include "os/systemcalls.h"
#include "support/childprocess.h"
#include "support/limits.h"
#include "support/table.h"

namespace btkf520_test {
namespace {

using std::string_literals::operator""s;

class CheckIn : public Archives {};
class CheckOut : public Archives {};

TEST_F(CheckIn, FollowsALockOrTheTipOrStartsABranch) {
  // What is asked for, "+" after it for a branch; what is made, or the status (11 and 18: no such
  // thing; 19: no possible number).
  const auto steps = support::table<2>(R"(
      1.2.1.0 -> status 19  | REL -> status 19         | 2.0 -> 2.0           | -> 2.1
      3.5 -> 3.5            | 3.4 -> status 19         | 2.1 -> 2.1.1.0       | 2.1 -> 2.1.2.0
      2.1.1 -> 2.1.1.1      | 2.1.1+ -> 2.1.1.1.1.0    | 2.1.2.7 -> 2.1.2.7   | 2.1.3.0 -> 2.1.3.0
      2.1.4.0+ -> 2.1.4.0   | 2.1.9.0 -> status 19     | 2.7.1.0 -> status 18 | 2.7.1 -> status 18
      REL -> status 11      | 4.0+ -> status 19        | 2.1.1.1.1 -> 2.1.1.1.1.1
      3.999999999 -> 3.999999999                       | -> status 19)");
  ASSERT_EQ(create(), TRVS_DONE);
  EXPECT_EQ(tree(), "") << "no revisions, but a tree to give back";
  ASSERT_EQ(setAttributes(0, TRVS_ATTRIBUTE_CHECK_LOCKS), TRVS_DONE);
  int count = 0;
  for (const auto& [place, want] : steps) {
    SCOPED_TRACE(place);
    const std::string before = revisions();
    const bool isBranch = place.ends_with('+');
    const std::string number = place.substr(0, place.size() - (isBranch ? 1 : 0));
    const int32_t status =
        put(std::to_string(++count),
            {.revision = number.c_str(), .flags = isBranch ? uint32_t{TRVS_PUT_BRANCH} : 0u});
    if (status == TRVS_DONE) {
      EXPECT_EQ(content(want.c_str()), std::to_string(count));
    } else {
      EXPECT_EQ(statusText(status), want);
      EXPECT_EQ(revisions(), before);
    }
  }
  EXPECT_EQ(revisions("2.1.1"), "2.1.1.0 2.1.1.1");
  EXPECT_EQ(tree(),
            "2.0^ 2.1+< 2.1.1.0^ 2.1.1.1+< 2.1.1.1.1.0^ 2.1.1.1.1.1> 2.1.2.0^ 2.1.2.7 2.1.3.0^ "
            "2.1.4.0^> 3.5 3.999999999");
  TrvsRevTree* none = nullptr;
  EXPECT_EQ(TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &none, 2), TRVS_MISUSE);
  EXPECT_EQ(TrvsRevTreeInfo(TRVS_CONTEXT, path("none").c_str(), &none, TRVS_TREE_FETCH),
            TRVS_NO_ARCHIVE);
  EXPECT_EQ(none, nullptr);
}

TEST_F(CheckIn, NeedsALockOfOnesOwn) {
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("0", {}), TRVS_DONE);
  EXPECT_EQ(put("1", {}), TRVS_NO_LOCK) << "no lock at all";
  EXPECT_EQ(put("1", {.revision = "1.0"}), TRVS_NO_LOCK);
  become("bob");
  ASSERT_EQ(lock(), TRVS_DONE);
  become("ann");
  EXPECT_EQ(put("1", {.revision = "1.0"}), TRVS_LOCKED) << "another's";
  become("bob");
  EXPECT_EQ(put("1", {.flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE);
  EXPECT_EQ(tree(), "1.0^ 1.1!bob");
  ASSERT_EQ(lock("1.0"), TRVS_DONE);
  EXPECT_EQ(put("2", {}), TRVS_BAD_NUMBER) << "which lock?";
  EXPECT_EQ(put("2", {.revision = "1.0"}), TRVS_DONE);
  EXPECT_EQ(put("3", {}), TRVS_DONE);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^> 1.1 1.2");
  EXPECT_EQ(deleteRange("*+"), TRVS_DONE);
  EXPECT_EQ(put("0", {}), TRVS_DONE) << "as if it were new";
}

// Each of these left an archive without a revision, made by a call of its own.
TEST_F(CheckIn, MakesAnArchiveWithItsFirstRevisionOrNone) {
  const Put good{.revision = "2.0", .label = "R", .description = "motor", .change = "new"};
  const auto refused = [&](const Put& how, int32_t want, const char* owner = nullptr) {
    EXPECT_EQ(createWithRevision(how, owner), want);
    EXPECT_NE(access(archive().c_str(), F_OK), 0) << want;
  };
  refused(good, TRVS_NO_WORKFILE);
  write("m.c", std::string(100'000, 'x'));
  refused({.revision = "1.1.1.0"}, TRVS_BAD_NUMBER);
  refused({.label = "1.0"}, TRVS_BAD_NAME);
  refused({.group = "dev"}, TRVS_NO_SUCH_GROUP);
  refused({.time = 1}, TRVS_BAD_DATE);
  refused({.flags = 0x100}, TRVS_MISUSE);
  configure("ACCESSLIST zoe\nEVENTTRIGGER PRECHECKIN = exit 1");
  refused(good, TRVS_NO_ACCESS, "zoe");
  refused(good, TRVS_TRIGGER_FAILED);
  configure("");
  answerQuestions();
  answers[TRVS_CALLBACK_CONTINUE] = TRVS_REFUSE;
  refused(good, TRVS_CANCELLED);
  answers.clear();
  {
    const support::SizeLimit full(10);
    refused(good, TRVS_CANNOT_WRITE);
  }
  EXPECT_EQ(access(workfile().c_str(), F_OK), 0);
  EXPECT_EQ(createWithRevision(good), TRVS_DONE);
  EXPECT_NE(access(workfile().c_str(), F_OK), 0);
  EXPECT_EQ(tree(), "2.0^#R");
  EXPECT_EQ(content("2.0"), std::string(100'000, 'x'));
  EXPECT_EQ(createWithRevision(good), TRVS_ARCHIVE_EXISTS);
}

TEST_F(CheckIn, DecidesAboutTheWorkfileByFlags) {
  const std::map<std::string, uint32_t> flags = {{"keep", TRVS_PUT_KEEP_LOCK},
                                                 {"read-only", TRVS_PUT_READ_ONLY},
                                                 {"both", TRVS_PUT_READ_ONLY | TRVS_PUT_KEEP_LOCK},
                                                 {"unknown", 0x100},
                                                 {"refuse", TRVS_PUT_REFUSE_UNCHANGED},
                                                 {"always", TRVS_PUT_UNCHANGED},
                                                 {"ask", TRVS_PUT_ASK_UNCHANGED},
                                                 {"older", TRVS_PUT_OLDER}};
  // The workfile, whose parent is "old"; the flags, and "yes" as the client's answer; the status
  // (10: misuse, 51: older, 52: unchanged), whether the client was asked, and what is left.
  const auto cases = support::table<4>(R"(
      new -> -> no -> 0 gone              | new -> keep -> no -> 0 writable
      new -> read-only -> no -> 0 read-only
      new -> both -> yes -> 10 writable   | new -> unknown -> yes -> 10 writable
      old -> -> yes -> 52 writable         | old -> refuse -> yes -> 52 writable
      old -> always -> no -> 0 gone       | old -> ask -> yes -> unchanged 0 gone
      old -> ask refuse -> no -> unchanged 52 writable | new -> ask refuse -> no -> 0 gone
      past -> -> yes -> 51 writable       | past -> older -> no -> 0 gone)");
  answerQuestions();
  for (const auto& [bytes, names, answered, want] : cases) {
    SCOPED_TRACE(testing::Message() << bytes << ", " << names << ", " << answered);
    unlink(archive().c_str());
    ASSERT_EQ(create(), TRVS_DONE);
    ASSERT_EQ(put("old", {.flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE);
    write("m.c", bytes);
    const utimbuf past{1000000000, 1000000000};
    if (bytes == "past") utime(workfile().c_str(), &past);
    asked.clear();
    answers[TRVS_CALLBACK_CHECK_IN] = answered == "yes" ? TRVS_GO_ON : TRVS_REFUSE;
    const int32_t status = put({.flags = allOf(names, flags)});
    const char* left = isWorkfileWritable() ? "writable" : "read-only";
    const std::string done = status == TRVS_DONE ? "done:CHECKIN:1.1 " : "";
    ASSERT_TRUE(asked.ends_with(done)) << asked;
    EXPECT_EQ(asked.substr(0, asked.size() - done.size()) + std::to_string(status) + " " +
                  (access(workfile().c_str(), F_OK) == 0 ? left : "gone"),
              want);
  }
}

TEST_F(CheckIn, RecordsWhatItIsTold) {
  ASSERT_EQ(create("old text"), TRVS_DONE);
  ASSERT_EQ(put("0", {.label = "REL", .change = "first", .author = "zoe", .time = minute(9)}),
            TRVS_DONE);
  EXPECT_EQ(labels(), "REL 1.0");
  char text[40] = "";
  const auto description = [&](const char* revision, int32_t size = 40) {
    return TrvsGetDescription(TRVS_CONTEXT, archive().c_str(), revision, text, size);
  };
  EXPECT_EQ(description(nullptr), TRVS_DONE);
  EXPECT_STREQ(text, "old text") << "null leaves it";
  ASSERT_EQ(lock(), TRVS_DONE);
  ASSERT_EQ(put("1", {.description = ""}), TRVS_DONE);
  EXPECT_EQ(description(nullptr), TRVS_DONE);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(TrvsSetDescription(TRVS_CONTEXT, archive().c_str(), "1.0", "better"), TRVS_DONE);
  EXPECT_EQ(TrvsSetDescription(TRVS_CONTEXT, archive().c_str(), nullptr, "a motor"), TRVS_DONE);
  for (const size_t size : {size_t{16 << 20} + 1, size_t{16 << 20}}) {  // Too long; all the same.
    const std::string wide(size, 'x');
    EXPECT_EQ(TrvsSetDescription(TRVS_CONTEXT, archive().c_str(), "1.0", wide.c_str()), TRVS_LIMIT);
  }
  // A real fault: what packed well against a text that packs badly could not be written anew.
  std::string wide = Contents(1).bytes(3000);
  for (char& each : wide) each = static_cast<char>('a' + (each & 15));
  const auto describe = [&] {
    return TrvsSetDescription(TRVS_CONTEXT, archive().c_str(), "1.0", wide.c_str());
  };
  EXPECT_EQ(describe(), TRVS_DONE);
  wide.assign(4'000'000, 'x');
  EXPECT_EQ(describe(), TRVS_LIMIT);
  wide = "better";
  EXPECT_EQ(describe(), TRVS_DONE);
  EXPECT_EQ(description(nullptr), TRVS_DONE);
  EXPECT_STREQ(text, "a motor");
  EXPECT_EQ(description("REL", 6), TRVS_BUFFER_TOO_SMALL);
  EXPECT_EQ(description("REL", 7), TRVS_DONE);
  EXPECT_STREQ(text, "better");
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
    ASSERT_EQ(TrvsCreateArchive(path(archive).c_str(), workfile, archive, nullptr, 0, 0),
              TRVS_DONE);
    write(workfile, "0");
    EXPECT_EQ(putFrom(both, {.flags = TRVS_PUT_READ_ONLY}), TRVS_DONE);
    for (const std::string& name : {path(archive), both}) {
      char description[20] = "";
      EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, name.c_str(), nullptr, description, 20),
                TRVS_DONE);
      EXPECT_STREQ(description, archive);
    }
  }
}

TEST_F(CheckOut, OverwritesOnlyWhereItMay) {
  const std::map<std::string, uint32_t> flags = {
      {"keep", TRVS_GET_KEEP}, {"overwrite", TRVS_GET_OVERWRITE}, {"lock", TRVS_GET_LOCK}};
  // The workfile, if there is one; the flags, and "yes" as the client's answer; the status (10:
  // misuse, 24: would overwrite), after "overwrite" if the client was asked.
  const auto cases = support::table<4>(R"(
      -> -> no -> 0                    | right -> -> no -> 0
      wrong -> -> yes -> overwrite 0   | wrong -> -> no -> overwrite 24
      wrong -> overwrite -> no -> 0    | wrong -> keep -> yes -> 24
      wrong -> keep lock -> yes -> 24  | wrong -> keep overwrite -> yes -> 10)");
  answerQuestions();
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("right", {}), TRVS_DONE);
  for (const auto& [bytes, names, answered, want] : cases) {
    SCOPED_TRACE(bytes + ", " + names + ", " + answered);
    unlink(workfile().c_str());
    if (!bytes.empty()) write("m.c", bytes);
    asked.clear();
    answers[TRVS_CALLBACK_OVERWRITE] = answered == "yes" ? TRVS_GO_ON : TRVS_REFUSE;
    const int32_t status = get({.flags = allOf(names, flags)});
    const std::string done = status == TRVS_DONE ? "done:CHECKOUT:1.0 " : "";
    ASSERT_TRUE(asked.ends_with(done)) << asked;
    EXPECT_EQ(asked.substr(0, asked.size() - done.size()) + std::to_string(status), want);
    EXPECT_EQ(support::readFile(workfile()), status == TRVS_DONE ? "right" : "wrong");
    EXPECT_EQ(tree(), "1.0^");
  }
  TrvsRegisterCallback(TRVS_CALLBACK_OVERWRITE, nullptr);
  chmod(workfile().c_str(), 0644);
  write("m.c", "wrong");
  EXPECT_EQ(get({.flags = 0}), TRVS_WOULD_OVERWRITE) << "nobody to ask";
  unlink(workfile().c_str());
  mkdir(workfile().c_str(), 0777);
  EXPECT_EQ(get({}), TRVS_WOULD_OVERWRITE) << "a directory is no workfile";
  EXPECT_EQ(getTo(archive() + "(" + path("none/x") + ")", 0), TRVS_BAD_NAME);
}

TEST_F(CheckOut, FindsRevisionsByNumberLabelGroupAndDate) {
  makeBranches();
  configure("PROMOTE dev = test\n");
  ASSERT_EQ(label("REL", "1.0"), TRVS_DONE);
  ASSERT_EQ(label("TIP", "1.1.1", TRVS_LABEL_FLOATS), TRVS_DONE);
  ASSERT_EQ(put("d\n", {.revision = "1.1.1", .time = minute(1442)}), TRVS_DONE);
  ASSERT_EQ(promote("dev"), TRVS_DONE);
  ASSERT_EQ(put("e\n", {.revision = "1.1.2", .time = minute(1443)}), TRVS_DONE);
  ASSERT_EQ(put("f\n", {.revision = "1.1.2", .time = minute(1444), .flags = TRVS_PUT_NO_GROUP}),
            TRVS_DONE);
  const auto check = [&](const Get& how, const std::string& want) {
    write("m.c", "before");
    const int32_t status = get(how);
    EXPECT_EQ(status == TRVS_DONE ? support::readFile(workfile()) : statusText(status) + "\n",
              want + "\n");
    chmod(workfile().c_str(), 0644);
  };
  // Number or label, group, the last date: the content or the status (11, 18 and 41: not found;
  // 17: no date).
  const auto cases = support::table<4>(R"(
      -> -> -> 2           | 1.1 -> -> -> 1     | 1 -> -> -> 2        | 1.1.2 -> -> -> f
      REL -> -> -> 0       | TIP -> -> -> d     | 1.7 -> -> -> status 18
      1.7.1 -> -> -> status 18                  | rel -> -> -> status 11
      -> dev -> -> e       | -> test -> -> d    | -> prod -> -> status 41
      -> -> 2/3/2001 00:02:30 -> 1              | 1.1.1 -> -> 2/3/2001 -> b
      1.1.1 -> -> 2/4/2001 -> d                 | 1.1 -> -> 2/4/2001 -> 1
      -> -> 2/2/2001 -> status 18               | -> -> 31/31/2001 -> status 17)");
  for (const auto& [revision, group, cutoff, want] : cases) {
    SCOPED_TRACE(revision + group + cutoff);
    check({.revision = revision.c_str(), .cutoff = cutoff.c_str(), .group = group.c_str()}, want);
  }
  check({.cutoff = "* "}, "2");
  check({.flags = TRVS_GET_OVERWRITE | TRVS_GET_LATEST, .cutoff = "x"}, "2");
  const uint32_t newer = TRVS_GET_OVERWRITE | TRVS_GET_IF_NEWER;
  check({.flags = newer, .newerThan = "2/2/2001"}, "2");
  check({.flags = newer, .newerThan = "2/3/2001"}, "status 18");
  check({.flags = newer}, "status 18");
}

TEST_F(CheckOut, ExpandsKeywordsOnlyWhereTheArchiveWantsIt) {
  const std::string text =
      "$Revision$ $Author: me $ $Date$\r\n$Workfile: $$Archive$ $Other$ $5 $Revision\n$Revision: "
      "x\n$";
  const std::string want =
      "$Revision: 1.0 $ $Author: ann $ $Date: 2001-02-03 00:01:00 $\r\n$Workfile: m.c $"
      "$Archive: m.c_v $ $Other$ $5 $Revision\n$Revision: x\n$";
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put(text, {.time = minute(1), .flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE);
  EXPECT_EQ(content("1.0"), text);
  unlink(archive().c_str());
  configure("EXPANDKEYWORDS\n");
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put(text, {.time = minute(1), .flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE);
  EXPECT_EQ(content("1.0"), want);
  EXPECT_EQ(put({}), TRVS_UNCHANGED) << "what a check-out gives is unchanged";
  EXPECT_EQ(put(text + "\0$Revision$"s, {}), TRVS_DONE);
  EXPECT_EQ(content("1.1"), text + "\0$Revision$"s) << "no text";
  EXPECT_EQ(setAttributes(TRVS_ATTRIBUTE_BINARY), TRVS_DONE);
  EXPECT_EQ(content("1.0"), text) << "what is stored never changed";
  EXPECT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), 0, TRVS_ATTRIBUTE_BINARY), 0);
  btkf::Revision revision;  // A real fault: an author of megabytes, as often as a text asks.
  revision.author.assign(5000, 'a');
  EXPECT_EQ(History::add(archive(), "1", "$Author$", revision), TRVS_DONE);
  EXPECT_EQ(content("1.2"), "$Author: " + std::string(1020, 'a') + " $");
}

// A full disk, by a limit on the size of files.
TEST_F(CheckOut, TellsThatTheDiskIsFull) {
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put(std::string(200000, 'x'), {}), TRVS_DONE);
  write("m.c", "before");
  const support::SizeLimit full(10);
  EXPECT_EQ(get({}), TRVS_CANNOT_WRITE);
  EXPECT_EQ(support::readFile(workfile()), "before");
  EXPECT_EQ(lock(), TRVS_CANNOT_WRITE);
  EXPECT_EQ(label("REL", "1.0"), TRVS_CANNOT_WRITE);
  EXPECT_EQ(tree(), "1.0^");
}

// The address space counts, so what is read of the workfile takes one of the shares.
TEST_F(CheckOut, TakesWideContentsInBoundedMemoryOrLeavesAllAsItWas) {
  constexpr off_t kWide = 96 << 20;
  ASSERT_EQ(create(), TRVS_DONE);
  std::string file;
  const int failed = support::inProcess([&] {
    support::limitMemory(4 * kWide);
    for (const char* text : {"wide", "wide, too", "wide as well"}) {
      write("m.c", text);
      if (truncate(workfile().c_str(), kWide) != 0) return 1;
      const bool isLast = text == std::string_view("wide as well");
      if (isLast) file = support::readFile(archive());
      // The last one is read, but can't be packed.
      if (isLast && !support::limitMemory(kWide + kWide / 2)) break;
      if (put({.flags = TRVS_PUT_KEEP_LOCK}) != (isLast ? TRVS_NO_MEMORY : TRVS_DONE)) return 2;
    }
    // There is a file to compare it with, piece by piece.
    if (support::limitMemory(kWide / 2) && get({.flags = 0}) != TRVS_WOULD_OVERWRITE) return 3;
    if (support::readFile(archive()) != file || file.size() >= 1 << 20) return 4;
    // A file of another size needs no comparison.
    if (truncate(workfile().c_str(), 9) != 0 || get({.flags = 0}) != TRVS_WOULD_OVERWRITE) return 5;
    return get({}) != 0 ? 6 : 0;  // Piece by piece.
  });
  EXPECT_EQ(failed, 0);
  EXPECT_TRUE(support::readFile(workfile()) == "wide, too" + std::string(kWide - 9, '\0'));
}

TEST_F(CheckOut, RefusesContentsBeyondTheClientsBound) {
  const std::string wide(150'000, 'w');
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(setAttributes(0, TRVS_ATTRIBUTE_CHECK_LOCKS), TRVS_DONE);
  for (const std::string& bytes : {std::string("0"), wide, std::string("2")}) {
    ASSERT_EQ(put(bytes, {}), TRVS_DONE);
  }
  const std::string before = support::readFile(archive());
  write("m.c", "mine");
  ASSERT_EQ(TrvsSetLargestContent(wide.size() - 1), TRVS_DONE);
  EXPECT_EQ(get({.revision = "1.1"}), TRVS_TOO_LARGE);
  EXPECT_EQ(verify(), TRVS_TOO_LARGE);
  EXPECT_EQ(deleteRange("1.2"), TRVS_TOO_LARGE) << "1.1 would be packed by itself";
  EXPECT_EQ(support::readFile(workfile()), "mine");
  EXPECT_EQ(support::entryCount(path("")), 3) << "nothing beside configuration, archive, workfile";
  EXPECT_EQ(put(wide, {}), TRVS_TOO_LARGE);
  EXPECT_EQ(support::readFile(workfile()), wide);
  EXPECT_EQ(support::readFile(archive()), before);
  EXPECT_EQ(content(nullptr), "2");
  EXPECT_EQ(label("REL", "1.1"), TRVS_DONE);

  TrvsSetLargestContent(wide.size());
  EXPECT_EQ(content("1.1"), wide);
  TrvsSetLargestContent(0);
  ASSERT_EQ(deleteRange("1.2"), TRVS_DONE);
  TrvsSetLargestContent(1);
  EXPECT_EQ(get({}), TRVS_TOO_LARGE) << "a tip, which is unpacked in pieces";
  TrvsSetLargestContent(0);
  EXPECT_EQ(verify(), TRVS_DONE);
}

// Through nameless files, and through ordinary memory where there is no room for such. Many small
// changes are among them: each block of the frame then ends within a passage.
TEST_F(CheckOut, GivesBackWhatWentThroughWideMemory) {
  const size_t mostOrdinary = os::Memory::mostOrdinary.exchange(0);
  Contents random(3);
  std::vector<std::string> contents{random.bytes(3 << 20)};
  contents.push_back(random.changed(contents[0]));
  contents.push_back(contents[1]);
  for (size_t at = 0; at < contents[2].size(); at += 40) contents[2][at] ^= 1;
  for (const int error : {0, ENOSPC}) {
    unlink(archive().c_str());
    ASSERT_EQ(create(), TRVS_DONE);
    int count = 0;
    const os_test::SystemCalls calls([&](const os_test::Call& call) {
      count += call.name == "fallocate" ? 1 : 0;
      return call.name == "fallocate" ? error : 0;
    });
    for (const std::string& each : contents) ASSERT_EQ(put(each, {.flags = TRVS_PUT_KEEP_LOCK}), 0);
    EXPECT_LT(support::readFile(archive()).size(), (3u << 20) + (1u << 20));
    for (const char* revision : {"1.0", "1.1", "1.2"}) {
      EXPECT_TRUE(content(revision) == contents[static_cast<size_t>(revision[2] - '0')]);
    }
    EXPECT_EQ(verify(), TRVS_DONE);
    EXPECT_GT(count, 9);
  }
  // Who cuts the workfile short while it is read must not end the client.
  const std::string before = support::readFile(archive());
  write("m.c", contents[0]);
  const os_test::SystemCalls calls([&](const os_test::Call& call) {
    return call.name == "pread" && call.path == "m.c" ? truncate(workfile().c_str(), 9) : 0;
  });
  EXPECT_EQ(put({}), TRVS_CANNOT_OPEN);
  EXPECT_TRUE(support::readFile(archive()) == before);
  os::Memory::mostOrdinary = mostOrdinary;
}

TEST_F(CheckIn, SurvivesACallbackThatThrows) {
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("0", {}), TRVS_DONE);
  const std::string file = support::readFile(archive());
  TrvsRegisterCallback(
      1, anyCallback(+[]() -> int32_t { throw std::runtime_error("the client's own"); }));
  EXPECT_EQ(lock(), TRVS_INTERNAL_ERROR);
  EXPECT_EQ(support::readFile(archive()), file);
  TrvsRegisterCallback(TRVS_CALLBACK_CONTINUE, nullptr);
  EXPECT_EQ(lock(), TRVS_DONE);
}

// Real faults: the archive was replaced by its own workfile, and checked in as one.
TEST_F(CheckOut, NeverTakesTheArchiveForTheWorkfile) {
  const std::string archive = path("v/m.c");
  write("v/.keep", "");
  ASSERT_EQ(TrvsCreateArchive(archive.c_str(), workfile().c_str(), nullptr, nullptr, 0, 0),
            TRVS_DONE);
  const std::string before = support::readFile(archive);
  for (const std::string& workfile : {archive, path("v/./m.c"), path("v/../v/m.c")}) {
    const std::string both = archive + "(" + workfile + ")";
    EXPECT_EQ(getTo(both, TRVS_GET_OVERWRITE), TRVS_SAME_NAMES);
    EXPECT_EQ(putFrom(both, {}), TRVS_SAME_NAMES);
  }
  EXPECT_EQ(
      TrvsCreateArchive(path("v/new").c_str(), path("v/./new").c_str(), nullptr, nullptr, 0, 0),
      TRVS_SAME_NAMES);
  EXPECT_TRUE(support::readFile(archive) == before);
}

// Real faults: what a workfile or an output linked to was written over, without a question where it
// was not there, or equal.
TEST_F(CheckOut, ReplacesALinkItselfAndAsksBefore) {
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("right", {}), TRVS_DONE);
  const auto ask = [&] { return get({.flags = 0}); };
  const auto log = [&] {
    return TrvsLog(-1, archive().c_str(), "", "", "", "", "", "", "", workfile().c_str(), 0);
  };
  const auto keep = [&] { return get({.flags = TRVS_GET_KEEP}); };
  const auto overwrite = [&] { return get({}); };
  const std::function<int32_t()> calls[] = {ask, log, keep, overwrite, ask, log};
  for (const std::string target : {"none", "equal", "other", "."}) {
    for (size_t call = 0; call < std::size(calls); ++call) {
      SCOPED_TRACE(target + std::to_string(call));
      write("equal", "right");
      write("other", "mine");
      unlink(workfile().c_str());
      ASSERT_EQ(symlink(target.c_str(), workfile().c_str()), 0);
      if (call == 4) answerQuestions();  // Yes.
      const bool isReplaced = call >= 3;
      EXPECT_EQ(calls[call](), isReplaced ? 0 : TRVS_WOULD_OVERWRITE);
      struct stat status {};
      EXPECT_EQ(lstat(workfile().c_str(), &status), 0);
      EXPECT_EQ(S_ISLNK(status.st_mode), !isReplaced);
      EXPECT_EQ(support::readFile(path("equal")) + support::readFile(path("other")), "rightmine");
      EXPECT_NE(access(path("none").c_str(), F_OK), 0);
    }
    TrvsRegisterCallback(TRVS_CALLBACK_OVERWRITE, nullptr);
  }
}

// What happens while the client is asked whether to go on: nobody has agreed to overwrite that.
TEST_F(CheckOut, KeepsAWorkfileThatComesOrChangesMeanwhile) {
  static std::string theWorkfile;
  theWorkfile = workfile();
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("right", {}), TRVS_DONE);
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
  write("b/m.c_x", "");
  // Suffix and directories, with "%" for here; the workfile; the archive.
  const auto cases = support::table<4>(R"(
      -> -> m.c -> m.c_v                      | -> -> V:\src\m.c -> m.c_v
      c = _x -> -> /src/m.C -> m.C_x          | . = _n -> -> a.b/makefile -> makefile_n
      -> V:\a;V:\b -> m.c -> V:\a\m.c_v       | -> ;a/;b -> m.c -> a/m.c_v
      -> V: -> m.c -> V:m.c_v                 | -> vault -> m.c -> vault/m.c_v
      -> -> /w/12:30.log -> 12:30.log_v       | -> -> V:m.c -> m.c_v
      c = _x -> %a;%b -> m.c -> %b/m.c_x)");
  const auto placed = [&](const std::string& text) {
    return support::replaced(text, "%", path(""));
  };
  char buffer[2049];
  for (const auto& [suffix, directories, workfile, want] : cases) {
    configure("ARCHIVESUFFIX " + suffix + "\nVCSDIR = " + placed(directories) + "\n");
    EXPECT_EQ(TrvsComputeArchiveName(workfile.c_str(), buffer, 2049), TRVS_DONE);
    EXPECT_EQ(buffer, placed(want));
    EXPECT_EQ(
        TrvsComputeArchiveName(workfile.c_str(), buffer, static_cast<int32_t>(std::strlen(buffer))),
        TRVS_BUFFER_TOO_SMALL);
  }
  EXPECT_EQ(TrvsComputeArchiveName("dir/", buffer, 9), TRVS_BAD_NAME);
  for (const char* none : {"a/..", "a/V:b", "a\nb"}) {
    EXPECT_EQ(TrvsCreateArchive(archive().c_str(), none, "", "", 0, 0), TRVS_BAD_NAME) << none;
  }
}

}  // namespace
}  // namespace btkf520_test
