// Tests of work that two processors share.
#include "os/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>

namespace os {
namespace {

// A real fault: the process ended when the caller's part had no memory.
TEST(SharedWork, ThrowsWhatOnePartThrewWhenTheOtherIsDone) {
  for (const size_t failing : {size_t{0}, size_t{1}}) {
    std::atomic<int> done = 0;
    const auto work = [&](size_t begin, size_t /*end*/) {
      if (begin == failing) throw std::bad_alloc();
      ++done;
    };
    EXPECT_THROW(shareWork(2, work), std::bad_alloc) << failing;
    EXPECT_EQ(done, 1) << failing;
  }
}

}  // namespace
}  // namespace os
