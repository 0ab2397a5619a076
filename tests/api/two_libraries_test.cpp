// A program that uses the archive toolkit itself and has the project library loaded as well: each
// keeps its own configuration, callbacks and paths.
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "btkf520/archives.h"
#include "foldapi/foldapi.h"
#include "support/client.h"

namespace {

using std::string;

class TwoLibraries : public btkf520_test::Archives {
 protected:
  void SetUp() override {
    Archives::SetUp();
    theScratch = &scratch_;
    ASSERT_EQ(load("VCSDIR = client\nPROMOTE dev = test\n"), TRVS_DONE);
    CreateProject(scratch_.openRoot(), "P", "", "");
    SetProjectVCSDirs(scratch_.openProject("P"), "library");
    const string own = path("library_v");
    EXPECT_EQ(TrvsCreateArchive(own.c_str(), "m", nullptr, nullptr, 0, 0), TRVS_DONE);
    AddExistingArchive(scratch_.openProject("P"), "m", own.c_str());
  }

  // A call of the library in which it uses the toolkit.
  static void useLibrary() {
    TVHandle* const project = theScratch->openProject("P");
    EXPECT_STREQ(GetProjectVCSDirs(project), "library");
    EXPECT_NE(GetFirstBranch(FindArchiveByWorkName(project, "m")), nullptr);
    EXPECT_EQ(DllMain(nullptr, 2, nullptr), 1);
  }

  int32_t checkIn(const char* revision, const char* text, uint32_t flags = 0) {
    return put(text, {.revision = revision, .group = "dev", .flags = flags | TRVS_PUT_KEEP_LOCK});
  }
  int32_t checkOutOverChanges() {
    write("m.c", "changed");
    return get({.flags = 0});
  }
  int32_t logOntoAFile() {
    write("log", "mine");
    return TrvsLog(TRVS_CONTEXT, archive().c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr, nullptr, path("log").c_str(), TRVS_LOG_BRIEF);
  }
  int32_t moveALabel() {
    EXPECT_EQ(label("REL", "1.0"), TRVS_DONE);
    EXPECT_EQ(checkIn("1.1", "two"), TRVS_DONE);
    return label("REL", "1.1", TRVS_LABEL_ASK);
  }
  int32_t promoteAcross() {
    EXPECT_EQ(checkIn("1.1", "two"), TRVS_DONE);
    EXPECT_EQ(promote("dev"), TRVS_DONE);
    EXPECT_EQ(checkIn("1.0", "three"), TRVS_DONE);
    return promote("dev");
  }
  int32_t checkInUnchanged() {
    return checkIn(nullptr, "one", TRVS_PUT_ASK_UNCHANGED | TRVS_PUT_REFUSE_UNCHANGED);
  }

  // The status of each operation that asks its client whether something may be lost, on an archive
  // with the revision 1.0 of its workfile, which stays.
  string statuses() {
    string all;
    for (const auto operation : {&TwoLibraries::checkOutOverChanges, &TwoLibraries::logOntoAFile,
                                 &TwoLibraries::moveALabel, &TwoLibraries::promoteAcross,
                                 &TwoLibraries::checkInUnchanged}) {
      unlink(archive().c_str());
      EXPECT_EQ(create(), TRVS_DONE);
      EXPECT_EQ(setAttributes(0, TRVS_ATTRIBUTE_CHECK_LOCKS), TRVS_DONE);
      EXPECT_EQ(checkIn(nullptr, "one"), TRVS_DONE);
      all += std::to_string((this->*operation)()) + " ";
    }
    return all;
  }

  static inline const support::ScratchDatabase* theScratch = nullptr;
  support::ScratchDatabase scratch_;
};

constexpr const char* kNothingLost = "24 24 12 49 52 ";
constexpr const char* kAgreed = "0 0 0 0 0 ";

// A real fault: the library's callbacks, which agree to everything, answered for the client.
TEST_F(TwoLibraries, TheClientsAnswersAreItsOwn) {
  EXPECT_EQ(statuses(), kNothingLost);
  answerQuestions();
  std::thread(useLibrary).join();
  EXPECT_EQ(statuses(), kAgreed);
  Archives::TearDown();  // Nothing is registered any more.
  useLibrary();
  EXPECT_EQ(statuses(), kNothingLost);
  // In the middle of operations of the client's.
  TrvsRegisterCallback(TRVS_CALLBACK_CONTINUE, btkf520_test::anyCallback(+[]() -> int32_t {
                         useLibrary();
                         return directories() == "client" ? 0 : 2;
                       }));
  EXPECT_EQ(statuses(), kNothingLost);
}

// A real fault: what a client loaded answered for the library's projects, and the other way round.
TEST_F(TwoLibraries, TheClientsConfigurationChangesOnPurposeAlone) {
  const string mapped = "W:/project.cfg";  // Found as the library finds files.
  const string profile = scratch_.database().profile();
  const string directory = path("project.cfg").substr(0, path("project.cfg").rfind('/'));
  support::writeFile(profile,
                     support::readFile(profile) + "[TRVSPATHS]\r\nW:=" + directory + "\r\n");
  useLibrary();
  EXPECT_EQ(directories(), "client");
  EXPECT_EQ(TrvsQueryConfiguration(mapped.c_str(), 0, 0, TRVS_READ_FOLLOWING), 107);
  TVHandle* const root = scratch_.openRoot();
  for (TVHandle* none : {root, static_cast<TVHandle*>(nullptr)}) {
    EXPECT_EQ(FoldapiUseProject(none), 0);
    EXPECT_EQ(directories(), "client");
  }
  TrvsRegisterCallback(TRVS_CALLBACK_CONTINUE,
                       btkf520_test::anyCallback(+[]() -> int32_t { return 2; }));
  TVHandle* const project = FindProject(root, "P");
  EXPECT_EQ(FoldapiUseProject(project), 1);
  EXPECT_EQ(directories(), "library");
  EXPECT_EQ(TrvsCreateArchive(path("x_v").c_str(), "x", nullptr, nullptr, 0, 0), 15);
  EXPECT_EQ(FoldapiNativePath(mapped.c_str()), path("project.cfg"));
  EXPECT_EQ(TrvsQueryConfiguration(mapped.c_str(), 0, 0, TRVS_READ_FIRST), TRVS_DONE);
  EXPECT_STREQ(GetProjectVCSDirs(project), "library");
  const string file = GetProjectCfgFile(project);
  std::filesystem::remove(file);
  EXPECT_EQ(FoldapiUseProject(project), 1);
  EXPECT_EQ(FoldapiLastMessage(), "File " + file + " does not exist.");
  EXPECT_EQ(directories(), "");
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
