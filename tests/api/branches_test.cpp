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

}  // namespace
