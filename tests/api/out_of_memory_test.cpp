// Texts that there is no memory for: the call fails as a whole, and the session goes on.
//
// The program's operator new serves the library as well.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "support/client.h"

namespace {

constexpr size_t kLargeText = 1 << 20;
bool theLargeBlocksAreGone = false;

void* allocate(size_t size) {
  if (theLargeBlocksAreGone && size >= kLargeText) return nullptr;
  return std::malloc(size != 0 ? size : 1);
}

}  // namespace

// All out of line: where only one of a pair is inlined, compilers see a mismatch.
[[gnu::noinline]] void* operator new(size_t size) {
  if (void* const memory = allocate(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}

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
  const std::string large(kLargeText, 'x');
  const char* const text = large.c_str();
  theLargeBlocksAreGone = true;
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
  theLargeBlocksAreGone = false;

  EXPECT_EQ(scratch.changedSince(before), Names());
  EXPECT_EQ(GetRootPublicDir(root), scratch.path("pub"));
  EXPECT_EQ(OpenProjectRoot(root), 2);
  EXPECT_EQ(OpenProject(project), 2);
  AddExistingArchive(project, "b", "/v/b_v");
  EXPECT_EQ(support::workfileNames(project), (Names{"a", "b"}));
}

}  // namespace
