// Tests of text data files: their text, their sharing, and that no moment shows half a change.
#include "runtime/textfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "os/systemcalls.h"
#include "support/childprocess.h"
#include "support/files.h"

namespace foldapi {
namespace {

using os_test::Call;
using os_test::SystemCalls;
using support::escaped;
using Access = TextFile::Access;
using Failure = TextFile::Failure;

class TextFileTest : public testing::Test {
 protected:
  // The reason why an open failed, kNone if it worked.
  Failure tryOpen(Access access) const {
    Failure failure = Failure::kNone;
    TextFile::open(path_, access, &failure);
    return failure;
  }
  std::unique_ptr<TextFile> open(Access access) const {
    Failure failure;
    return TextFile::open(path_, access, &failure);
  }
  void write(std::string_view bytes) const { support::writeFile(path_, bytes); }
  std::string bytes() const { return support::readFile(path_); }
  // Nothing but the data file is in the directory.
  bool isAlone() const { return support::entryCount(directory_.path()) == 1; }

  const support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "trvsfold.pub";
};

TEST_F(TextFileTest, ReadsEitherLineEndAndWritesOne) {
  const struct {
    const char* why;
    std::string disk, text, written;
  } cases[] = {
      {"empty", "", "", ""},
      {"CR LF", "a\r\nb\r\n", "a\nb\n", "a\r\nb\r\n"},
      {"LF", "a\nb\n", "a\nb\n", "a\r\nb\r\n"},
      {"mixed, last line open", "a\r\n\nb", "a\n\nb", "a\r\n\r\nb"},
      {"lone CRs are text", "\ra\r\r\nb\r", "\ra\r\nb\r", "\ra\r\r\nb\r"},
      {"all bytes are text", std::string("\x1a\0\xfc\r\n", 5), std::string("\x1a\0\xfc\n", 4),
       std::string("\x1a\0\xfc\r\n", 5)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    write(c.disk);
    const auto file = open(Access::kUpdate);
    ASSERT_TRUE(file);
    const std::string text(file->text());
    EXPECT_EQ(escaped(text), escaped(c.text));
    EXPECT_FALSE(file->isChanged());
    file->clear();
    file->append(text);
    EXPECT_EQ(escaped(bytes()), escaped(c.disk)) << "before the commit";
    EXPECT_TRUE(file->commit());
    EXPECT_EQ(escaped(bytes()), escaped(c.written));
    EXPECT_FALSE(file->isChanged());
  }
}

TEST_F(TextFileTest, KeepsLinkAndHoldThroughARewrite) {
  write("old\r\n");
  const std::string link = directory_ / "link";
  std::filesystem::create_symlink("trvsfold.pub", link);
  Failure failure;
  const auto file = TextFile::open(link, Access::kUpdate, &failure);
  ASSERT_TRUE(file);
  file->clear();
  file->append("new\n");
  ASSERT_TRUE(file->commit());
  EXPECT_EQ(bytes(), "new\r\n");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kBusy) << "the new file is held as the old one was";
  EXPECT_EQ(support::inProcess([this] { return tryOpen(Access::kUpdate) != Failure::kBusy; }), 0);
}

TEST_F(TextFileTest, IsMadeIfThereIsNone) {
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kMissing);
  EXPECT_TRUE(TextFile::create(path_));
  EXPECT_TRUE(TextFile::create(path_)) << "it is there";
  EXPECT_TRUE(TextFile::create(directory_ / "TRVSFOLD.PUB"));
  EXPECT_TRUE(isAlone()) << "and in another case is still the same";
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kNone);
  EXPECT_FALSE(TextFile::create(directory_ / "no/such/directory"));
  ASSERT_EQ(::chmod(path_.c_str(), 0444), 0);
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kRefused) << "to root, too";
}

TEST_F(TextFileTest, LetsAReaderWriteIfNothingHappenedSince) {
  write("a\n");
  auto file = open(Access::kProbe);
  ASSERT_TRUE(file);
  file->append("b\n");
  EXPECT_FALSE(file->failed());
  EXPECT_TRUE(file->commit());
  EXPECT_EQ(bytes(), "a\nb\r\n");
  EXPECT_EQ(tryOpen(Access::kRead), Failure::kBusy) << "it is an updater now";
  file = nullptr;

  file = open(Access::kRead);
  auto other = open(Access::kRead);
  file->append("c\n");
  EXPECT_TRUE(file->failed()) << "another reader is in the way";
  other = nullptr;
  for (const char* now : {"A\r\n", "another\n"}) {  // Of the same size; of the same time.
    write("a\r\n");
    file = open(Access::kRead);
    const auto time = std::filesystem::last_write_time(path_);
    write(now);
    const auto later = std::chrono::seconds(bytes().size() == 3 ? 1 : 0);
    std::filesystem::last_write_time(path_, time + later);
    EXPECT_EQ(file->text(), "a\n");
    file->clear();
    EXPECT_TRUE(file->failed()) << now;
    EXPECT_FALSE(file->commit());
    EXPECT_EQ(bytes(), now);
  }
}

TEST_F(TextFileTest, RefusesToCommitToAFileThatIsNoLongerThere) {
  write("a\n");
  const auto file = open(Access::kUpdate);
  std::filesystem::rename(path_, path_ + ".old");
  write("theirs\n");
  file->append("b\n");
  EXPECT_FALSE(file->commit());
  EXPECT_TRUE(file->failed());
  EXPECT_EQ(bytes(), "theirs\n");
  EXPECT_EQ(support::readFile(path_ + ".old"), "a\n");
}

TEST_F(TextFileTest, IsReadButNotUpdatedWhereThereAreNoLocks) {
  write("a\r\n");
  for (const int error : {ENOLCK, ENOSYS, EOPNOTSUPP}) {
    bool isDone = false;
    const SystemCalls calls([&](const Call& call) {
      // Meanwhile another program writes to it.
      if (call.name == "pread" && !std::exchange(isDone, true)) write(bytes() + "b\r\n");
      return call.name == "flock" ? error : 0;
    });
    const std::string before = bytes();
    const auto file = open(Access::kRead);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->text().size(), before.size() / 3 * 2 + 2);
    file->append("c\n");
    EXPECT_TRUE(file->failed());
    EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kNoLocks);
    EXPECT_TRUE(isAlone());
  }
}

// A read that ends early doesn't make the rest go with the next rewrite.
TEST_F(TextFileTest, IsNotReadInPart) {
  for (const int error : {0, EIO, ESTALE}) {
    write("one\r\ntwo\r\n");
    int count = 0;
    const SystemCalls calls([&](const Call& call) {
      if (call.name != "pread" || ++count > 1) return 0;
      if (error == 0) std::filesystem::resize_file(path_, 5);
      return error;
    });
    const auto file = open(Access::kUpdate);
    EXPECT_EQ(file != nullptr, error == ESTALE);
    if (file != nullptr) {
      EXPECT_EQ(file->text(), "one\ntwo\n");
    }
  }
}

}  // namespace
}  // namespace foldapi
