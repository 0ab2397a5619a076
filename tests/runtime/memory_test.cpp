// Tests of allocation on an empty heap, and of where assertions go.
#include "runtime/memory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "runtime/assertion.h"

namespace foldapi {
namespace {

int theFailuresLeft;
std::vector<int> theAttempts;
int theFreedBlocks;

// A heap that fails a number of times, and a handler that gives up at the fourth attempt.
class EmptyHeap : public testing::Test {
 protected:
  EmptyHeap() {
    theAttempts.clear();
    SetHeap(&kHeap);
    SetLowMemoryHandler([](int16_t attempt) -> int16_t {
      theAttempts.push_back(attempt);
      return attempt < 4 ? 1 : 0;
    });
  }
  ~EmptyHeap() override {
    SetHeap(nullptr);
    SetLowMemoryHandler(nullptr);
  }

  static constexpr Heap kHeap = {[](void* block, size_t size) {
                                   return theFailuresLeft-- > 0 ? nullptr
                                                                : std::realloc(block, size);
                                 },
                                 [](void* block) {
                                   ++theFreedBlocks;
                                   std::free(block);
                                 }};
};

TEST_F(EmptyHeap, AsksTheHandlerUntilItGivesUp) {
  theFailuresLeft = 100;
  EXPECT_EQ(RetryMalloc(8), nullptr);
  EXPECT_EQ(theAttempts, (std::vector<int>{1, 2, 3, 4}));
  theAttempts.clear();
  theFailuresLeft = 2;
  void* const block = RetryCalloc(2, 4);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(static_cast<char*>(block), 8), std::string(8, '\0'));
  EXPECT_EQ(theAttempts, (std::vector<int>{1, 2}));
  theFailuresLeft = 100;
  EXPECT_EQ(RetryRealloc(block, 16), nullptr);
  EXPECT_EQ(DuplicateString("x"), nullptr);
  SetLowMemoryHandler(nullptr);
  EXPECT_EQ(RetryMalloc(8), nullptr) << "ends without a handler";
  FreeBlock(block);
}

TEST_F(EmptyHeap, FreesOnlyWhatIsThere) {
  theFailuresLeft = theFreedBlocks = 0;
  EXPECT_EQ(DuplicateString(nullptr), nullptr);
  EXPECT_EQ(RetryCalloc(SIZE_MAX / 2, 3), nullptr) << "a size that doesn't fit";
  char* copy = DuplicateString("text");
  EXPECT_STREQ(copy, "text");
  FreeAndClear(&copy);
  EXPECT_EQ(copy, nullptr);
  FreeAndClear(&copy);
  EXPECT_EQ(theFreedBlocks, 1);
}

TEST(Assertion, PrintsAndGoesOn) {
  testing::internal::CaptureStdout();
  assertFail("52data.cpp", 266);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Assertion Failed: 52data.cpp 266\n");
  static std::string text;
  setAssertionTarget([](const char* message) { text = message; });
  assertFail("52data.cpp", 838);
  EXPECT_EQ(text, "Assertion Failed: 52data.cpp 838\n");
  setAssertionTarget(nullptr);
}

}  // namespace
}  // namespace foldapi
