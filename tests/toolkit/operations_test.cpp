// What archive operations hand to the toolkit, and what they make of its answers; with a fake one.
#include <gtest/gtest.h>

#include "core/result.h"
#include "domain/projectroot.h"
#include "domain/tvopts.h"
#include "os/directory.h"
#include "runtime/assertion.h"
#include "store/52arfld.h"
#include "store/52proj.h"
#include "support/files.h"
#include "support/recordingsink.h"
#include "support/table.h"
#include "toolkit/bracket.h"
#include "toolkit/faketoolkit.h"
#include "toolkit/messages.h"

namespace foldapi {
namespace {

using toolkit_test::fakeToolkit;

// A project with one member in it.
class Operations : public testing::Test {
 protected:
  Operations() {
    EXPECT_TRUE(EnableToolkit(sink));
    fakeToolkit() = {};
    char name[257] = {};
    EXPECT_EQ(TrvsGetUserInfo(name, 257, nullptr, 0, nullptr), 0);
    user = name;
    setAssertionTarget([](const char* text) { assertions += text; });
    assertions.clear();
  }
  ~Operations() override {
    setAssertionTarget(nullptr);
    fakeToolkit() = {};
  }

  template <typename Object, typename... Fields>
  TVHandle make(Fields... fields) {
    return TVHandle(&sink, TVObject::mergeIntoCache(std::make_unique<Object>(fields...)));
  }
  TVArchiveMember52& memberOf(TVHandle& handle) {
    return *static_cast<TVArchiveMember52*>(handle.object());
  }
  TVHandle makeMember(const TVMemberNames& names) {
    return make<TVArchiveMember52>(names, project.object());
  }

