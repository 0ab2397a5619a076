// The bracket around toolkit calls: what it loads and when, and where the toolkit's callbacks go.
#include "toolkit/bracket.h"

#include <gtest/gtest.h>

#include "domain/archivemember.h"
#include "domain/projectfolder.h"
#include "domain/projectroot.h"
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
  // What one bracket has the toolkit read, paths without their directory.
  std::string bracket(TVHandle& handle) {
    { TVToolkitBracket scope(handle); }
    std::string calls = fakeToolkit().readCalls();
    for (size_t at; (at = calls.find(directory / "")) != std::string::npos;) {
      calls.erase(at, (directory / "").size());
    }
    return calls;
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
  std::string dirs;
  ASSERT_EQ(QueryConfigurationItem(TRVS_ITEM_ARCHIVE_DIRECTORIES, &dirs), 0);
  EXPECT_STREQ(dirs.c_str(), "other");
  EXPECT_EQ(bracket(empty), "8 \n");
  EXPECT_EQ(bracket(empty), "");
}

// A real fault: the bracket was never left, and the next one waited for ever.
TEST_F(ToolkitSession, IsLeftWhenTheLoadThrows) {
  struct ThrowingSink : TVErrorSink {
    void error(TVHandle&, const VString&) override { throw std::bad_alloc(); }
  } throwing;
  TVHandle late = project("late");
  TVHandle context(&throwing, late.object());
  EXPECT_THROW(TVToolkitBracket{context}, std::bad_alloc);
  ASSERT_EQ(&TVToolkitSession::Instance().Sink(), &theNullHandle());
  EXPECT_EQ(bracket(motor), "8 \n8 motor.cfg\n");
}

// Calls registered functions as the toolkit does: by id, with the arguments of that id.
class ToolkitCallbacks : public ToolkitSession {
 protected:
  ToolkitCallbacks() {
    fakeToolkit().registeredCallbacks();
    RegisterToolkitCallbacks();
    registered_ = fakeToolkit().registeredCallbacks();
    TVToolkitSession::Instance().enter(empty);
  }
  ~ToolkitCallbacks() override { TVToolkitSession::Instance().leave(); }

  template <typename Callback, typename... Arguments>
  int32_t call(int32_t id, Arguments... arguments) {
    const auto callback = reinterpret_cast<void (*)()>(registered_.at(id));
    return reinterpret_cast<Callback>(callback)(arguments...);
  }

  // One call for each answer of the sink: what the toolkit gets for 0, 1, 2 and 3, in one number.
  template <typename Callback, typename... Arguments>
  int answers(int32_t id, Arguments... arguments) {
    int digits = 0;
    for (sink.answer = 0; sink.answer <= 3; ++sink.answer) {
      sink.told();
      digits = digits * 10 + call<Callback>(id, arguments...);
    }
    EXPECT_EQ(sink.context, &empty);
    return digits;
  }

 private:
  std::map<int32_t, TrvsCallback> registered_;
};

TEST_F(ToolkitCallbacks, MapAnswersToResults) {
  EXPECT_EQ(answers<TrvsContinueCallback>(TRVS_CALLBACK_CONTINUE), 2022);
  EXPECT_EQ(sink.told(), "continue\n");
  EXPECT_EQ(answers<TrvsOutputCallback>(TRVS_CALLBACK_OUTPUT, "line", 1), 2010);
  EXPECT_EQ(sink.told(), "output 0 line\n");
  EXPECT_EQ(answers<TrvsAskCallback>(TRVS_CALLBACK_CHECK_IN, "why", 7), 2022);
  EXPECT_EQ(sink.told(), "ask 7 why\n");
  EXPECT_EQ(answers<TrvsNotifyTwoCallback>(TRVS_CALLBACK_NEWS_TWO, "a", nullptr, 5), 0);
  EXPECT_EQ(sink.told(), "two a||5\n");
  EXPECT_EQ(answers<TrvsNotifyFourCallback>(TRVS_CALLBACK_OPERATION, "a", "b", "c", "d", 5), 0);
  EXPECT_EQ(sink.told(), "four a|b|c|d|5\n");
  EXPECT_EQ(answers<TrvsMessageCallback>(TRVS_CALLBACK_MESSAGE, 2), 0);
  EXPECT_EQ(sink.told(), "error Cannot find archive.\n");
  EXPECT_EQ(answers<TrvsTextCallback>(TRVS_CALLBACK_TEXT, "text"), 0);
  EXPECT_EQ(sink.told(), "error text\n");
  EXPECT_EQ(call<TrvsIdleCallback>(TRVS_CALLBACK_IDLE), 0);
  EXPECT_EQ(sink.told(), "");
}

TEST_F(ToolkitCallbacks, MapCodes) {
  for (const auto& [code, kind] : {std::pair{TRVS_NO_SUCH_GROUP, "2"},
                                   {TRVS_BUSY_ARCHIVE, "1"},
                                   {TRVS_OTHER_BRANCH, "3"},
                                   {TRVS_NO_USER_ID, "0"}}) {
    EXPECT_EQ(answers<TrvsRetryCallback>(TRVS_CALLBACK_RETRY, code, "p"), 2022);
    EXPECT_EQ(sink.told(), std::string("retry ") + kind + " p\n");
  }
  sink.answer = 0;
  for (const auto& [code, told] :
       {std::pair{0, ""}, {1, "output 0 x\n"}, {15, "output 14 x\n"}, {16, ""}, {-1, ""}}) {
    EXPECT_EQ(call<TrvsOutputCallback>(TRVS_CALLBACK_OUTPUT, "x", code), *told == '\0' ? 0 : 2);
    EXPECT_EQ(sink.told(), told);
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
  std::string results;
  for (sink.answer = 0; sink.answer <= 3; ++sink.answer) {
    char* answer = nullptr;
    results +=
        std::to_string(call<TrvsConfirmCallback>(TRVS_CALLBACK_OVERWRITE, "a", "b", &answer));
    call<TrvsFreeCallback>(TRVS_CALLBACK_FREE, answer);
  }
  EXPECT_EQ(results, "2002");
}

}  // namespace
}  // namespace foldapi
