// Tests of path text. Each function keeps the separator that it finds, so cases come in both.
#include "runtime/paths.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "runtime/files.h"
#include "support/files.h"
#include "support/table.h"

namespace foldapi {
namespace {

TEST(NormalisePath, ResolvesDotsBelowTheRoot) {
  const auto cases = support::table<2>(R"(
       -> | . -> . | .. -> .. | a\.. -> . | a\..\..\b -> ..\b | ..\..\a -> ..\..\a | \..\a ->
      /a/../.. -> | /a/.. -> / | c:\a\.. -> c:\ | c:\.. -> | c:a\..\.. -> c:.. | c:a\.. -> c:.
      c: -> c: | c:\ -> c:\ | a.\b. -> a\b | a...\..\b -> b | a//b///c/ -> a/b/c | a..b/../c -> c
      a\.\b/c -> a\b\c | \\server\share\..\x -> \\server\x | .hidden/..x -> .hidden/..x
      1:/.. -> . | a/1:/../b -> a/b)");
  for (const auto& [path, want] : cases) EXPECT_EQ(normalisePath(path), want) << path;
}

TEST(RelativePath, CutsTheBaseAtAComponentOnly) {
  const auto cases = support::table<3>(R"(
      c:\x -> C:\X\y\z -> y\z | c:\x -> c:\xy -> c:\xy | c:\x -> c:\x -> | c:\x -> \X\y -> y
      c:\x -> d:\x\y -> d:\x\y | c:\x -> y -> y        | \\srv\share\x -> \share\X\y -> y
      \\srv\share\x -> \\SRV\share\x\y -> y            | /home/ann -> /home/ann/db -> db
      /home/ann -> /home/Ann/db -> /home/Ann/db | /home/ann -> /home/anna -> /home/anna
      -> /home -> /home)");
  for (const auto& [base, path, want] : cases) {
    EXPECT_EQ(relativePath(base, path), want) << base << " and " << path;
  }
}

TEST(PathParts, AreFoundByTheLastDelimiter) {
  const std::pair<const char*, size_t> lengths[] = {
      {"a\\b/c", 4}, {"a/b\\c", 4}, {"c:x", 2}, {"x", 0}, {"", 0}, {"/x", 1}, {"a\\", 2},
  };
  for (const auto& [path, want] : lengths) EXPECT_EQ(pathPartLength(path), want) << path;

  EXPECT_EQ(unifySeparators("a/b\\c/d"), "a/b/c/d");
  EXPECT_EQ(unifySeparators("a\\b/c"), "a\\b\\c");
  for (const char* path : {"c:x", "Z:\\", "\\\\s", "//s"}) {
    EXPECT_TRUE(hasPathPrefix(path)) << path;
  }
  for (const char* path : {"", "x", "1:x", "ab:c"}) EXPECT_FALSE(hasPathPrefix(path)) << path;
  // One separator says so where it is the system's own.
  const bool isSlash = std::filesystem::path::preferred_separator == '/';
  EXPECT_EQ(hasPathPrefix("/x"), isSlash);
  EXPECT_EQ(hasPathPrefix("\\x"), !isSlash);
}

TEST(MakeDirectories, MakesAllButTheLastComponent) {
  const support::TemporaryDirectory directory;
  EXPECT_EQ(makeDirectories("file"), 0);
  EXPECT_EQ(makeDirectories(directory / "a\\b/c/file"), 0);
  EXPECT_TRUE(isDirectory(directory / "a/b/c"));
  EXPECT_FALSE(fileExists(directory / "a/b/c/file"));
  EXPECT_EQ(makeDirectories(directory / "a/b/c/file"), 0) << "they are there";
  support::writeFile(directory / "a/plain", "");
  EXPECT_EQ(makeDirectories(directory / "a/plain/d/file"), -1);
  EXPECT_EQ(makeDirectories("q:\\never\\mapped"), -1);
}

}  // namespace
}  // namespace foldapi
