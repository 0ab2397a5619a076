// Texts that there is no memory for: the call fails as a whole, and the session goes on.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "support/client.h"
#include "support/failingheap.h"

namespace {

using Names = std::vector<std::string>;

TEST(OutOfMemory, CallsThatFailLeaveTheSessionAndTheFilesAsTheyWere) {
  const support::ScratchDatabase scratch;
  CreateProject(scratch.openRoot(), "P", "/ann", "/team");
  AddExistingArchive(scratch.openProject("P"), "a", "/v/a_v");
  TVHandle* const root = scratch.openRoot();
  TVHandle* const project = FindProject(root, "P");
  EXPECT_EQ(OpenProject(project), 1);
  const auto before = scratch.everything();
  constexpr size_t kLargeText = 1 << 20;
  const std::string large(kLargeText, 'x');
  const char* const text = large.c_str();
  support::allocationFails = [](size_t size) { return size >= kLargeText; };
  EXPECT_EQ(Init(text, "/other"), nullptr);
  EXPECT_EQ(Init("/other", text), nullptr);
  CreateProject(root, text, "", "");
  EXPECT_STREQ(FoldapiLastMessage(), "Out of memory!");
  CreateProject(root, "Q", text, "");
  SetProjectPublicDir(project, text);
  SetProjectPrivateDir(project, text);
  SetProjectVCSDirs(project, text);
  AddExistingArchive(project, text, "/v/a_v");
  AddExistingArchive(project, "w", text);
  EXPECT_EQ(FindProject(root, text), nullptr);
  EXPECT_EQ(FindArchiveByQualWorkName(project, text), nullptr);
  support::allocationFails = nullptr;

  EXPECT_EQ(scratch.changedSince(before), Names());
  EXPECT_EQ(GetRootPublicDir(root), scratch.path("pub"));
  EXPECT_EQ(OpenProjectRoot(root), 2);
  EXPECT_EQ(OpenProject(project), 2);
  AddExistingArchive(project, "b", "/v/b_v");
  EXPECT_EQ(support::workfileNames(project), (Names{"a", "b"}));
}

}  // namespace
