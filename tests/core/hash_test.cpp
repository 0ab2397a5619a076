// tests/core/hash_test.cpp: TVHash against linked chains, and the work that it does; what a bounded
// table keeps, and what it deletes.
#include "core/hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <deque>
#include <list>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/linkedhash.h"
#include "core/queuedhash.h"
#include "os/fingerprint.h"

namespace foldapi {
namespace {

// How keys of a run hash, and how good their fingerprints are.
struct KeyRule {
  int hashes;        // Number of different hash values,
  int lowestHash;    // from this one on.
  int fingerprints;  // Number of different fingerprints, 0 for good ones.
};

class TestValue : public VObject {
 public:
  TestValue(int number, const KeyRule& keyRule) : key(number), rule(keyRule) {}

  bool isEqual(const VObject* other) const override {
    ++asked;
    return static_cast<const TestValue*>(other)->key == key;
  }
  int32_t hash() const override {
    ++asked;
    return key % rule.hashes + rule.lowestHash;
  }
  uint64_t fingerprint() const override {
    ++asked;
    const auto number = static_cast<uint64_t>(key);
    return rule.fingerprints == 0 ? os::mixBits(number, ~number)
                                  : number % uint64_t(rule.fingerprints);
  }

  int key;
  const KeyRule& rule;
  static inline int64_t asked = 0;
};

// A real fault: after one word everything before it was forgotten, so chosen names met in one tag.
TEST(Fingerprints, RememberWhatStandsBeforeAnyWord) {
  const std::string word = "\x93\xfd\x59\x66\xb8\xfe\xe8\xd6";
  EXPECT_NE(os::fingerprintText("project1" + word, 0), os::fingerprintText("project2" + word, 0));
}

// One table and its twin, taken through the same random operations.
class TwinRun {
 public:
  using Match = LinkedHash::Match;

  TwinRun(unsigned seed, const KeyRule& rule) : random_(seed), rule_(rule) {
    const int keys = std::array{12, 40, 150, 700}[seed % 4];
    for (int copy = 0; copy < 2; ++copy) {
      for (int key = 0; key < keys; ++key) {
        values_.push_back(std::make_unique<TestValue>(key, rule_));
      }
    }
  }

  void run(int steps) {
    for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i) {
      SCOPED_TRACE("step " + std::to_string(i));
      // Phases that mostly add, then mostly remove, so that tables fill and empty.
      const bool filling = i / 400 % 2 == 0;
      step(below(100), filling);
      ASSERT_EQ(table_.size(), twin_.count);
      ASSERT_EQ(table_.capacity(), twin_.bucketCount());
      ASSERT_EQ(table_.statistics(), twin_.statistics);
      if (i % 16 == 0) {
        ASSERT_EQ(table_.values(), twin_.values());
      }
    }
  }

  int deepestGrowth() const { return twin_.deepestGrowth; }

 private:
  struct TwinWalk {
    std::unique_ptr<TVIterator> iterator;
    std::unique_ptr<LinkedHash::Walk> walk;
    TestValue* given = nullptr;
  };

  int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  TestValue* any() { return values_[random_() % values_.size()].get(); }

  void step(int choice, bool filling) {
    TestValue* value = any();
    TestValue* other = any();
    if (choice < 30) {
      if (filling && choice < 15) {
        ASSERT_EQ(table_.add(value), twin_.add(value));
      } else if (filling) {
        ASSERT_EQ(table_.findOrAdd(value), twin_.findOrAdd(value));
      } else {
        ASSERT_EQ(table_.remove(value), twin_.remove(value, Match::kEqual));
      }
    } else if (choice < 40) {
      ASSERT_EQ(table_.removeIdentical(value), twin_.remove(value, Match::kIdentical));
    } else if (choice < 50) {
      ASSERT_EQ(table_.find(value), twin_.find(value, Match::kEqual));
    } else if (choice < 55) {
      ASSERT_EQ(table_.findIdentical(value), twin_.find(value, Match::kIdentical));
    } else if (choice < 60) {
      ASSERT_EQ(table_.set(value), twin_.set(value));
    } else if (choice < 63) {
      ASSERT_EQ(table_.replace(value, other), twin_.replace(value, other, Match::kEqual));
    } else if (choice < 66) {
      ASSERT_EQ(table_.replaceIdentical(value, other),
                twin_.replace(value, other, Match::kIdentical));
    } else if (choice < 72) {
      changeKey(value);
    } else if (choice < 74) {
      removeRun();
    } else if (choice == 74) {
      rarely();
    } else if (choice < 80 && filling) {
      addRun();
    } else {
      stepWalks();
    }
  }

