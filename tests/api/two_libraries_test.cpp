// A program that uses the archive toolkit itself and has the project library loaded as well: each
// keeps its own configuration, callbacks and paths.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "btkf520/btkf520.h"
#include "foldapi/foldapi.h"
#include "support/client.h"

namespace {

using std::string;

template <typename Callback>
void setCallback(int32_t id, Callback callback) {
  const auto plain = reinterpret_cast<void (*)()>(callback);
  ASSERT_EQ(TrvsRegisterCallback(id, reinterpret_cast<TrvsCallback>(plain)), 0);
}

// The answers of a client that agrees to everything.
int32_t agree() { return 0; }
int32_t agreeToRetry(int32_t, const char*) { return 0; }
int32_t agreeToConfirm(const char*, const char*, char**) { return 0; }
int32_t agreeToAsk(const char*, int32_t) { return 0; }

void agreeToEverything() {
  setCallback(TRVS_CALLBACK_CONTINUE, agree);
  setCallback(TRVS_CALLBACK_RETRY, agreeToRetry);
  setCallback(TRVS_CALLBACK_OVERWRITE, agreeToConfirm);
  setCallback(TRVS_CALLBACK_MOVE_LABEL, agreeToConfirm);
  setCallback(TRVS_CALLBACK_CHECK_IN, agreeToAsk);
}
void answerNothing() {
  for (const int32_t id : {1, 3, 5, 6, 10}) ASSERT_EQ(TrvsRegisterCallback(id, nullptr), 0);
}

class TwoLibraries : public testing::Test {
 protected:
  TwoLibraries() {
    theScratch = &scratch_;
    scratch_.write("vault/.keep", "");
    scratch_.write("client.cfg", "VCSDIR = client\nPROMOTE dev = test\n");
    EXPECT_EQ(TrvsQueryConfiguration(path("client.cfg").c_str(), 0, 0, TRVS_READ_FIRST), 0);
    CreateProject(scratch_.openRoot(), "P", "", "");
    SetProjectVCSDirs(scratch_.openProject("P"), "library");
    EXPECT_EQ(TrvsCreateArchive(path("vault/m_v").c_str(), "m", nullptr, nullptr, 0, 0), 0);
    AddExistingArchive(scratch_.openProject("P"), "m", path("vault/m_v").c_str());
  }
  ~TwoLibraries() override {
    answerNothing();
    EXPECT_EQ(TrvsQueryConfiguration("", 0, 0, TRVS_READ_FIRST), 107);
  }

  string path(const string& name) const { return scratch_.path(name); }

  // A call of the library in which it uses the toolkit.
  static void useLibrary() {
    TVHandle* const project = theScratch->openProject("P");
    EXPECT_STREQ(GetProjectVCSDirs(project), "library");
    EXPECT_NE(GetFirstBranch(FindArchiveByWorkName(project, "m")), nullptr);
    EXPECT_EQ(DllMain(nullptr, 2, nullptr), 1);
  }
  static string clientDirs() {
    char dirs[300] = {};
    EXPECT_EQ(TrvsQueryConfigurationItem(TRVS_ITEM_ARCHIVE_DIRECTORIES, dirs, sizeof dirs), 0);
    return dirs;
  }

  // A new archive with the revision 1.0 of its workfile, which stays.
  void makeArchive() {
    archive_ = path("vault/" + std::to_string(++archives_) + "_v");
    both_ = archive_ + "(" + path("work") + ")";
    ASSERT_EQ(TrvsCreateArchive(archive_.c_str(), path("work").c_str(), nullptr, nullptr, 0, 0), 0);
    ASSERT_EQ(TrvsSetAttributes(-1, archive_.c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS), 0);
    ASSERT_EQ(checkIn(nullptr, "one", 0), 0);
  }
  int32_t checkIn(const char* revision, const char* text, uint32_t flags) {
    support::writeFile(path("work"), text);
    return TrvsPutRevision(-1, 0, both_.c_str(), 0, revision, nullptr, nullptr, nullptr, "dev",
                           nullptr, 0, flags | TRVS_PUT_KEEP_LOCK);
  }

  int32_t checkOutOverChanges() {
    support::writeFile(path("work"), "changed");
    return TrvsGetRevision(-1, both_.c_str(), 0, nullptr, nullptr, nullptr, 0, nullptr, 0, 0);
  }
  int32_t logOntoAFile() {
    support::writeFile(path("log"), "mine");
    return TrvsLog(-1, archive_.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr, path("log").c_str(), TRVS_LOG_BRIEF);
  }
  int32_t moveALabel() {
    EXPECT_EQ(TrvsSetLabel(-1, archive_.c_str(), "REL", "1.0", 0), 0);
    EXPECT_EQ(checkIn("1.1", "two", 0), 0);
    return TrvsSetLabel(-1, archive_.c_str(), "REL", "1.1", TRVS_LABEL_ASK);
  }
  int32_t promoteAcross() {
    EXPECT_EQ(checkIn("1.1", "two", 0), 0);
    EXPECT_EQ(TrvsPromoteRevision(-1, archive_.c_str(), "dev", 0), 0);
    EXPECT_EQ(checkIn("1.0", "three", 0), 0);
    return TrvsPromoteRevision(-1, archive_.c_str(), "dev", 0);
  }
  int32_t checkInUnchanged() {
    return checkIn(nullptr, "one", TRVS_PUT_ASK_UNCHANGED | TRVS_PUT_REFUSE_UNCHANGED);
  }

