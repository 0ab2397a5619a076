// tests/core/queuedhash_test.cpp: what a bounded table keeps, and what it deletes.
#include "core/queuedhash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace foldapi {
namespace {

class Tracked : public TVQueuedValue {
 public:
  explicit Tracked(int number) : key(number) { alive.insert(this); }
  ~Tracked() override { alive.erase(this); }

  bool isEqual(const VObject* other) const override {
    return static_cast<const Tracked*>(other)->key == key;
  }
  int32_t hash() const override { return key % 3; }
  uint64_t fingerprint() const override { return static_cast<uint64_t>(key); }

  const int key;
  static inline std::set<const VObject*> alive;
};

// A plain list, oldest first, is taken through the same operations.
TEST(QueuedHash, KeepsWhatWasUsedLastAndDeletesTheRest) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const int capacity = seed % 3 == 0 ? 17 : 1 + static_cast<int>(random() % 40);
    TVQueuedHash table(capacity);
    std::list<VObject*> queue;
    for (int i = 0; i < 2000; ++i) {
      auto* value = new Tracked(static_cast<int>(random() % 60));
      const auto place = std::find_if(queue.begin(), queue.end(),
                                      [&](VObject* other) { return other->isEqual(value); });
      const bool present = place != queue.end();
      VObject* old = present ? *place : nullptr;
      VObject* spare = value;  // Whatever the table doesn't hold at the end.
      switch (random() % 4) {
        case 0:
          ASSERT_EQ(table.add(value), present ? nullptr : value);
          if (!present) queue.push_back(std::exchange(spare, nullptr));
          break;
        case 1:
          ASSERT_EQ(table.set(value), present ? old : value);
          spare = old;
          (present ? *place : queue.emplace_back()) = value;
          break;
        case 2:
          ASSERT_EQ(table.find(value), old);
          if (present) queue.splice(queue.end(), queue, place);
          break;
        default:
          ASSERT_EQ(table.remove(value), old);
          delete old;
          if (present) queue.erase(place);
      }
      delete spare;
      if (static_cast<int>(queue.size()) > capacity) queue.pop_front();
      ASSERT_EQ(table.values(), std::vector<VObject*>(queue.begin(), queue.end()));
      ASSERT_EQ(Tracked::alive, std::set<const VObject*>(queue.begin(), queue.end()));
      ASSERT_EQ(table.capacity(), capacity);
    }
    table.clearAndDelete();
    EXPECT_TRUE(Tracked::alive.empty());
  }
}

TEST(QueuedHash, WalksItsQueueWhileValuesLeaveAndAreFound) {
  TVQueuedHash table;
  std::vector<VObject*> values;
  for (int key = 0; key < 6; ++key) values.push_back(table.add(new Tracked(key)));
  TVIterator walk(table);
  EXPECT_EQ(walk.next(), values[0]);
  EXPECT_EQ(table.find(values[0]), values[0]);
  for (const size_t gone : {0u, 1u, 4u}) delete table.removeIdentical(values[gone]);
  EXPECT_EQ(walk.next(), values[2]);
  auto* twin = new Tracked(3);
  delete table.set(twin);
  EXPECT_EQ(walk.next(), twin);
  EXPECT_EQ(walk.next(), values[5]);
  EXPECT_EQ(walk.next(), nullptr);
  EXPECT_EQ(table.resize(2), 17);
  EXPECT_EQ(table.values(), (std::vector<VObject*>{twin, values[5]}));
  EXPECT_EQ(Tracked::alive.size(), 2u);
  table.clearAndDelete();
}

}  // namespace
}  // namespace foldapi
