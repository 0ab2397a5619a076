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

}  // namespace
}  // namespace foldapi
