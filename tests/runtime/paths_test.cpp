// Tests of path text. Each function keeps the separator that it finds, so cases come in both.
#include "runtime/paths.h"

#include <gtest/gtest.h>

#include <optional>

#include "runtime/files.h"
#include "support/files.h"

namespace foldapi {
namespace {

TEST(NormalisePath, ResolvesDotsBelowTheRoot) {
  const char* const cases[][2] = {
      {"", ""},
      {".", "."},
      {"..", ".."},
      {"a\\..", "."},
      {"a\\..\\..\\b", "..\\b"},
      {"..\\..\\a", "..\\..\\a"},
      {"\\..\\a", ""},
      {"/a/../..", ""},
      {"/a/..", "/"},
      {"c:\\a\\..", "c:\\"},
      {"c:\\..", ""},
      {"c:a\\..\\..", "c:.."},
      {"c:a\\..", "c:."},
      {"c:", "c:"},
      {"c:\\", "c:\\"},
      {"a.\\b.", "a\\b"},
      {"a...\\..\\b", "b"},
      {"a//b///c/", "a/b/c"},
      {"a\\.\\b/c", "a\\b\\c"},
      {"\\\\server\\share\\..\\x", "\\\\server\\x"},
      {"/home/ann/./db", "/home/ann/db"},
      {"a..b/../c", "c"},
      {".hidden/..x", ".hidden/..x"},
  };
  for (const auto& [path, want] : cases) EXPECT_EQ(normalisePath(path), want) << path;
}

TEST(JoinPath, AddsOneSeparatorOfTheOperands) {
  const char* const cases[][3] = {
      {"c:\\x", "y", "c:\\x\\y"},
      {"c:\\x", "d:\\y", "d:\\y"},
      {"c:", "y", "c:y"},
      {"x", "y", "x/y"},
      {"x", "y\\z", "x\\y\\z"},
      {"/x", "y\\z", "/x/y\\z"},
      {"x\\", "y", "x\\y"},
      {"x", "\\y", "x\\y"},
      {"", "y", "y"},
      {"x", "", "x"},
      {"/x", "/y", "/y"},
      {"x", "\\\\s\\h", "\\\\s\\h"},
      {"x", "//s/h", "//s/h"},
  };
  for (const auto& [dir, name, want] : cases) {
    EXPECT_EQ(joinPath(dir, name), want) << dir << " and " << name;
  }
}

TEST(BuildPath, ReplacesDirectoryAndExtension) {
  struct Case {
    std::optional<std::string> dir;
    const char* name;
    std::optional<std::string> extension;
    const char* want;
  };
  const Case cases[] = {
      {std::nullopt, "a\\b.c", "h", "a\\b.h"},
      {"d", "a\\b.c", std::nullopt, "d\\b.c"},
      {"d\\", "b", "prj", "d\\b.prj"},
      {"d", "b.tar.gz", "", "d/b.tar"},
      {std::nullopt, ".profile", std::nullopt, ".profile"},
      {std::nullopt, "b.", std::nullopt, "b"},
      {"", "b.c", std::nullopt, "b.c"},
      {"a/b\\..", "x.y", std::nullopt, "a/x.y"},
      {"c:", "x", "y", "c:x.y"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(buildPath(c.dir ? &*c.dir : nullptr, c.name, c.extension ? &*c.extension : nullptr),
              c.want)
        << c.name;
  }
}

TEST(RelativePath, CutsTheBaseAtAComponentOnly) {
  const char* const cases[][3] = {
      {"c:\\x", "C:\\X\\y\\z", "y\\z"},
      {"c:\\x", "c:\\xy", "c:\\xy"},
      {"c:\\x", "c:\\x", ""},
      {"c:\\x", "\\X\\y", "y"},
      {"c:\\x", "d:\\x\\y", "d:\\x\\y"},
      {"c:\\x", "y", "y"},
      {"\\\\srv\\share\\x", "\\share\\X\\y", "y"},
      {"\\\\srv\\share\\x", "\\\\SRV\\share\\x\\y", "y"},
      {"/home/ann", "/home/ann/db", "db"},
      {"/home/ann", "/home/Ann/db", "/home/Ann/db"},
      {"/home/ann", "/home/anna", "/home/anna"},
      {"", "/home", "/home"},
  };
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
  EXPECT_EQ(limitToShortName("d.ir\\longbasename.text"), "d.ir\\longbase.tex");
  EXPECT_EQ(limitToShortName("short.c"), "short.c");
  for (const char* path : {"c:x", "Z:\\", "\\\\s", "//s", "/x"}) {
    EXPECT_TRUE(hasPathPrefix(path)) << path;
  }
  for (const char* path : {"", "x", "\\x", "1:x", "ab:c"})
    EXPECT_FALSE(hasPathPrefix(path)) << path;
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