  static inline std::string assertions;
  support::RecordingSink sink;
  std::string user;
  TVHandle root = make<TVProjectRoot>("", "", nullptr);
  TVProjectFolderHandle project{
      make<TVProjectFolder52>("P", TVProjectConfig(), "/ann", "/team", root.object())};
  TVHandle member = makeMember({"/v", "m.c_v", "src", "m.c"});
  TVHandle nameless = makeMember({"", "", "", ""});
};

TEST_F(Operations, PassEmptyTextsAsTheToolkitWantsThem) {
  TVGetOptions get;
  TVPutOptions put;
  TVLogOptions log;
  TVDiffOptions diff;
  diff.first = "a";
  const auto runAll = [&] {
    EXPECT_EQ(member.archiveAction1(get), 0);
    EXPECT_EQ(member.archiveAction2(put), 0);
    EXPECT_EQ(project.reportLog("/v/m.c_v", log), 0);
    for (const int kind : {3, 1, 0, 2}) {
      diff.kind = kind;
      EXPECT_EQ(project.differences(diff), 0);
    }
    return fakeToolkit().calls();
  };
  EXPECT_EQ(runAll(),
            "GetRevision -1 '/v/m.c_v(/ann/src/m.c)' 0 '' '' '' 0 '' 0 0\n"
            "PutRevision -1 0 '/v/m.c_v(/ann/src/m.c)' 0 - - - - - - 0 0\n"
            "Log -1 '/v/m.c_v' - - - - - - - '' 0\n"
            "TestDifferences -1 'a' - - - 0 - 0\n"
            "ReportDifferences -1 'a' - - - - 0 0 0 - 0\n"
            "GenGuiDelta -1 'a' - - - 0 - - 0 0 0 0 0 0 0 0\n"
            "GenGuiDelta -1 'a' - - - 0 - - 0 0 0 0 0 0 0 0\n");

  get.revision = "1.2", get.cutoffDate = "cutoff", get.otherDate = "other";
  get.text4 = "unused", get.promotionGroup = "test", get.flags = 0xfe;
  put.revision = "1.3", put.text1 = "change", put.text2 = "LABEL", put.description = "about";
  put.promotionGroup = "dev", put.flags = 0x40ff;
  log.revisionFrom = "1.0", log.dateTo = "3/4/95", log.text1 = "authors", log.text2 = "lockers";
  log.text3 = "labels", log.text4 = "groups", log.text5 = "words", log.outputText = "out";
  log.setMode(TVLogOptions::kBrief), log.setNoHeading(true);
  diff.second = "1.1", diff.third = "b", diff.fourth = "1.2", diff.text5 = "1-6";
  diff.text6 = "report", diff.text7 = "ranges", diff.flags = 0x17, diff.setHeading(false);
  diff.short1 = 8, diff.short2 = 3, diff.short3 = 1, diff.short4 = 4, diff.short5 = 5;
  diff.short6 = 6, diff.long1 = 255, diff.long2 = 256, diff.long3 = 257;
  fakeToolkit().differ = 1;
  EXPECT_EQ(runAll(),
            "GetRevision -1 '/v/m.c_v(/ann/src/m.c)' 0 '1.2' 'cutoff' 'other' 0 'test' 0 254\n"
            "PutRevision -1 0 '/v/m.c_v(/ann/src/m.c)' 0 '1.3' 'LABEL' 'about' 'change' 'dev' - 0 "
            "16639\n"
            "Log -1 '/v/m.c_v' '1.0*' 'authors' 'lockers' 'labels' 'groups' 'words' '*3/4/95' "
            "'out' 288\n"
            "TestDifferences -1 'a' '1.1' 'b' '1.2' 8 '1-6' 31\n"
            "ReportDifferences -1 'a' '1.1' 'b' '1.2' 'report' 3 1 8 '1-6' 31\n"
            "GenGuiDelta -1 'a' '1.1' 'b' '1.2' 8 '1-6' 'ranges' 255 4 256 5 257 6 0 31\n"
            "GenGuiDelta -1 'a' '1.1' 'b' '1.2' 8 '1-6' 'ranges' 255 4 256 5 257 6 0 31\n");
  EXPECT_EQ(diff.testResult, 1);
  EXPECT_EQ(sink.told(), "");
}

// A public record may lead anywhere, such as to what a shell reads at its start.
TEST_F(Operations, AskBeforeACheckOutLeavesTheUsersOwnPlaces) {
  const support::ScopedEnvironment home("HOME", "/home/ann");
  const struct {
    const char *own, *team, *folder, *work, *asked;
  } cases[] = {
      {"/ann", "/team", nullptr, "src", ""},
      {"/ann", "/team", nullptr, "../ann/src", ""},
      {"/ann", "/team", nullptr, "../anne", "/anne/m.c"},
      {"/ann", "/team", nullptr, "/team", "/team/m.c"},
      {"/team", "/team", nullptr, "src", "/team/src/m.c"},
      {"/ann", "/team", "public /etc", "src", "/etc/src/m.c"},
      {"/ann", "/team", "private /etc", "src", ""},
      {"/ann", "/team", "private sub", "/etc", ""},
      {"/team", "/team", "private sub", "src", "/team/sub/src/m.c"},
      {"/home/ann/w", "/home/ann/w", nullptr, "src", os::hasDrives() ? "/home/ann/w/src/m.c" : ""},
      {"/home/ann", "/home/ann", nullptr, ".ssh", "/home/ann/.ssh/m.c"},
      {"/private/w", "/private/w", nullptr, "", ""},
      {"", "", nullptr, "src", ""},
      {"V:\\ann", "V:\\ann", nullptr, "src", os::hasDrives() ? "V:\\ann\\src\\m.c" : ""},
  };
  const auto whole = [](std::string_view path) {
    return (os::hasDrives() && path.starts_with('/') ? "C:" : "") + std::string(path);
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.own) + " " + c.team + " " + c.work);
    const std::string own = whole(c.own), team = whole(c.team), work = whole(c.work);
    TVProjectRoot ownRoot(VString(whole("/public")), VString(whole("/private")), nullptr,
                          TVCaching::kTransient);
    TVProjectFolder52 owner("P", TVProjectConfig(), own.c_str(), team.c_str(), &ownRoot,
                            TVCaching::kTransient);
    const std::string_view folder = c.folder == nullptr ? "" : c.folder;
    TVArchiveFolder52 inner(
        "F", VString(whole(folder.substr(folder.find(' ') + 1))),
        folder.starts_with("private") ? TVPrivacy::kPrivate : TVPrivacy::kPublic, &owner,
        TVCaching::kTransient);
    TVObject* const holder = c.folder == nullptr ? static_cast<TVObject*>(&owner) : &inner;
    TVArchiveMember52 tested({"/v", "m.c_v", work.c_str(), "m.c"}, holder, TVCaching::kTransient);
    const std::string question =
        *c.asked == '\0' ? "" : "confirm " + whole(c.asked) + "|/v/m.c_v\n";
    TVHandle context(&sink, nullptr);
    for (const int answer : {0, 1}) {
      TVGetOptions get;
      sink.answer = answer;
      const bool isRefused = *c.asked != '\0' && answer == 0;
      EXPECT_EQ(tested.getRevision(context, get) == kResultDone, !isRefused);
      EXPECT_TRUE(sink.told().starts_with(question));
      EXPECT_EQ(fakeToolkit().calls().empty(), isRefused);
      get.setOverwriteAlways();
      EXPECT_EQ(tested.getRevision(context, get), kResultDone);
      EXPECT_EQ(sink.told(), "");
      EXPECT_FALSE(fakeToolkit().calls().empty());
      get.flags = TRVS_GET_KEEP;
      EXPECT_EQ(tested.getRevision(context, get) == kResultDone, *c.asked == '\0');
      EXPECT_EQ(sink.told().find("confirm"), std::string::npos);
      EXPECT_EQ(fakeToolkit().calls().empty(), *c.asked != '\0');
    }
  }
  const support::TemporaryDirectory there;
  support::writeFile(there / "m.c", "");
  TVHandle existing = makeMember({"/v", "m.c_v", there.path().c_str(), "m.c"});
  EXPECT_EQ(memberOf(existing).getRevision(existing, TVGetOptions()), kResultDone);
  EXPECT_EQ(sink.told(), "") << "the toolkit asks";
}

