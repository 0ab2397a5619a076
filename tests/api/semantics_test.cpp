// What the C interface promises beyond values: counts, lifetimes, orders, and what a client sees of
// the joined files, of branches and of other processes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "btkf520/btkf520.h"
#include "foldapi/foldapi.h"
#include "support/childprocess.h"
#include "support/client.h"

namespace {

using std::string;
using Names = std::vector<string>;

class Semantics : public testing::Test {
 protected:
  support::ScratchDatabase scratch_;
};

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

TEST_F(Semantics, PlacesOfWorkfilesAreOwnByTheUsersWordOnly) {
  CreateProject(scratch_.openRoot(), "P", "/own", "/team");
  TVHandle* const project = scratch_.openProject("P");
  for (const char* name : {"m.c", "/own/sub/m.c", "/own/../team/m.c"}) {
    AddExistingArchive(project, name, name);
    TVHandle* const archive = FindArchiveByQualWorkName(project, name);
    EXPECT_EQ(FoldapiIsInOwnPlace(archive), string(name).find("team") == string::npos) << name;
  }
  EXPECT_EQ(FoldapiIsInOwnPlace(project), -1);
}

// Real faults: a find by name was a second one, and the first had let go of what it looked in; of
// labels that differ in case the first one was given.
TEST_F(Semantics, ClosedBranchesAreSearchedForExactNamesFirst) {
  const string archive = scratch_.path("m.c_v");
  const string workfile = scratch_.path("m.c");
  support::writeFile(workfile, "text\n");
  ASSERT_EQ(TrvsCreateArchive(archive.c_str(), workfile.c_str(), nullptr, nullptr, 0, 0),
            TRVS_DONE);
  ASSERT_EQ(TrvsPutRevision(TRVS_CONTEXT, 0, (archive + "(" + workfile + ")").c_str(), 0, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
            TRVS_DONE);
  CreateProject(scratch_.openRoot(), "P", "", "");
  AddExistingArchive(scratch_.openProject("P"), "m.c", archive.c_str());
  for (const char* name : {"REL", "Rel", "rel", "One"}) {
    EXPECT_EQ(TrvsSetLabel(TRVS_CONTEXT, archive.c_str(), name, "1.0", 0), TRVS_DONE);
  }
  TVHandle* const closed = FindProject(scratch_.openRoot(), "P");
  const auto first = [closed] {
    return FindRevision(FindBranch(FindArchiveByWorkName(closed, "m.c"), "trunk"), "1.0");
  };
  EXPECT_STREQ(GetRevisionNumber(first()), "1.0");
  for (const char* name : {"rel", "Rel", "REL"}) {
    EXPECT_STREQ(GetLabelName(FindLabel(first(), name)), name);
  }
  EXPECT_STREQ(GetLabelName(FindLabel(first(), "ONE")), "One");
}

}  // namespace