  // Two values may become equal by this: the one nearer to the start of the chain is found then.
  void changeKey(TestValue* value) {
    const uint64_t before = value->fingerprint();
    value->key = value->key % rule_.hashes + rule_.hashes * below(20);
    table_.rekey(value, before);
  }

  void addRun() {
    for (int i = below(60); i > 0; --i) {
      TestValue* value = any();
      ASSERT_EQ(table_.add(value), twin_.add(value));
    }
  }

  // Removes many values along the table, from either end or in any order.
  void removeRun() {
    std::vector<VObject*> doomed = twin_.values();
    const int order = below(3);
    if (order == 0) std::reverse(doomed.begin(), doomed.end());
    if (order == 1) std::shuffle(doomed.begin(), doomed.end(), random_);
    doomed.resize(doomed.size() / static_cast<size_t>(1 + below(4)));
    if (below(2) == 0) table_.expectRemovals();
    for (VObject* value : doomed) {
      ASSERT_EQ(table_.removeIdentical(value), twin_.remove(value, Match::kIdentical));
      TestValue* other = any();
      ASSERT_EQ(table_.find(other), twin_.find(other, Match::kEqual));
    }
  }

  void rarely() {
    switch (below(6)) {
      case 0:
        table_.clear();
        twin_.clear();
        break;
      case 1: {
        const int size = below(3) == 0 ? table_.capacity() : below(300) - 5;
        ASSERT_EQ(table_.resize(size), twin_.resize(size));
        break;
      }
      default:  // Enough lookups to have the counts halved, if chains are short.
        for (int i = 0; i < 4000; ++i) {
          TestValue* value = any();
          ASSERT_EQ(table_.find(value), twin_.find(value, Match::kEqual));
        }
    }
  }

  void stepWalks() {
    const int choice = below(10);
    if (choice == 0 && walks_.size() < 3) {
      TwinWalk& walk = walks_.emplace_back();
      walk.iterator = std::make_unique<TVIterator>(table_);
      walk.walk = std::make_unique<LinkedHash::Walk>();
      twin_.begin(walk.walk.get());
      twin_.walks.push_back(walk.walk.get());
    }
    if (walks_.empty()) return;
    const size_t index = random_() % walks_.size();
    TwinWalk& walk = walks_[index];
    if (choice == 1) {
      std::erase(twin_.walks, walk.walk.get());
      walks_.erase(walks_.begin() + static_cast<std::ptrdiff_t>(index));
    } else if (choice == 2) {
      walk.iterator->rewind();
      twin_.begin(walk.walk.get());
    } else if (choice == 3 && walk.given != nullptr) {
      ASSERT_EQ(table_.removeIdentical(walk.given), twin_.remove(walk.given, Match::kIdentical));
    } else {
      walk.given = static_cast<TestValue*>(walk.iterator->next());
      ASSERT_EQ(walk.given, twin_.next(walk.walk.get()));
    }
  }