TEST_F(Operations, NeedAnArchiveNameBeforeTheToolkitIsAsked) {
  const std::string noName = "notice " + FolderMessage(kFolderNoArchiveName).str() + "\n";
  TVGetOptions get;
  TVPutOptions put;
  TVUnlockOptions unlock;
  TVDiffOptions diff;
  EXPECT_EQ(nameless.archiveAction1(get), kResultMissing);
  EXPECT_EQ(nameless.archiveAction2(put), kResultMissing);
  EXPECT_EQ(project.reportLog("", TVLogOptions()), kResultMissing);
  EXPECT_EQ(project.reportLog(nullptr, TVLogOptions()), kResultMissing);
  EXPECT_EQ(sink.told(), noName + noName + noName + noName);
  EXPECT_EQ(fakeToolkit().calls(), "");
  EXPECT_EQ(nameless.archiveAction4(put), kResultFailed);
  EXPECT_EQ(sink.told(), "notice " + FolderMessage(kFolderNoWorkfileName).str() + "\n");
  // A comparison asks all the same, and has the toolkit's result.
  EXPECT_EQ(project.differences(diff), kResultDone);
  EXPECT_EQ(sink.told(), noName);
  EXPECT_EQ(fakeToolkit().calls(), "GenGuiDelta -1 '' - - - 0 - - 0 0 0 0 0 0 0 0\n");

  TVProjectFolderHandle none;
  TVHandle nobody;
  EXPECT_EQ(none.reportLog("a", TVLogOptions()), kResultMissing);
  EXPECT_EQ(none.differences(diff), kResultMissing);
  EXPECT_FALSE(none.validateDate("", nullptr));
  EXPECT_FALSE(none.validatePromotion(get, nullptr));
  EXPECT_EQ(nobody.archiveAction3(unlock), kResultMissing);
}

