// tests/base/values_test.cpp: texts of any length and without bytes, and the parts of paths.
#include <gtest/gtest.h>

#include "base/vpathstring.h"
#include "support/table.h"

namespace foldapi {
namespace {

TEST(String, ToleratesNullsAndLosesTheBlanksAtItsEnd) {
  VString text(static_cast<const char*>(nullptr));
  EXPECT_STREQ(text.text(), "");
  EXPECT_FALSE(text.trimRight());
  text = "ab \t\r\n";
  VString copy = text;
  EXPECT_TRUE(text.trimRight());
  EXPECT_EQ(copy.length(), 6u);
  EXPECT_EQ(text, VString("ab"));
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

}  // namespace
}  // namespace foldapi
