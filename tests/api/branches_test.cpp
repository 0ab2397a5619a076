// The branches, revisions and labels of an archive that the engine made, through the C interface.
#include <gtest/gtest.h>

#include <string>

#include "btkf520/btkf520.h"
#include "foldapi/foldapi.h"
#include "support/client.h"

namespace {

using support::texts;
using support::walk;
using Names = std::vector<std::string>;

// A database with one project and one archive in it, whose revisions a test checks in.
class Branches : public testing::Test {
 protected:
  Branches() {
    EXPECT_EQ(TrvsCreateArchive(archive_.c_str(), workfile_.c_str(), "Motor", nullptr, 0, 0), 0);
    CreateProject(scratch_.openRoot(), "P", "/ann", "/team");
    AddExistingArchive(scratch_.openProject("P"), "m.c", archive_.c_str());
  }

  // Checks in a revision after a parent, or the first one.
  void checkIn(const char* parent, uint32_t flags = 0) {
    if (parent != nullptr) {
      EXPECT_EQ(TrvsLockRevision(TRVS_CONTEXT, archive_.c_str(), parent, nullptr), 0);
    }
    support::writeFile(workfile_, "text " + std::to_string(++count_) + "\n");
    const std::string both = archive_ + "(" + workfile_ + ")";
    EXPECT_EQ(TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, nullptr, nullptr, nullptr, "change",
                              nullptr, nullptr, 0, flags | TRVS_PUT_OLDER),
              0);
  }
  void label(const char* name, const char* revision) {
    EXPECT_EQ(TrvsSetLabel(TRVS_CONTEXT, archive_.c_str(), name, revision, 0), 0);
  }

  TVHandle* openArchive() {
    TVHandle* const archive = FindArchiveByWorkName(scratch_.openProject("P"), "m.c");
    EXPECT_EQ(OpenArchive(archive), 1);
    return archive;
  }

  // A branch as text: its revisions in order, with labels, and the branches that start there.
  static std::string shown(TVHandle* branch) {
    OpenBranch(branch);
    std::string all = GetBranchName(branch);
    for (TVHandle* const revision : walk(branch, GetFirstRevision, GetNextRevision)) {
      OpenRevision(revision);
      all += std::string(" ") + GetRevisionNumber(revision);
      for (const auto& name : texts(walk(revision, GetFirstLabel, GetNextLabel), GetLabelName)) {
        all += "[" + name + "]";
      }
      for (TVHandle* const below : walk(revision, GetFirstBranch, GetNextBranch)) {
        all += "(" + shown(below) + ")";
      }
      CloseRevision(revision);
    }
    CloseBranch(branch);
    return all;
  }

  support::ScratchDatabase scratch_;
  const std::string archive_ = scratch_.path("m.c_v");
  const std::string workfile_ = scratch_.path("m.c");
  int count_ = 0;
};

TEST_F(Branches, NestAndKeepTheOrderOfTheirNumbers) {
  checkIn(nullptr);
  for (const char* parent :
       {"1.0", "1.1", "1.2", "1.3", "1.4", "1.5", "1.6", "1.7", "1.8", "1.9"}) {
    checkIn(parent);
  }
  checkIn("1.1");  // 1.1.1.0
  checkIn("1.1");  // 1.1.2.0
  checkIn("1.1.1.0", TRVS_PUT_BRANCH);
  checkIn("1.1.1.0");
  label("REL_1", "1.1");
  label("FIX", "1.1.1.1");
  TVHandle* const archive = openArchive();
  const auto branches = walk(archive, GetFirstBranch, GetNextBranch);
  ASSERT_EQ(texts(branches, GetBranchName), Names{"Trunk"});
  EXPECT_EQ(shown(branches[0]),
            "Trunk 1.0 1.1[REL_1](1.1.1 1.1.1.0(1.1.1.0.1 1.1.1.0.1.0) 1.1.1.1[FIX])(1.1.2 1.1.2.0)"
            " 1.2 1.3 1.4 1.5 1.6 1.7 1.8 1.9 1.10");
}

TEST_F(Branches, AreFoundByNumberAndByName) {
  checkIn(nullptr);
  for (const char* parent : {"1.0", "1.1", "1.0"}) checkIn(parent);
  label("REL_1", "1.0");
  TVHandle* const archive = openArchive();
  TVHandle* const trunk = FindBranch(archive, "1");
  EXPECT_STREQ(GetBranchName(trunk), "Trunk");
  EXPECT_EQ(FindBranch(archive, "trunk"), trunk);
  OpenBranch(trunk);
  TVHandle* const first = FindRevision(trunk, "0");
  EXPECT_STREQ(GetRevisionNumber(first), "1.0");
  EXPECT_EQ(FindRevision(trunk, "1.0"), first);
  EXPECT_STREQ(GetRevisionNumber(FindRevision(trunk, "1.2")), "1.2");
  EXPECT_EQ(FindRevision(trunk, "1.9"), nullptr);
  OpenRevision(first);
  EXPECT_STREQ(GetBranchName(FindBranch(first, "1.0.1")), "1.0.1");
  EXPECT_STREQ(GetLabelName(FindLabel(first, "rel_1")), "REL_1");
  for (const char* const none : {"REL_2", "0"}) EXPECT_EQ(FindLabel(first, none), nullptr);
}

// A real fault: lists that are in the order of numbers were halved by the texts of numbers.
TEST_F(Branches, AreFoundByNumberHoweverManyThereAre) {
  checkIn(nullptr);
  for (int i = 1; i < 25; ++i) checkIn(("1." + std::to_string(i - 1)).c_str());
  for (int i = 0; i < 12; ++i) checkIn("1.3");
  TVHandle* const trunk = FindBranch(openArchive(), "1");
  OpenBranch(trunk);
  for (int i = 0; i < 25; ++i) {
    const std::string number = std::to_string(i);
    EXPECT_EQ(GetRevisionNumber(FindRevision(trunk, number.c_str())), "1." + number);
  }
  EXPECT_EQ(FindRevision(trunk, "25"), nullptr);
  TVHandle* const revision = FindRevision(trunk, "3");
  OpenRevision(revision);
  for (int i = 1; i < 13; ++i) {
    const std::string number = std::to_string(i);
    EXPECT_EQ(GetBranchName(FindBranch(revision, number.c_str())), "1.3." + number);
  }
}

TEST_F(Branches, FollowTheArchive) {
  checkIn(nullptr);
  TVHandle* const archive = openArchive();
  TVHandle* const trunk = FindBranch(archive, "Trunk");
  EXPECT_EQ(shown(trunk), "Trunk 1.0");
  EXPECT_EQ(CloseArchive(archive), 0);
  EXPECT_STREQ(GetBranchName(trunk), "");  // It went with its parent's last close.
  checkIn("1.0");
  EXPECT_EQ(OpenArchive(archive), 1);
  EXPECT_EQ(shown(FindBranch(archive, "Trunk")), "Trunk 1.0 1.1");
  CloseArchive(archive);
  support::writeFile(archive_, "no archive");
  EXPECT_EQ(OpenArchive(archive), 1);
  EXPECT_EQ(GetFirstBranch(archive), nullptr);
}

}  // namespace