TEST_F(Operations, UnlockAndCheckOutByMode) {
  const std::string archive = "'/v/m.c_v(/ann/src/m.c)'";
  const std::string lockInfo = "GetLockInfo -1 " + archive + " 0 '" + user + "' 1 ";
  const std::string taken = "UnLockRevision -1 " + archive + " - '" + user + "'\n";
  const auto got = [&](const std::string& revision, const std::string& flags) {
    return "GetRevision -1 " + archive + " 0 '" + revision + "' '' '' 0 '' 0 " + flags + "\n";
  };
  const std::string wanted[] = {taken, taken + got("", "32"), taken + got("", "48"),
                                lockInfo + "257\n" + taken + got("1.7", "32"),
                                lockInfo + "257\n" + taken + got("1.7", "48")};
  fakeToolkit().lockedRevision = "1.7";
  TVUnlockOptions options;
  for (options.mode = 0; options.mode <= 4; ++options.mode) {
    SCOPED_TRACE(options.mode);
    EXPECT_EQ(member.archiveAction3(options), 0);
    EXPECT_EQ(fakeToolkit().calls(), wanted[options.mode]);
  }
  options.mode = 3;
  fakeToolkit().statuses = {
      {"GetLockInfo", {TRVS_BUFFER_TOO_SMALL, TRVS_BUFFER_TOO_SMALL, TRVS_DONE}}};
  EXPECT_EQ(member.archiveAction3(options), 0);
  EXPECT_EQ(fakeToolkit().calls(), lockInfo + "257\n" + lockInfo + "513\n" + lockInfo + "769\n" +
                                       taken + got("1.7", "32"));
  // The check-out's own failure is the result.
  fakeToolkit().statuses = {{"GetRevision", {TRVS_CANCELLED}}};
  EXPECT_EQ(member.archiveAction3(options), kResultCancelled);
}

TEST_F(Operations, ComputeAnArchiveNameAsFarAsItIsMissing) {
  // The member's archive directory and name, the computed name, the archive directories; the path.
  const auto cases = support::table<5>(R"(
      -> -> V:\vault\a.c_v -> /x -> V:\vault\a.c_v | -> -> /a.c_v -> /x -> /a.c_v
      -> -> a.c_v -> /x;/y -> /x/a.c_v              | -> -> a.c_v -> ;/x;/y -> /x/a.c_v
      /known -> -> /v/a.c_v -> /x -> /known/a.c_v   | -> b_v -> /v/a.c_v -> /x -> /v/a.c_v
      /known -> b_v -> /v/a.c_v -> /x -> /known/b_v | -> -> -> /x -> failed | -> -> a.c_v -> -> failed)");
  for (const auto& [place, name, computed, directories, want] : cases) {
    SCOPED_TRACE(place + name + " " + computed + " " + directories);
    TVHandle handle = makeMember({place, name, "", "a.c"});
    fakeToolkit().computedName = computed;
    fakeToolkit().items = {{TRVS_ITEM_ARCHIVE_DIRECTORIES, directories}};
    const bool fails = want == "failed";
    EXPECT_EQ(memberOf(handle).computeArchiveName(handle), fails ? kResultFailed : 0);
    EXPECT_EQ(memberOf(handle).qualArchiveName().str(), fails ? computed : want);
    EXPECT_EQ(project.object()->children().find(handle.object()), handle.object());
    EXPECT_EQ(sink.told().empty(), !fails);
  }
}

