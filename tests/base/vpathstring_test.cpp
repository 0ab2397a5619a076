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

}  // namespace
}  // namespace foldapi
