// The branches and revisions of an archive that the engine made, through the C interface.
#include <gtest/gtest.h>

#include <string>

#include "btkf520/btkf520.h"
#include "foldapi/foldapi.h"
#include "support/client.h"

namespace {

using std::string;

// A real fault: lists that are in the order of numbers were halved by the texts of numbers.
TEST(Branches, AreFoundByNumberHoweverManyThereAre) {
  const support::ScratchDatabase scratch;
  const string archive = scratch.path("m.c_v");
  const string workfile = scratch.path("m.c");
  const auto checkIn = [&](const char* parent) {
    support::writeFile(workfile, "text\n");
    EXPECT_EQ(TrvsPutRevision(TRVS_CONTEXT, 0, (archive + "(" + workfile + ")").c_str(), 0, parent,
                              nullptr, nullptr, nullptr, nullptr, nullptr, 0, TRVS_PUT_UNCHANGED),
              0);
  };
  ASSERT_EQ(TrvsCreateArchive(archive.c_str(), workfile.c_str(), nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive.c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS), 0);
  CreateProject(scratch.openRoot(), "P", "", "");
  AddExistingArchive(scratch.openProject("P"), "m.c", archive.c_str());
  for (int i = 0; i < 25; ++i) checkIn(nullptr);
  for (int i = 0; i < 12; ++i) checkIn("1.3");
  TVHandle* const member = FindArchiveByWorkName(scratch.openProject("P"), "m.c");
  OpenArchive(member);
  TVHandle* const trunk = FindBranch(member, "1");
  OpenBranch(trunk);
  for (int i = 0; i < 25; ++i) {
    const string number = std::to_string(i);
    EXPECT_EQ(GetRevisionNumber(FindRevision(trunk, number.c_str())), "1." + number);
  }
  EXPECT_EQ(FindRevision(trunk, "25"), nullptr);
  TVHandle* const revision = FindRevision(trunk, "3");
  OpenRevision(revision);
  for (int i = 1; i < 13; ++i) {
    const string number = std::to_string(i);
    EXPECT_EQ(GetBranchName(FindBranch(revision, number.c_str())), "1.3." + number);
  }
}

}  // namespace
