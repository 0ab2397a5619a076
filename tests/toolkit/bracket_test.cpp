// The bracket around toolkit calls: what it loads and when, and where the toolkit's callbacks go.
#include "toolkit/bracket.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "domain/projectfolder.h"
#include "domain/projectroot.h"
#include "store/52arfld.h"
#include "support/files.h"
#include "support/recordingsink.h"
#include "toolkit/configfiles.h"
#include "toolkit/faketoolkit.h"

namespace foldapi {
namespace {

using support::writeFile;
using toolkit_test::fakeToolkit;

// A root with its master file, two projects with files of their own, and a member in one of them.
class ToolkitSession : public testing::Test {
 protected:
  ToolkitSession() {
    for (const char* name : {"master", "motor", "pump"}) {
      writeFile(path(name), std::string("VCSDIR = ") + name + "\n");
    }
    EXPECT_TRUE(EnableToolkit(sink));
    bracket(empty);
    fakeToolkit().readCalls();
    sink.told();
  }

  std::string path(const char* name) const { return directory / (std::string(name) + ".cfg"); }

  template <typename Object, typename... Fields>
  TVHandle make(Fields... fields) {
    return TVHandle(&sink, TVObject::mergeIntoCache(std::make_unique<Object>(fields...)));
  }
  TVHandle project(const char* name) {
    return make<TVProjectFolder>(name, TVProjectConfig(path(name)), "", "", root.object());
  }
  // What one bracket has the toolkit read.
  std::string bracket(TVHandle& handle) {
    { TVToolkitBracket scope(handle); }
    return shortened(fakeToolkit().readCalls());
  }
  static std::string dirs(TVHandle& handle) {
    TVToolkitBracket scope(handle);
    return configurationText(TRVS_ITEM_ARCHIVE_DIRECTORIES).str();
  }
  // Paths without their directory.
  std::string shortened(const std::string& calls) const {
    return support::replaced(calls, directory / "", "");
  }