TEST_F(Operations, CheckThePromotionGroupOfACheckOut) {
  const std::string unknown = FolderFileMessage(kFolderUnknownGroup, "G").str();
  const std::string higher = FolderFileMessage(kFolderNotDevelopmentGroup, "G").str();
  const std::string both = FolderMessage(kFolderRevisionWithGroup).str();
  const std::string needed = FolderMessage(kFolderGroupNeeded).str();
  const struct {
    const char* why;
    int16_t kind;
    const char* group;
    const char* revision;
    bool lock;
    std::string want;
  } cases[] = {
      {"no group, no lock", 2, "", "1.2", false, ""},
      {"unknown group", 1, "G", "", false, unknown},
      {"unknown group and revision", 1, "G", "1.2", false, unknown + both},
      {"development group", 2, "G", "", true, ""},
      {"group between", 3, "G", "", true, higher},
      {"top group", 4, "G", "1.2", true, higher},
      {"higher group without a lock", 4, "G", "", false, ""},
      {"higher group and revision", 3, "G", "1.2", false, both},
  };
  fakeToolkit().items = {{TRVS_ITEM_PROMOTION_GROUPS, std::string("A\0C\0B\0C\0\0", 9)}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    fakeToolkit().groups = {{"G", c.kind}};
    TVGetOptions options;
    options.promotionGroup = c.group;
    options.revision = c.revision;
    if (c.lock) options.setLock();
    VString errorText = "before";
    EXPECT_EQ(project.validatePromotion(options, &errorText), c.want.empty());
    const bool replaced = c.want.starts_with(unknown) || c.want.starts_with(higher);
    EXPECT_EQ(errorText.str(), (replaced ? "" : "before") + c.want);
    EXPECT_EQ(sink.told(), "");
  }
  // Without a group a lock needs one only if the model has several to start in.
  TVGetOptions lock;
  lock.setLock();
  fakeToolkit().groups = {{"A", int16_t{2}}, {"B", int16_t{2}}, {"C", int16_t{4}}};
  EXPECT_FALSE(project.validatePromotion(lock, nullptr));
  EXPECT_EQ(sink.told(), "notice " + needed + "\n");
  fakeToolkit().groups["B"] = TRVS_GROUP_BETWEEN;
  EXPECT_TRUE(project.validatePromotion(lock, nullptr));
  // The query is repeated while it fails, but not for ever; too small a buffer grows to 16 bits.
  fakeToolkit().groups["B"] = TRVS_GROUP_DEVELOPMENT;
  fakeToolkit().statuses = {{"QueryItem", {TRVS_CANNOT_OPEN}}};
  EXPECT_TRUE(project.validatePromotion(lock, nullptr));
  fakeToolkit().statuses = {{"QueryItem", {TRVS_CANNOT_OPEN, TRVS_CANNOT_OPEN, TRVS_DONE}}};
  EXPECT_FALSE(project.validatePromotion(lock, nullptr));
  fakeToolkit().statuses = {{"QueryItem", {TRVS_BUFFER_TOO_SMALL}}};
  EXPECT_TRUE(project.validatePromotion(lock, nullptr));
}

TEST_F(Operations, CheckDatesInTheWordsAndTheFormatOfTheProject) {
  fakeToolkit().items = {
      {TRVS_ITEM_DATE_WORDS, "Jan Feb Mrz Apr Mai Jun Jul Aug Sep Okt Nov Dez vorm nachm"},
      {TRVS_ITEM_DATE_FORMAT, "dd.mm.yy hh:mm:ss"}};
  const auto error = [&](const char* date) {
    VString text;
    const bool isGood = project.validateDate(date, &text);
    EXPECT_EQ(isGood, text.isEmpty());
    return text.str();
  };
  for (const char* good : {"24.12.95", "Mrz.95", "24.12.95 \t ", "9:30 nachm", "\t "}) {
    EXPECT_EQ(error(good), "");
  }
  for (const char* bad : {"12.24.95", "Mar.95", "nonsense"}) {
    EXPECT_EQ(error(bad), DateMessage(kFolderDate, bad, "dd.mm.yy hh:mm:ss").str());
  }
  EXPECT_EQ(sink.told(), "");
  EXPECT_FALSE(project.validateDate("32.1.95  ", nullptr));
  EXPECT_EQ(sink.told(),
            "notice " + DateMessage(kFolderDate, "32.1.95", "dd.mm.yy hh:mm:ss").str() + "\n");
  fakeToolkit().calls();
  for (const char* date : {"", "*", "* \t"}) EXPECT_TRUE(project.validateDate(date, nullptr));
  EXPECT_EQ(fakeToolkit().calls(), "");
}

// Options ---------------------------------------------------------------------------------------

// Each setter after each other one of its group: only the last one counts.
template <typename Options>
void lastCounts(std::initializer_list<std::pair<void (Options::*)(), uint32_t>> setters) {
  for (const auto& [first, ignored] : setters) {
    for (const auto& [second, flags] : setters) {
      Options options;
      options.flags = 0x100000;  // A stranger's.
      (options.*first)();
      (options.*second)();
      EXPECT_EQ(options.flags, 0x100000 | flags);
    }
  }
}