  // The status of each operation that asks its client whether something may be lost.
  string statuses() {
    string all;
    for (const auto operation : {&TwoLibraries::checkOutOverChanges, &TwoLibraries::logOntoAFile,
                                 &TwoLibraries::moveALabel, &TwoLibraries::promoteAcross,
                                 &TwoLibraries::checkInUnchanged}) {
      makeArchive();
      all += std::to_string((this->*operation)()) + " ";
    }
    return all;
  }

  static inline const support::ScratchDatabase* theScratch = nullptr;
  support::ScratchDatabase scratch_;

 private:
  string archive_;
  string both_;
  int archives_ = 0;
};

constexpr const char* kNothingLost = "24 24 12 49 52 ";
constexpr const char* kAgreed = "0 0 0 0 0 ";

// A real fault: the library's callbacks, which agree to everything, answered for the client.
TEST_F(TwoLibraries, TheClientsAnswersAreItsOwn) {
  EXPECT_EQ(statuses(), kNothingLost);
  agreeToEverything();
  useLibrary();
  EXPECT_EQ(statuses(), kAgreed);
  answerNothing();
  useLibrary();
  EXPECT_EQ(statuses(), kNothingLost);
  // In the middle of operations of the client's.
  setCallback(
      1, +[]() -> int32_t {
        useLibrary();
        return clientDirs() == "client" ? 0 : 2;
      });
  EXPECT_EQ(statuses(), kNothingLost);
}

// A real fault: what a client loaded answered for the library's projects, and the other way round.
TEST_F(TwoLibraries, TheClientsConfigurationChangesOnPurposeAlone) {
  const string blind = path("CLIENT.CFG");  // Found as the library finds files.
  useLibrary();
  EXPECT_EQ(clientDirs(), "client");
  EXPECT_EQ(TrvsQueryConfiguration(blind.c_str(), 0, 0, TRVS_READ_FOLLOWING), 107);
  TVHandle* const root = scratch_.openRoot();
  for (TVHandle* none : {root, static_cast<TVHandle*>(nullptr)}) {
    EXPECT_EQ(FoldapiUseProject(none), 0);
    EXPECT_EQ(clientDirs(), "client");
  }
  setCallback(
      TRVS_CALLBACK_CONTINUE, +[]() -> int32_t { return 2; });
  TVHandle* const project = FindProject(root, "P");
  EXPECT_EQ(FoldapiUseProject(project), 1);
  EXPECT_EQ(clientDirs(), "library");
  EXPECT_EQ(TrvsCreateArchive(path("x_v").c_str(), "x", nullptr, nullptr, 0, 0), 15);
  EXPECT_EQ(FoldapiNativePath(blind.c_str()), path("client.cfg"));
  EXPECT_EQ(TrvsQueryConfiguration(blind.c_str(), 0, 0, TRVS_READ_FIRST), 0);
  EXPECT_STREQ(GetProjectVCSDirs(project), "library");
  const string file = GetProjectCfgFile(project);
  std::filesystem::remove(file);
  EXPECT_EQ(FoldapiUseProject(project), 1);
  EXPECT_EQ(FoldapiLastMessage(), "File " + file + " does not exist.");
  EXPECT_EQ(clientDirs(), "");
  std::filesystem::create_directory(file);
  EXPECT_EQ(FoldapiUseProject(project), 0);
  TrvsRegisterPathResolver(nullptr);
}

TEST_F(TwoLibraries, TheLastMessageIsThatOfTheLastCallOfAThread) {
  TVHandle* const project = scratch_.openProject("P");
  const string file = GetProjectCfgFile(project);
  EXPECT_STREQ(FoldapiLastMessage(), "");
  scratch_.write("pub/P.prj/P.cfg", "FIRST\n" + string(5000, 'x') + "\n");
  GetProjectVCSDirs(project);
  EXPECT_EQ(FoldapiVersion(), FOLDAPI_VERSION);
  const string bad = FoldapiLastMessage();
  EXPECT_EQ(bad.find("Error reading a directive on line 1"), 0u);
  EXPECT_NE(bad.find("\nError reading a directive on line 2"), string::npos);
  std::thread([] { EXPECT_STREQ(FoldapiLastMessage(), ""); }).join();
  EXPECT_EQ(FoldapiLastMessage(), bad);
  EXPECT_STREQ(GetProjectName(project), "P");
  EXPECT_STREQ(FoldapiLastMessage(), "");
  string many;
  for (int i = 0; i < 100; ++i) many += "BAD\n";
  scratch_.write("pub/P.prj/P.cfg", many);
  GetProjectVCSDirs(project);
  EXPECT_EQ(std::strlen(FoldapiLastMessage()), 4095u);
}

}  // namespace
