// What the C interface promises beyond values: counts, lifetimes, orders, and what a client sees of
// the joined files and of other processes.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "support/childprocess.h"
#include "support/client.h"

namespace {

using std::string;
using support::kHead;
using support::walk;
using Names = std::vector<string>;

class Semantics : public testing::Test {
 protected:
  // A project "P" with these lines in its public file, opened once.
  TVHandle* projectWith(const string& lines) {
    CreateProject(scratch_.openRoot(), "P", "/w", "/team");
    scratch_.write("pub/P.prj/trvsfold.pub", kHead + lines);
    return scratch_.openProject("P");
  }

  support::ScratchDatabase scratch_;
};

// Sessions
// -----------------------------------------------------------------------------------------

TEST_F(Semantics, RootsThatCannotBeUsedShowAsAnEmptyWalk) {
  scratch_.write("file", "");
  for (const string& bad : {scratch_.path("file"), string("V:\\unmapped"), string("//no/share")}) {
    SCOPED_TRACE(bad);
    TVHandle* root = Init(bad.c_str(), bad.c_str());
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(OpenProjectRoot(root), 1);
    EXPECT_EQ(GetFirstProject(root), nullptr);
    CreateProject(root, "P", "", "");
    SetProjectPublicDir(FindProject(root, "P"), "/x");
    EXPECT_EQ(CloseProjectRoot(root), 0);
    EXPECT_EQ(GetFirstProject(root), nullptr);
  }
  EXPECT_EQ(scratch_.files(), Names{"file"});
}

// Handles and counts
// -------------------------------------------------------------------------------

TEST_F(Semantics, WalksGiveBackTheirCountAtTheEndAndOnlyThere) {
  TVHandle* root = scratch_.openRoot();
  EXPECT_EQ(GetFirstProject(root), nullptr);
  EXPECT_EQ(GetNextProject(root), nullptr);  // Closes: there is no walk to end.
  EXPECT_EQ(CloseProjectRoot(root), -1);

  TVHandle* project = projectWith("[DOCUMENT=;a_v;;a]\n[DOCUMENT=;b_v;;b]\n[FOLDER=f]\nDIR=f\n");
  EXPECT_EQ(support::workfileNames(project), (Names{"a", "b"}));
  EXPECT_EQ(support::folderNames(project), Names{"f"});
  EXPECT_EQ(OpenProject(project), 2);
  TVHandle* archive = GetFirstArchive(project);
  EXPECT_EQ(OpenProject(project), 4);
  EXPECT_EQ(OpenArchive(archive), 1);
  EXPECT_EQ(OpenArchive(archive), 2);
  for (const int32_t count : {3, 2, 1, 0}) {
    EXPECT_STREQ(GetWorkfileName(archive), "a");
    EXPECT_EQ(CloseProject(project), count);
  }
  EXPECT_STREQ(GetWorkfileName(archive), "");  // Whatever its own count was.
  EXPECT_EQ(CloseArchive(archive), -1);
  EXPECT_EQ(CloseProject(project), -1);

  // A walk without an open of its own keeps the parent open until it ends.
  archive = GetFirstArchive(project);
  TVHandle* second = GetNextArchive(project);
  EXPECT_STREQ(GetWorkfileName(archive), "a");
  EXPECT_EQ(GetNextArchive(project), nullptr);
  EXPECT_STREQ(GetWorkfileName(second), "");
}

TEST_F(Semantics, FindsLastWithTheirParentOrThroughTheNextCall) {
  TVHandle* project = projectWith("[DOCUMENT=;a_v;;a]\n[DOCUMENT=;b_v;;b]\n");
  TVHandle* archive = FindArchiveByWorkName(project, "A");
  EXPECT_EQ(FindArchiveByWorkName(project, "a"), archive);
  EXPECT_EQ(CloseProject(project), 0);

  EXPECT_STREQ(GetArchiveName(FindArchiveByWorkName(project, "b")), "b_v");
  archive = FindArchiveByWorkName(project, "b");
  EXPECT_EQ(OpenArchive(archive), 1);
  EXPECT_EQ(CloseArchive(archive), -1);
  DestroyArchive(FindArchiveByWorkName(project, "b"));
  EXPECT_EQ(scratch_.shown("pub/P.prj/trvsfold.pub"), kHead + "[DOCUMENT=;a_v;;a]\n");
}

TEST_F(Semantics, SortTypesNeedAnOpenParentAndGoWithItsLastClose) {
  TVHandle* project =
      projectWith("[DOCUMENT=;2_v;a;z]\n[DOCUMENT=;3_v;b;y]\n[DOCUMENT=;1_v;c;x]\n");
  const Names byPath = {"z", "y", "x"}, byName = {"x", "y", "z"}, byArchive = {"x", "z", "y"};
  EXPECT_EQ(support::workfileNames(project), byPath);
  SetSortTypeWorkName(project);
  EXPECT_EQ(support::workfileNames(project), byName);
  SetSortTypeArchiveName(project);
  EXPECT_EQ(support::workfileNames(project), byArchive);
  CloseProject(project);
  SetSortTypeWorkName(project);
  OpenProject(project);
  EXPECT_EQ(support::workfileNames(project), byPath);
  // Neither does a setter of a sort take part in a walk that has begun.
  EXPECT_STREQ(GetWorkfileName(GetFirstArchive(project)), "z");
  SetSortTypeWorkName(project);
  EXPECT_STREQ(GetWorkfileName(GetNextArchive(project)), "y");
}

TEST_F(Semantics, TextsOutlastFifteenMore) {
  TVHandle* project = projectWith("");
  char line[100];
  std::snprintf(line, sizeof line, "%s|%s|%s", GetProjectName(project),
                GetProjectPublicDir(project), GetProjectPrivateDir(project));
  EXPECT_STREQ(line, "P|/team|/w");
  const char* first = GetProjectName(project);
  for (int i = 0; i < 15; ++i) GetProjectPublicDir(project);
  EXPECT_STREQ(first, "P");
  GetProjectPublicDir(project);
  EXPECT_STREQ(first, "/team");
}

// Files and other processes
// ------------------------------------------------------------------------

TEST_F(Semantics, OpenSessionsFollowWhatAnotherProcessDid) {
  TVHandle* root = scratch_.openRoot();
  for (const char* name : {"gone", "kept", "moved"}) CreateProject(root, name, "/old", "/old");
  TVHandle* kept = FindProject(root, "kept");
  OpenProject(kept);
  AddExistingArchive(kept, "gone", "gone_v");
  AddExistingArchive(kept, "stays", "stays_v");
  TVHandle* gone = FindProject(root, "gone");
  TVHandle* goneArchive = FindArchiveByWorkName(kept, "gone");
  const int theirResult = support::inProcess([this] {
    TVHandle* theirs = scratch_.openRoot();
    DestroyProject(FindProject(theirs, "gone"));
    SetProjectPrivateDir(FindProject(theirs, "moved"), "/new");
    CreateProject(theirs, "added", "", "");
    TVHandle* project = FindProject(theirs, "kept");
    DestroyArchive(FindArchiveByWorkName(project, "gone"));
    AddExistingArchive(project, "added", "added_v");
    return 0;
  });
  ASSERT_EQ(theirResult, 0);

  // Without a change of one's own, only a new first open reads again.
  EXPECT_EQ(support::projectNames(root), (Names{"gone", "kept", "moved"}));
  CloseProject(kept);
  OpenProject(kept);
  EXPECT_EQ(support::workfileNames(kept), (Names{"added", "stays"}));
  EXPECT_STREQ(GetWorkfileName(goneArchive), "");
  // A change reads what changed before it writes, so nothing of the other's is lost.
  CreateProject(root, "mine", "", "");
  EXPECT_EQ(support::projectNames(root), (Names{"added", "kept", "mine", "moved"}));
  EXPECT_STREQ(GetProjectName(gone), "");
  EXPECT_STREQ(GetProjectPrivateDir(FindProject(root, "moved")), "/new");
  SetProjectPublicDir(kept, "/changed");
  EXPECT_EQ(support::projectNames(scratch_.openRoot()), (Names{"added", "kept", "mine", "moved"}));
  EXPECT_STREQ(GetProjectPrivateDir(FindProject(root, "moved")), "/new");
}

}  // namespace
