// Memory in pages: what stands where, and what becomes of a page.
#include "runtime/bulkmemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace foldapi {
namespace {

struct Thing {
  void* place;
  size_t size;
  unsigned char mark;

  void give() const {
    const auto* bytes = static_cast<unsigned char*>(place);
    EXPECT_TRUE(std::all_of(bytes, bytes + size, [this](unsigned char c) { return c == mark; }));
    BulkMemory::give(place, size);
  }
};

TEST(BulkMemory, KeepsThingsApartAndGivesEmptyPagesBack) {
  const size_t before = BulkMemory::pagesInUse();
  std::mt19937 random(1);
  std::vector<Thing> things;
  for (int i = 0; i < 20000; ++i) {
    const bool isLarge = i % 1000 == 0;
    const size_t size = isLarge ? random() % 800000 : random() % 450;
    const auto mark = static_cast<unsigned char>(random());
    void* const place = BulkMemory::take(size);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(place) % 8, 0u);
    things.push_back({place, size, mark});
    std::memset(place, mark, size);
    if (i % 3 != 0) continue;
    std::swap(things.back(), things[random() % things.size()]);
    things.back().give();
    things.pop_back();
  }
  EXPECT_GT(BulkMemory::pagesInUse(), before + 5);
  std::shuffle(things.begin(), things.end(), random);
  while (things.size() > 1) {
    things.back().give();
    things.pop_back();
  }
  EXPECT_EQ(BulkMemory::pagesInUse(), before + 1);
  things.back().give();
  EXPECT_EQ(BulkMemory::pagesInUse(), before);
}

// A read of known records makes each anew, and gives it back at once.
TEST(BulkMemory, TakesTheLastThingsPlaceAgain) {
  void* const held = BulkMemory::take(40);
  const size_t before = BulkMemory::pagesInUse();
  void* const first = BulkMemory::take(100);
  void* const second = BulkMemory::take(33);
  BulkMemory::give(second, 33);
  BulkMemory::give(first, 100);
  EXPECT_EQ(BulkMemory::take(64), first);
  BulkMemory::give(first, 64);
  EXPECT_EQ(BulkMemory::pagesInUse(), before);
  BulkMemory::give(held, 40);
}

// A record may have four empty names, also when a page has just become full.
TEST(BulkMemory, KeepsAThingWithoutBytesOutOfTheNextPage) {
  constexpr size_t kPage = 2 << 20;
  std::vector<char*> things;
  do {
    things.push_back(static_cast<char*>(BulkMemory::take(8)));
  } while (reinterpret_cast<uintptr_t>(things.back() + 8) % kPage != 0);
  void* const empty = BulkMemory::take(0);
  ASSERT_NE(empty, things.back() + 8);
  BulkMemory::give(empty, 0);
  for (char* const thing : things) BulkMemory::give(thing, 8);
}

}  // namespace
}  // namespace foldapi