TEST(Options, KeepFlagsThatExcludeOneAnotherApart) {
  using Get = TVGetOptions;
  using Put = TVPutOptions;
  lastCounts<Get>({{&Get::setReadOnly, 0}, {&Get::setWritable, 0x10}, {&Get::setLock, 0x2}});
  lastCounts<Get>({{&Get::setOverwritePrompt, 0},
                   {&Get::setOverwriteAlways, 0x20},
                   {&Get::setOverwriteNever, 0x40}});
  lastCounts<Put>({{&Put::setPutUnchanged, 0x80},
                   {&Put::setRefuseUnchanged, 0x40},
                   {&Put::setAskUnchanged, 0x60}});
  lastCounts<Put>(
      {{&Put::setKeepLock, 0x1}, {&Put::setKeepReadOnly, 0x2}, {&Put::setRemoveWorkfile, 0}});
  lastCounts<Put>(
      {{&Put::setMoveLabel, 0x10}, {&Put::setAskLabel, 0x4000}, {&Put::setRefuseLabel, 0}});
}

TEST(Options, KeepTheDateOfTheLastChoice) {
  using Choice = std::pair<void (*)(TVGetOptions&), const char*>;
  const Choice choices[] = {{[](TVGetOptions& o) { o.setCutoffDate("1/1/95"); }, "0 1/1/95|"},
                            {[](TVGetOptions& o) { o.setOtherDate("2/2/96"); }, "4 |2/2/96"},
                            {[](TVGetOptions& o) { o.setLatest(); }, "128 |"}};
  for (const auto& [first, ignored] : choices) {
    for (const auto& [second, want] : choices) {
      TVGetOptions options;
      first(options);
      second(options);
      EXPECT_EQ(std::to_string(options.flags) + " " + options.cutoffDate.str() + "|" +
                    options.otherDate.str(),
                want);
    }
  }
}

TEST_F(Operations, CheckOptionsAgainstTheProjectThatTheyAreFor) {
  fakeToolkit().items = {{TRVS_ITEM_PROMOTION_GROUPS, std::string("A\0C\0B\0C\0\0", 9)}};
  fakeToolkit().groups = {{"A", int16_t{2}}, {"B", int16_t{2}}, {"C", int16_t{4}}};
  TVGetOptions fresh;
  EXPECT_TRUE(fresh.prepare(&member, TVAlert::kAtEnd));
  TVGetOptions badDate;
  badDate.setCutoffDate("nonsense");
  EXPECT_FALSE(badDate.prepare(&member, TVAlert::kAtEnd));
  std::string told = sink.told();
  EXPECT_TRUE(told.starts_with("notice ") && told.ends_with("\nalert\n")) << told;
  EXPECT_FALSE(badDate.prepare(&member, TVAlert::kNone));
  EXPECT_EQ(sink.told().find("alert"), std::string::npos);
  TVHandle nobody;
  for (const TVHandle* item : {static_cast<TVHandle*>(nullptr), &nobody, &root}) {
    EXPECT_TRUE(badDate.prepare(item, TVAlert::kAtEnd));
  }
  EXPECT_EQ(sink.told(), "");

  // Which dates count.
  badDate.flags = TVGetOptions::kLatest;
  EXPECT_TRUE(badDate.prepare(&member, TVAlert::kAtEnd));
  badDate.otherDate = "nonsense";
  EXPECT_FALSE(badDate.prepare(&member, TVAlert::kAtEnd));
  badDate.flags = TVGetOptions::kOtherDate;
  EXPECT_TRUE(badDate.prepare(&member, TVAlert::kAtEnd));
  EXPECT_EQ(assertions, "");
  sink.told();

  // What can't go together prints an assertion, and the check goes on: here to the missing group.
  TVGetOptions odd;
  odd.setOverwriteNever();
  odd.setOverwriteAlways();
  odd.setLock();
  EXPECT_FALSE(odd.prepare(&member, TVAlert::kAtEnd));
  EXPECT_EQ(sink.told(), "notice " + FolderMessage(kFolderGroupNeeded).str() + "\nalert\n");
  EXPECT_EQ(assertions, "Assertion Failed: TVOPTS.cpp 242\n");
  assertions.clear();
  odd.flags = 0x20 | 0x40 | 0x80 | 0x4;
  EXPECT_TRUE(odd.prepare(&member, TVAlert::kAtEnd));
  EXPECT_EQ(assertions, "Assertion Failed: TVOPTS.cpp 244\nAssertion Failed: TVOPTS.cpp 246\n");

  TVDiffOptions diff;
  EXPECT_TRUE(diff.prepare(&member, TVAlert::kAtEnd));
}

}  // namespace
}  // namespace foldapi
