// tests/base/vpathstring_test.cpp: the parts of a path value.
#include "base/vpathstring.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace foldapi {
namespace {

TEST(PathString, FallsIntoDirectoryAndFileName) {
  struct Case {
    const char* path;
    const char* directory;
    const char* name;
  };
  const Case cases[] = {
      {"name", "", "name"},
      {"", "", ""},
      {"c:\\dir\\name.c", "c:\\dir", "name.c"},
      {"c:\\name", "c:\\", "name"},
      {"c:name", "c:", "name"},
      {"c:\\", "c:\\", ""},
      {"c:", "c:", ""},
      {"/home/ann", "/home", "ann"},
      {"/home", "/", "home"},
      {"/", "/", ""},
      {"\\\\server\\share\\name", "\\\\server\\share", "name"},
      {"dir/sub\\name", "dir/sub", "name"},
      {"dir\\", "dir", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(VPathString(c.path).directoryPart(), VPathString(c.directory));
    EXPECT_EQ(VPathString(c.path).fileNamePart(), VPathString(c.name));
  }
}

TEST(PathString, JoinsWithTheSeparatorThatIsThere) {
  EXPECT_EQ(VPathString("c:\\dir").join("name"), VPathString("c:\\dir\\name"));
  EXPECT_EQ(VPathString("/home/").join("name"), VPathString("/home/name"));
  EXPECT_EQ(VPathString("").join("name"), VPathString("name"));
}

TEST(PathString, RemovesFilesOnly) {
  const std::string directory = testing::TempDir();
  const VPathString path = VPathString(directory).join("foldapi_vpathstring_test");
  EXPECT_FALSE(path.remove());
  std::fclose(std::fopen(path.text(), "w"));
  EXPECT_TRUE(path.exists());
  EXPECT_TRUE(path.remove());
  EXPECT_FALSE(path.exists());
  EXPECT_FALSE(VPathString(directory).remove());
  EXPECT_TRUE(VPathString(directory).exists());
}

}  // namespace
}  // namespace foldapi
