// tests/base/containers_test.cpp: slots, rows and sets.
#include "base/containers.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace foldapi {
namespace {

class Number : public VObject {
 public:
  explicit Number(int number) : number_(number) {}
  bool isEqual(const VObject* other) const override {
    return static_cast<const Number*>(other)->number_ == number_;
  }
  int32_t hash() const override { return number_ / 3 - 20; }

 private:
  int number_;
};

TEST(ObjectArray, GrowsAtItsSlotsAndFillsTheFirstEmptyOne) {
  VObjArray array;
  EXPECT_EQ(array.size(), 10);
  EXPECT_EQ(array.at(-1), nullptr);
  EXPECT_EQ(array.at(10), nullptr);
  EXPECT_EQ(&array.slot(-5), &array.slot(0));
  EXPECT_EQ(array.add(new VObject), 0);
  array.slot(12) = new VObject;
  EXPECT_EQ(array.size(), 13);
  for (int index = 1; index < 12; ++index) EXPECT_EQ(array.add(new VObject), index);
  EXPECT_EQ(array.add(new VObject), 13);
  array.deleteAll();
  EXPECT_EQ(array.size(), 14);
  EXPECT_EQ(array.at(12), nullptr);
}

TEST(OrderedCollection, RemovesByIdentityAndIsWalkedBothWays) {
  Number one(1), equalToOne(1), two(2);
  VOrdCollect row;
  for (VObject* object : {&one, &equalToOne, &two}) row.add(object);
  EXPECT_EQ(row.remove(&equalToOne), &equalToOne);
  EXPECT_EQ(row.remove(&equalToOne), nullptr);
  VIterator walk(row);
  EXPECT_EQ(walk.current(), &one);
  EXPECT_EQ(walk.next(), &two);
  EXPECT_EQ(walk.next(), nullptr);
  EXPECT_EQ(walk.next(), nullptr);
  EXPECT_EQ(walk.previous(), &two);
  EXPECT_EQ(walk.first(), &one);
  EXPECT_EQ(walk.previous(), nullptr);
  EXPECT_EQ(walk.last(), &two);
  EXPECT_EQ(walk.position(), 1);
}

TEST(Set, KeepsOneOfEachWhileItGrows) {
  std::vector<std::unique_ptr<Number>> numbers;
  VSet set;
  for (int i = 0; i < 200; ++i) {
    numbers.push_back(std::make_unique<Number>(i));
    EXPECT_EQ(set.add(numbers.back().get()), numbers.back().get());
    Number again(i / 2);
    EXPECT_EQ(set.add(&again), nullptr);
  }
  EXPECT_EQ(set.size(), 200);
  for (int i = 0; i < 200; ++i) {
    const Number key(i);
    EXPECT_EQ(set.find(&key), numbers[static_cast<size_t>(i)].get());
    if (i % 2 == 0) {
      EXPECT_TRUE(set.remove(&key));
    }
    EXPECT_EQ(set.contains(&key), i % 2 != 0);
  }
  EXPECT_EQ(set.size(), 100);
}

}  // namespace
}  // namespace foldapi
