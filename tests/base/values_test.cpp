// tests/base/values_test.cpp: texts of any length and without bytes, the parts of paths, and rows.
#include <gtest/gtest.h>

#include "base/containers.h"
#include "base/vpathstring.h"
#include "support/table.h"

namespace foldapi {
namespace {

TEST(String, ToleratesNullsAndIndexesOutOfRange) {
  VString text(static_cast<const char*>(nullptr));
  EXPECT_STREQ(text.text(), "");
  EXPECT_FALSE(text.trimRight());
  text = "ab \t\r\n";
  VString copy = text;
  EXPECT_TRUE(text.trimRight());
  EXPECT_EQ(copy.length(), 6u);
  text.setCharAt(-1, 'x');
  text.setCharAt(2, 'x');
  text.setCharAt(1, 'x');
  EXPECT_EQ(text, VString("ax"));
  EXPECT_EQ(text.charAt(2), 0xff);
  EXPECT_FALSE(VString(" \t").trimRight());
}

TEST(PathString, FallsIntoDirectoryAndFileName) {
  const auto cases = support::table<3>(R"(
      name -> -> name | -> ->        | c:\dir\name.c -> c:\dir -> name.c | c:\name -> c:\ -> name
      c:name -> c: -> name           | c:\ -> c:\ ->   | c: -> c: ->     | /home/ann -> /home -> ann
      /home -> / -> home | / -> / -> | dir/sub\name -> dir/sub -> name   | dir\ -> dir ->
      \\server\share\name -> \\server\share -> name | 12:30 a. -> -> 12:30 a.
      1:/x -> 1: -> x)");
  for (const auto& [path, directory, name] : cases) {
    EXPECT_EQ(VPathString(path).directoryPart(), VPathString(directory)) << path;
    EXPECT_EQ(VPathString(path).fileNamePart(), VPathString(name)) << path;
  }
}

class Number : public VObject {
 public:
  explicit Number(int number) : number_(number) {}
  bool isEqual(const VObject* other) const override {
    return static_cast<const Number*>(other)->number_ == number_;
  }
  int32_t hash() const override { return number_; }

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
