// The ".ack" file between runs: it may only save reads, and never show what is not so.
#include <gtest/gtest.h>
#include <utime.h>

#include <ctime>
#include <filesystem>
#include <string>

#include "foldapi/foldapi.h"
#include "support/client.h"

namespace {

using std::string;

const char* const kCacheFile = "prv/P.prj/P.ack";

// A project "P" with two archives that were last changed years ago.
class ArchiveCache : public testing::Test {
 protected:
  ArchiveCache() {
    CreateProject(scratch_.openRoot(), "P", "", "");
    TVHandle* project = scratch_.openProject("P");
    for (const char* name : {"a", "b"}) {
      writeArchive(name, {.revisions = 1, .lockers = {"ann"}, .description = "first\r\nline"});
      AddExistingArchive(project, name, archive(name).c_str());
    }
    endRun();
    std::filesystem::remove(scratch_.path(kCacheFile));
  }

  string archive(const string& name) const { return scratch_.path("vault/" + name + "_v"); }

  // Keeps the time, whatever is written, unless another one is asked for.
  void writeArchive(const string& name, const support::Archive& content, time_t time = 900000000) {
    scratch_.database().writeArchive("vault/" + name + "_v", content);
    utimbuf times = {time, time};
    utime(archive(name).c_str(), &times);
  }

  // The end of a session is the end of its projects, which is when caches are saved.
  void endRun() { Init("/nowhere", "/nowhere"); }

  // Asks for an archive in a run of its own.
  int revisions(const char* name) {
    TVHandle* project = scratch_.openProject("P");
    const int count = GetNumRevisions(FindArchiveByWorkName(project, name));
    endRun();
    return count;
  }

  support::ScratchDatabase scratch_;
};

TEST_F(ArchiveCache, ServesAnArchiveUntilItChanges) {
  const struct {
    const char* why;
    time_t time;
    int want;
  } cases[] = {{"the same time: from the cache", 900000000, 1},
               {"later", 900000002, 3},
               {"earlier", 900000000, 4},
               {"long ago", 86400, 5}};
  EXPECT_EQ(revisions("a"), 1);
  int written = 2;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    writeArchive("a", {.revisions = written++}, c.time);
    EXPECT_EQ(revisions("a"), c.want);
  }
  std::filesystem::remove(archive("a"));
  EXPECT_EQ(revisions("a"), 0);
  EXPECT_EQ(revisions("b"), 1);
}

// The file keeps times in ticks of two seconds. What changed in the tick of its read looks the
// same.
TEST_F(ArchiveCache, DoesNotTrustWhatItReadWithinTheTickOfTheLastChange) {
  for (int round = 1; round <= 3; ++round) {
    writeArchive("a", {.revisions = round}, std::time(nullptr));
    EXPECT_EQ(revisions("a"), round);
  }
}

// A member that has been asked remembers where the cache has its summary.
TEST_F(ArchiveCache, IsFollowedByAMemberThatIsAskedAgain) {
  TVHandle* project = scratch_.openProject("P");
  TVHandle* member = FindArchiveByWorkName(project, "a");
  for (int round = 1; round <= 3; ++round) {
    writeArchive("a", {.revisions = round}, 900000000 + round * 2);
    for (int repeat = 0; repeat < 2; ++repeat) EXPECT_EQ(GetNumRevisions(member), round);
    if (round == 2) std::filesystem::remove(archive("a"));
    EXPECT_EQ(GetNumRevisions(member), round == 2 ? 0 : round);
  }
  // The directories around it tell with which separator its path is written.
  const auto old = std::filesystem::current_path();
  std::filesystem::current_path(scratch_.path("."));
  AddExistingArchive(project, "c", "vault/b_v");
  member = FindArchiveByWorkName(project, "c");
  for (const char* directory : {"x/y", "x\\y"}) {
    SetProjectPrivateDir(project, directory);
    EXPECT_EQ(GetNumRevisions(member), 1);
  }
  std::filesystem::current_path(old);
  endRun();
  const string cache = support::readFile(scratch_.path(kCacheFile));
  EXPECT_NE(cache.find("vault/b_v"), string::npos);
  EXPECT_NE(cache.find("vault\\b_v"), string::npos);
}

}  // namespace