  std::mt19937 random_;
  KeyRule rule_;
  std::vector<std::unique_ptr<TestValue>> values_;
  TVHash table_;
  LinkedHash twin_;
  std::vector<TwinWalk> walks_;
};

TEST(Hash, CantBeToldFromLinkedChains) {
  const KeyRule rules[] = {
      {1, 0, 0}, {3, 0, 0}, {40, 30, 0}, {40, -20, 0}, {9973, 0, 0}, {40, 0, 1}, {7, 100, 5},
  };
  int deepestGrowth = 0;
  for (unsigned seed = 1; seed <= 105; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TwinRun run(seed, rules[seed % std::size(rules)]);
    run.run(2500);
    ASSERT_FALSE(HasFailure());
    deepestGrowth = std::max(deepestGrowth, run.deepestGrowth());
  }
  // Growth inside a growth is what makes the order hard to get right: the runs must have met it.
  EXPECT_GE(deepestGrowth, 3);
}

// A table of each size has grown as its twin, and loses a few as a walk meets them, some expected.
TEST(Hash, CantBeToldFromLinkedChainsAtAnySize) {
  const KeyRule rule = {60, 0, 0};
  std::deque<TestValue> values;
  TVHash table;
  LinkedHash twin;
  for (int size = 0; size < 4000 && !HasFailure(); ++size) {
    SCOPED_TRACE(size);
    if (size % 3 == 0) table.expectRemovals();
    std::vector<VObject*> removed;
    for (TVIterator walk(table); removed.size() < 3;) {
      VObject* const value = walk.next();
      if (value == nullptr) break;
      LinkedHash::Walk twinWalk{};  // The twin doesn't grow either.
      twin.walks = {&twinWalk};
      ASSERT_EQ(table.removeIdentical(value), twin.remove(value, LinkedHash::Match::kIdentical));
      twin.walks.clear();
      removed.push_back(value);
    }
    removed.push_back(&values.emplace_back(size, rule));
    for (VObject* value : removed) {
      ASSERT_EQ(table.findOrAdd(value), twin.findOrAdd(value));
      TestValue equal(static_cast<TestValue*>(value)->key, rule);
      ASSERT_EQ(table.findOrAdd(&equal), twin.findOrAdd(&equal));
    }
    ASSERT_EQ(table.statistics(), twin.statistics);
    ASSERT_EQ(table.capacity(), twin.bucketCount());
    if (size % 16 == 0) {
      ASSERT_EQ(table.values(), twin.values());
    }
  }
  EXPECT_GT(table.capacity(), TVHash::kDefaultBuckets);
}

// Values as the archives of a project are: nearly all share a few dozen hash values. Counts what
// the table asks of them, which stands for the entries touched: nothing else leads from one to
// another.
TEST(Hash, AsksAsMuchOfEachEntryOfALargeTableAsOfASmallOne) {
  for (const int count : {1000, 10000, 100000}) {
    SCOPED_TRACE(count);
    const KeyRule rule = {60, 0, 0};
    std::vector<std::unique_ptr<TestValue>> names;
    for (int i = 0; i < count; ++i) names.push_back(std::make_unique<TestValue>(i, rule));
    TVHash table;
    const auto expectAsked = [count](int64_t timesEach) {
      EXPECT_LE(std::exchange(TestValue::asked, 0), count * timesEach + count / 10);
    };
    TestValue::asked = 0;
    for (const auto& name : names) ASSERT_EQ(table.findOrAdd(name.get()), name.get());
    expectAsked(4);  // Hash and fingerprint of the find and of the add. Growth asks for nothing.
    for (const auto& name : names) ASSERT_EQ(table.find(name.get()), name.get());
    expectAsked(3);
    // One half from the end on, the other from the start on, each as walks meet the entries.
    const std::vector<VObject*> order = table.values();
    for (size_t i = order.size(); i > order.size() / 2; --i) table.remove(order[i - 1]);
    TVIterator walk(table);
    while (VObject* value = walk.next()) table.remove(value);
    expectAsked(3);
    EXPECT_TRUE(table.isEmpty());
  }
}

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

}  // namespace
}  // namespace foldapi