  support::TemporaryDirectory directory;
  support::RecordingSink sink;
  TVHandle empty{&sink, nullptr};
  TVHandle root = make<TVProjectRoot>("pub", "prv", nullptr);
  TVHandle motor = project("motor");
  TVHandle pump = project("pump");
};

constexpr const char* kMotor = "10 master.cfg\n9 motor.cfg\n";

TEST_F(ToolkitSession, LoadsOnceForTheSameUntouchedFiles) {
  root.as<TVProjectRoot>()->setConfig(TVProjectConfig(path("master")));
  TVHandle member = make<TVArchiveMember>(TVMemberNames{"v", "a_v", "w", "a.c"}, motor.object());
  EXPECT_EQ(bracket(motor), kMotor);
  EXPECT_EQ(bracket(motor), "");
  EXPECT_EQ(bracket(member), "");
  writeFile(path("motor"), "VCSDIR = other\n");  // Within the same two seconds.
  EXPECT_EQ(bracket(member), kMotor);
  EXPECT_EQ(bracket(motor), "");
  writeFile(path("master"), "VCSDIR = longer\n");
  EXPECT_EQ(bracket(motor), kMotor);
  EXPECT_EQ(bracket(motor), "");
  EXPECT_EQ(bracket(pump), "10 master.cfg\n9 pump.cfg\n");
  EXPECT_EQ(bracket(motor), kMotor);
  EXPECT_EQ(dirs(motor), "other");
  EXPECT_EQ(bracket(empty), "8 \n");
  EXPECT_EQ(bracket(empty), "");
}

// A real fault: the defaults held until another project was asked.
TEST_F(ToolkitSession, LoadsOnceMoreWhatCouldNotBeRead) {
  rlimit files;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
  const rlimit none = {0, files.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::string calls = bracket(motor);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &files), 0);
  EXPECT_EQ(calls, "8 motor.cfg\n");
  EXPECT_EQ(bracket(motor), "8 motor.cfg\n");
  EXPECT_EQ(dirs(motor), "motor");
  EXPECT_EQ(bracket(motor), "");
}

// A real fault: giving the tree back read the configuration of no object, and the next open that of
// the project again.
TEST_F(ToolkitSession, ReadsNothingAgainForAnArchiveThatIsOpenedAgain) {
  ASSERT_EQ(TrvsCreateArchive((directory / "a_v").c_str(), "a.c", nullptr, nullptr, 0, 0),
            TRVS_DONE);
  TVHandle member = make<TVArchiveMember52>(
      TVMemberNames{VPathString(directory.path()), "a_v", "w", "a.c"}, motor.object());
  for (const char* calls : {"8 motor.cfg\n", ""}) {
    member.open();
    member.close();
    EXPECT_EQ(shortened(fakeToolkit().readCalls()), calls);
  }
}

// Uses the library whenever it is told a message, and fails.
struct UsingSink : support::RecordingSink {
  void error(TVHandle& from, const VString& text) override {
    RecordingSink::error(from, text);
    { TVToolkitBracket scope(*other); }
    throw std::bad_alloc();
  }
  TVHandle* other = nullptr;
};

// A real fault: a sink that was told in a bracket waited for ever for another one.
TEST_F(ToolkitSession, TellsMessagesOnceItIsLeft) {
  writeFile(path("bad"), "NONSENSE = 1\nVCSDIR = bad\n");
  UsingSink user;
  user.other = &pump;
  for (const auto& [name, told] :
       {std::pair("late", "error File "), {"bad", "error Error reading a directive on line 1"}}) {
    TVHandle object = project(name);
    TVHandle context(&user, object.object());
    bracket(context);
    EXPECT_EQ(user.told().find(told), 0u) << name;
    EXPECT_EQ(&TVToolkitSession::Instance().Sink(), &theNullHandle());
    EXPECT_EQ(bracket(pump), "") << "loaded by the sink";
  }
}

// A sink is the client's code: it asks the toolkit in the client's own state.
TEST_F(ToolkitSession, RunsSinksInTheClientsState) {
  struct AskingSink : TVErrorSink {
    int canContinue(TVHandle&) override {
      return configurationText(TRVS_ITEM_ARCHIVE_DIRECTORIES).view() == "client" ? 1 : 0;
    }
  } asking;
  writeFile(path("client"), "VCSDIR = client\n");
  ASSERT_EQ(TrvsQueryConfiguration(path("client").c_str(), 0, 0, TRVS_READ_FIRST), TRVS_DONE);
  TVHandle context(&asking, motor.object());
  const std::string archive = directory / "a_v";
  {
    TVToolkitBracket scope(context);
    EXPECT_EQ(TrvsCreateArchive(archive.c_str(), "a.c", nullptr, nullptr, 0, 0), TRVS_DONE);
    EXPECT_EQ(configurationText(TRVS_ITEM_ARCHIVE_DIRECTORIES).view(), "motor");
  }
  EXPECT_EQ(configurationText(TRVS_ITEM_ARCHIVE_DIRECTORIES).view(), "client");
}

// Calls registered functions as the toolkit does: by id, with the arguments of that id.
class ToolkitCallbacks : public ToolkitSession {
 protected:
  ToolkitCallbacks() {
    TVToolkitSession::Instance().enter(empty);
    fakeToolkit().registeredCallbacks();
    RegisterToolkitCallbacks();
    registered_ = fakeToolkit().registeredCallbacks();
  }
  ~ToolkitCallbacks() override { TVToolkitSession::Instance().leave(); }

  template <typename Callback, typename... Arguments>
  int32_t call(int32_t id, Arguments... arguments) {
    const auto callback = reinterpret_cast<void (*)()>(registered_.at(id));
    return reinterpret_cast<Callback>(callback)(arguments...);
  }

  // What the toolkit gets where the sink answers 0, 1, 2 and 3.
  using Results = std::vector<int32_t>;
  static inline const Results kOneGoesOn = {2, 0, 2, 2};
  static inline const Results kAllGoOn = {0, 0, 0, 0};
  template <typename Callback, typename... Arguments>
  Results resultsOf(int32_t id, Arguments... arguments) {
    Results results;
    for (sink.answer = 0; sink.answer <= 3; ++sink.answer) {
      sink.told();
      results.push_back(call<Callback>(id, arguments...));
    }
    EXPECT_EQ(sink.context, &empty);
    return results;
  }

