// The user's profile as the library uses it, on a profile and directories made for each test.
#include "store/profile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "support/files.h"
#include "support/recordingsink.h"
#include "toolkit/messages.h"

namespace foldapi {
namespace {

namespace fs = std::filesystem;

class StoreProfileTest : public testing::Test {
 protected:
  std::string data(const char* name) const {
    return directory_ / ("trevault/" + std::string(name));
  }
  void put(const std::string& text) const { support::writeFile(profile_.str(), text); }
  std::string content() const { return support::readFile(profile_.str()); }
  void putManager(const std::string& text) const {
    const std::string program = directory_ / "TRVSTVNT.EXE";
    support::writeFile(program, text);
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
  }

  const support::TemporaryDirectory directory_;
  const VPathString profile_{directory_ / "conf/KSTR.INI"};
  const support::ScopedEnvironment named_{"KSTR_INI", profile_.str()};
  const support::ScopedEnvironment data_{"XDG_DATA_HOME", directory_.path()};
  const support::ScopedEnvironment programs_{"PATH", directory_.path()};
  support::RecordingSink sink_;
  TVHandle context_{&sink_, nullptr};
};

TEST_F(StoreProfileTest, RootsComeFromTheProfileAndMissingOnesAreFixedThere) {
  const std::string version = "[TRVSGUI]\r\nVERSION=TRVS Trevault_5.2.00\r\n";
  const std::string both =
      "TRVSPROJ=" + data("TRVSPROJ") + "\r\nTRVSPRIV=" + data("TRVSPRIV") + "\r\n";
  const std::string given = "[TRVSGUI]\nTRVSPROJ=V:\\pub\n";
  const struct {
    const char* why;
    std::string before;  // Empty: no profile.
    std::string wantPublic, wantPrivate, after;
  } cases[] = {
      {"no profile", "", data("TRVSPROJ"), data("TRVSPRIV"), version + both},
      {"public only", given, "V:\\pub", data("TRVSPRIV"),
       given + "TRVSPRIV=" + data("TRVSPRIV") + "\r\n"},
      {"both", given + "TRVSPRIV=W:\\priv\n", "V:\\pub", "W:\\priv", given + "TRVSPRIV=W:\\priv\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    fs::remove_all(directory_ / "conf");
    if (!c.before.empty()) put(c.before);
    for (int run = 0; run < 2; ++run) {  // The second run finds what the first one wrote.
      VPathString publicRoot("stale");
      VPathString privateRoot("stale");
      findRootDirectories(&publicRoot, &privateRoot, context_);
      EXPECT_EQ(publicRoot.str(), c.wantPublic);
      EXPECT_EQ(privateRoot.str(), c.wantPrivate);
      EXPECT_EQ(content(), c.after);
    }
  }
  EXPECT_EQ(sink_.told(), "");
}

TEST_F(StoreProfileTest, AnUnusableProfileIsReportedAndTheDefaultsServe) {
  fs::create_directories(profile_.str());  // A directory in the profile's place.
  EXPECT_EQ(readProfile(profile_, nullptr, "K", "fallback", 100, context_), VString("fallback"));
  writeProfile(profile_, nullptr, "K", "v", context_);
  const std::string message = "notice Cannot open initialization file\n\n" + profile_.str() + ".\n";
  EXPECT_EQ(sink_.told(), message + message);
  for (const auto& [code, subject] : {std::pair(-6, "[S]"), {-7, "K"}, {-9, "K"}, {-12, "P"}}) {
    reportProfileError(code, "P", "[S]", "K", context_);
    EXPECT_EQ(sink_.told(), "notice " + IniFileMessage(code, subject).str() + "\n");
  }
  EXPECT_EQ(profileNumber(nullptr, "K", 7), 7);
  VPathString publicRoot;
  VPathString privateRoot;
  findRootDirectories(&publicRoot, &privateRoot, context_);
  EXPECT_EQ(publicRoot.str(), data("TRVSPROJ"));
  EXPECT_EQ(privateRoot.str(), data("TRVSPRIV"));
}

TEST_F(StoreProfileTest, LaunchListsTheProjectOnceAndStartsTheProgram) {
  const std::string proof = directory_ / "started";
  putManager("#!/bin/sh\necho >> '" + proof + "'\n");
  put("[TRVSGUI]\nOPENPROJ1=Alpha\nOPENPROJ2=Beta\n");
  EXPECT_TRUE(launchManager("Gamma", context_));
  EXPECT_TRUE(launchManager("Alpha", context_));
  EXPECT_TRUE(launchManager("Gamma", context_));
  EXPECT_EQ(content(),
            "[TRVSGUI]\nOPENPROJ1=Alpha\nOPENPROJ2=Beta\nOPENPROJ3=Gamma\r\n"
            "OPENPROJTOP=OPENPROJ3\r\n");
  EXPECT_EQ(sink_.told(), "");
  const auto starts = [&] { return fs::exists(proof) ? fs::file_size(proof) : 0; };
  for (int i = 0; i < 500 && starts() < 3; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(starts(), 3u) << "one line end for each start";
}

TEST_F(StoreProfileTest, FailedLaunchTellsWhy) {
  EXPECT_FALSE(launchManager("P", context_));
  putManager("neither a program nor a script");
  EXPECT_FALSE(launchManager("P", context_));
  const std::string text = "notice Unable to launch TRVS Trevault: TRVSTVNT.EXE ";
  EXPECT_EQ(sink_.told(), text + "not found in path.\n" + text + "is corrupt.\n");
}

}  // namespace
}  // namespace foldapi
