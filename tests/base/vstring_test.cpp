// tests/base/vstring_test.cpp: texts of any length and without bytes.
#include "base/vstring.h"

#include <gtest/gtest.h>

#include <string>

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

}  // namespace
}  // namespace foldapi