 private:
  std::map<int32_t, TrvsCallback> registered_;
};

TEST_F(ToolkitCallbacks, MapAnswersToResults) {
  EXPECT_EQ(resultsOf<TrvsContinueCallback>(TRVS_CALLBACK_CONTINUE), kOneGoesOn);
  EXPECT_EQ(sink.told(), "continue\n");
  EXPECT_EQ(resultsOf<TrvsOutputCallback>(TRVS_CALLBACK_OUTPUT, "line", 1), (Results{2, 0, 1, 0}));
  EXPECT_EQ(sink.told(), "output 0 line\n");
  EXPECT_EQ(resultsOf<TrvsAskCallback>(TRVS_CALLBACK_CHECK_IN, "why", 7), kOneGoesOn);
  EXPECT_EQ(sink.told(), "ask 7 why\n");
  EXPECT_EQ(resultsOf<TrvsNotifyTwoCallback>(TRVS_CALLBACK_NEWS_TWO, "a", nullptr, 5), kAllGoOn);
  EXPECT_EQ(sink.told(), "two a||5\n");
  EXPECT_EQ(resultsOf<TrvsNotifyFourCallback>(TRVS_CALLBACK_OPERATION, "a", "b", "c", "d", 5),
            kAllGoOn);
  EXPECT_EQ(sink.told(), "four a|b|c|d|5\n");
  EXPECT_EQ(call<TrvsIdleCallback>(TRVS_CALLBACK_IDLE), 0);
  EXPECT_EQ(call<TrvsMessageCallback>(TRVS_CALLBACK_MESSAGE, TRVS_NO_ARCHIVE), 0);
  EXPECT_EQ(call<TrvsTextCallback>(TRVS_CALLBACK_TEXT, "text"), 0);
  EXPECT_EQ(sink.told(), "");
  TVToolkitSession::Instance().leave();
  EXPECT_EQ(sink.told(), "error Cannot find archive.\nerror text\n");
  TVToolkitSession::Instance().enter(empty);
}

TEST_F(ToolkitCallbacks, MapCodes) {
  for (const auto& [code, kind] : {std::pair{TRVS_NO_SUCH_GROUP, "2"},
                                   {TRVS_BUSY_ARCHIVE, "1"},
                                   {TRVS_OTHER_BRANCH, "3"},
                                   {TRVS_NO_USER_ID, "0"}}) {
    EXPECT_EQ(resultsOf<TrvsRetryCallback>(TRVS_CALLBACK_RETRY, code, "p"), kOneGoesOn);
    EXPECT_EQ(sink.told(), std::string("retry ") + kind + " p\n");
  }
  sink.answer = 0;
  for (const auto& [code, told] :
       {std::pair{0, ""}, {1, "output 0 x\n"}, {15, "output 14 x\n"}, {16, ""}, {-1, ""}}) {
    EXPECT_EQ(call<TrvsOutputCallback>(TRVS_CALLBACK_OUTPUT, "x", code), *told == '\0' ? 0 : 2);
    EXPECT_EQ(sink.told(), told);
  }
}

TEST_F(ToolkitCallbacks, LetTheTeamsTriggersRunIfTheUsersProfileSaysSo) {
  const std::string profile = directory / "KSTR.INI";
  const support::ScopedEnvironment place("KSTR_INI", profile);
  Results results;
  for (const char* value : {"", "OFF", "on"}) {
    writeFile(profile, "[TRVSGUI]\r\nTRVSTRIGGERS=" + std::string(value) + "\r\n");
    chmod(profile.c_str(), 0644);
    results.push_back(call<TrvsTriggerCallback>(24, "PRELOCK", "lint"));
  }
  chmod(profile.c_str(), 0666);
  results.push_back(call<TrvsTriggerCallback>(24, "PRELOCK", "lint"));
  EXPECT_EQ(results, (Results{2, 2, 0, 2})) << "the last one may be anybody's word";
  TVToolkitSession::Instance().leave();
  const std::string told = sink.told();
  TVToolkitSession::Instance().enter(empty);
  for (const std::string& part : {std::string("PRELOCK"), std::string("lint"), profile,
                                  std::string("TRVSTRIGGERS=ON in section [TRVSGUI]")}) {
    EXPECT_NE(told.find(part), std::string::npos) << told;
  }
}

TEST_F(ToolkitCallbacks, HandOverCopiesOfAnswers) {
  sink.answerText = "yes";
  for (const int32_t id : {TRVS_CALLBACK_OVERWRITE, TRVS_CALLBACK_MOVE_LABEL}) {
    char* answer = nullptr;
    sink.answer = 1;
    EXPECT_EQ(call<TrvsConfirmCallback>(id, "a", "b", &answer), 0);
    EXPECT_EQ(sink.told(), id == TRVS_CALLBACK_OVERWRITE ? "confirm a|b\n" : "confirm2 a|b\n");
    ASSERT_STREQ(answer, "yes");
    EXPECT_EQ(call<TrvsFreeCallback>(TRVS_CALLBACK_FREE, answer), 0);
  }
  sink.answerText = "";
  Results results;
  for (sink.answer = 0; sink.answer <= 3; ++sink.answer) {
    char* answer = nullptr;
    results.push_back(call<TrvsConfirmCallback>(TRVS_CALLBACK_OVERWRITE, "a", "b", &answer));
    call<TrvsFreeCallback>(TRVS_CALLBACK_FREE, answer);
  }
  EXPECT_EQ(results, (Results{2, 0, 0, 2}));
}

}  // namespace
}  // namespace foldapi
