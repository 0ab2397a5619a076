// tests/base/vobject_test.cpp: class records.
#include "base/vobject.h"

#include <gtest/gtest.h>

namespace foldapi {
namespace {

const VClassRecord theFirst = {"c", &VObject::theClass, 1, nullptr};
const VClassRecord theSecond = {"c", &theFirst, 2, nullptr};

class Second : public VObject {
 public:
  const VClassRecord* isA() const override { return &theSecond; }
};

TEST(Object, IsKindOfItsRecordAndThoseAbove) {
  const Second object;
  EXPECT_TRUE(object.isKindOf(&theSecond));
  EXPECT_TRUE(object.isKindOf(&theFirst));
  EXPECT_TRUE(object.isKindOf(&VObject::theClass));
  EXPECT_FALSE(VObject().isKindOf(&theFirst));
  // The name is no key.
  const VClassRecord third = {"c", &VObject::theClass, 3, nullptr};
  EXPECT_FALSE(object.isKindOf(&third));
}

}  // namespace
}  // namespace foldapi
