// tests/base/vpathstring_test.cpp: the parts of a path value.
#include "base/vpathstring.h"

#include <gtest/gtest.h>

#include "support/files.h"
#include "support/table.h"

namespace foldapi {
namespace {

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

TEST(PathString, JoinsWithTheSeparatorThatIsThere) {
  EXPECT_EQ(VPathString("c:\\dir").join("name"), VPathString("c:\\dir\\name"));
  EXPECT_EQ(VPathString("/home/").join("name"), VPathString("/home/name"));
  EXPECT_EQ(VPathString("").join("name"), VPathString("name"));
}

TEST(PathString, RemovesFilesOnly) {
  const support::TemporaryDirectory directory;
  const VPathString path = directory / "file";
  EXPECT_FALSE(path.remove());
  support::writeFile(directory / "file", "");
  EXPECT_TRUE(path.exists());
  EXPECT_TRUE(path.remove());
  EXPECT_FALSE(path.exists());
  EXPECT_FALSE(VPathString(directory.path()).remove());
  EXPECT_TRUE(VPathString(directory.path()).exists());
}

}  // namespace
}  // namespace foldapi
