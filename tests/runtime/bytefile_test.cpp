// Tests of files by bytes, and of files replaced whole.
#include "runtime/bytefile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "runtime/child_process.h"
#include "support/files.h"
#include "support/sizelimit.h"

namespace foldapi {
namespace {

TEST(ReplaceFile, KeepsModeAndMakesWhatIsMissing) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "f";
  EXPECT_TRUE(replaceFile(path, "new"));
  struct stat status;
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  const mode_t mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(status.st_mode & 07777, 0666 & ~mask);
  ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
  EXPECT_TRUE(replaceFile(directory / "F", std::string("a\0b\r\n", 5)));
  EXPECT_EQ(support::readFile(path), std::string("a\0b\r\n", 5));
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  ASSERT_EQ(::chmod(path.c_str(), 0400), 0);
  EXPECT_FALSE(replaceFile(path, "refused"));
  EXPECT_EQ(support::readFile(path).size(), 5u);
  EXPECT_FALSE(replaceFile(directory / "no/such/place", ""));
  EXPECT_FALSE(replaceFile(directory.path(), ""));
}

// Nobody locks the file here, so writers meet at the sibling; it must neither mix nor stay.
TEST(ReplaceFile, GivesOneOfTheTextsWhenSeveralWriteAtOnce) {
  constexpr int kWriters = 3, kRounds = 40;
  const support::TemporaryDirectory directory;
  const std::string path = directory / "f";
  support::writeFile(path, std::string(5000, 'a'));
  std::vector<std::unique_ptr<ChildProcess>> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(std::make_unique<ChildProcess>([&, writer](ChildProcess&) {
      const std::string text(static_cast<size_t>(5000 + writer), static_cast<char>('a' + writer));
      for (int i = 0; i < kRounds; ++i) {
        if (!replaceFile(path, text)) return 1;
      }
      return 0;
    }));
  }
  for (int i = 0; i < 500; ++i) {
    const std::string text = support::readFile(path);
    ASSERT_GE(text.size(), 5000u);
    ASSERT_EQ(text, std::string(text.size(), text[0]));
  }
  for (const auto& writer : writers) EXPECT_EQ(writer->finish(), 0);
  EXPECT_EQ(support::entryCount(directory.path()), 1);
}

}  // namespace
}  // namespace foldapi
