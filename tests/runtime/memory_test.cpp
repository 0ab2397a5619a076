// Tests of allocation on an empty heap, and of where assertions go.
#include "runtime/memory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "runtime/assertion.h"
#include "support/childprocess.h"

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
  void* const block = RetryMalloc(8);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(theAttempts, (std::vector<int>{1, 2}));
  theFailuresLeft = 100;
  SetLowMemoryHandler(nullptr);
  EXPECT_EQ(RetryRealloc(block, 16), nullptr) << "ends without a handler";
  FreeBlock(block);
  EXPECT_EQ(theFreedBlocks, 1);
}

TEST(Assertion, GoesWhereTheEnvironmentSaidFirst) {
  const std::string text = "Assertion Failed: 52data.cpp 838\n";
  for (const std::string choice : {"", "stdout", "stderr", "none"}) {
    const bool isOut = choice.empty() || choice == "stdout";
    support::ChildProcess process([&](support::ChildProcess&) {
      testing::internal::CaptureStdout();
      testing::internal::CaptureStderr();
      setenv("TRVS_ASSERTIONS", choice.c_str(), 1);
      setAssertionTarget([](const char*) {});
      assertFail("52data.cpp", 1);
      setAssertionTarget(nullptr);
      assertFail("52data.cpp", 838);
      return testing::internal::GetCapturedStdout() == (isOut ? text : "") &&
                     testing::internal::GetCapturedStderr() == (choice == "stderr" ? text : "")
                 ? 0
                 : 1;
    });
    EXPECT_EQ(process.finish(), 0) << choice;
  }
}

}  // namespace
}  // namespace foldapi
