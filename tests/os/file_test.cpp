// Tests of open files: what is opened, held, read and added to, and of the places files are in.
#include "os/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "os/directory.h"
#include "os/systemcalls.h"
#include "support/files.h"
#include "support/limits.h"
#include "support/table.h"

namespace os {
namespace {

using os_test::Call;
using os_test::SystemCalls;

class FileTest : public testing::Test {
 protected:
  void SetUp() override { support::writeFile(path_, "old"); }
  // As another process does that puts a new file in the old one's place.
  void putAnother() const {
    support::writeFile(path_ + "2", "another");
    std::filesystem::rename(path_ + "2", path_);
  }

  const support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "f";
  File file_;
};

TEST_F(FileTest, OpensRegularFilesOnlyAndNeverWaits) {
  const std::string pipe = directory_ / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::filesystem::create_symlink("f", directory_ / "link");
  std::filesystem::create_symlink("none", directory_ / "dangling");
  for (const File::Access access : {File::Access::kRead, File::Access::kUpdate}) {
    EXPECT_EQ(file_.open(path_.c_str(), access), FileResult::kDone);
    EXPECT_EQ(file_.open((directory_ / "link").c_str(), access), FileResult::kDone);
    EXPECT_EQ(file_.open((directory_ / "dangling").c_str(), access), FileResult::kMissing);
    EXPECT_EQ(file_.open((path_ + "/x").c_str(), access), FileResult::kMissing);
    EXPECT_EQ(file_.open(directory_.path().c_str(), access), FileResult::kRefused);
    EXPECT_EQ(file_.open(pipe.c_str(), access), FileResult::kRefused);
    EXPECT_FALSE(file_.isOpen());
  }
  std::filesystem::create_symlink("round", directory_ / "round");
  EXPECT_EQ(file_.openLocked((directory_ / "round").c_str()), FileResult::kRefused);
}

// What is locked must be what has the name, even if another file came between open and lock.
TEST_F(FileTest, HoldsTheFileThatHasTheName) {
  {
    bool isDone = false;
    const SystemCalls calls([&](const Call& call) {
      if (call.name == "flock" && !std::exchange(isDone, true)) putAnother();
      return 0;
    });
    ASSERT_EQ(file_.openLocked(path_.c_str()), FileResult::kDone);
  }
  EXPECT_EQ(file_.size(), 7u);
  File other;
  EXPECT_EQ(other.openLocked(path_.c_str()), FileResult::kBusy);
  EXPECT_TRUE(file_.confirm());
  putAnother();
  EXPECT_FALSE(file_.confirm());
  EXPECT_FALSE(file_.confirm(path_.c_str()));
  EXPECT_EQ(other.openLocked(path_.c_str()), FileResult::kDone);
  std::filesystem::create_symlink("f", directory_ / "link");
  EXPECT_TRUE(other.confirm((directory_ / "link").c_str()));
  other.close();
  const SystemCalls readOnly([](const Call& call) {
    return call.name == "open" && (call.flags & O_RDWR) != 0 ? EACCES : 0;
  });
  EXPECT_EQ(other.openLocked(path_.c_str()), FileResult::kRefused) << "not to be updated";
}

// After a lock the server is asked, and the name looked up anew.
TEST_F(FileTest, AsksTheServerWhatOthersMayHaveChanged) {
  ASSERT_EQ(file_.open(path_.c_str(), File::Access::kUpdate), FileResult::kDone);
  support::writeFile(path_, "grown by another");
  const auto countsAsAsked = [](const Call& call) {
    return call.name == "statx" && (call.flags & AT_STATX_FORCE_SYNC) == 0 ? EIO : 0;
  };
  const SystemCalls calls(countsAsAsked);
  EXPECT_TRUE(file_.append(", and on"));
  EXPECT_EQ(calls.log("statx pwrite"), "statx f, pwrite f");
  EXPECT_EQ(support::readFile(path_), "grown by another, and on");
  EXPECT_TRUE(file_.confirm());
  EXPECT_EQ(file_.size(), 24u);
  EXPECT_TRUE(fileMark(path_.c_str()).has_value());
  EXPECT_EQ(calls.log("open statx pwrite"), "statx f, pwrite f, statx f, statx f");
  {
    const SystemCalls network(
        [&](const Call& call) { return call.name == "fstatfs" ? EIO : countsAsAsked(call); });
    EXPECT_TRUE(file_.confirm());
    EXPECT_EQ(network.log("open statx"), "open f, statx f") << "a file system of unknown kind";
  }
  for (const int error : {ENOSYS, EPERM}) {  // As old systems and narrow containers answer.
    const SystemCalls none([=](const Call& call) { return call.name == "statx" ? error : 0; });
    EXPECT_TRUE(file_.refresh());
    EXPECT_TRUE(file_.confirm());
  }
}

// A real fault: a mode was read by path and set by path, and went to another file, all bits of it.
TEST_F(FileTest, GivesAModeToTheFileItCameFrom) {
  ASSERT_EQ(::chmod(path_.c_str(), 04755), 0);
  EXPECT_EQ(setWritable(path_.c_str(), false), FileResult::kDone);
  struct stat status {};
  EXPECT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0555u);
  const SystemCalls calls([&](const Call& call) {
    if (call.name == "fchmod") putAnother();
    return 0;
  });
  EXPECT_EQ(setWritable(path_.c_str(), true), FileResult::kDone);
  EXPECT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0111, 0u);
}

TEST_F(FileTest, MovesToANameThatNobodyHas) {
  const std::string to = directory_ / "to";
  for (const int error : {0, EINVAL}) {  // The second: of a file system that can't ask and rename.
    const SystemCalls calls([=](const Call& call) { return call.name == "renameat2" ? error : 0; });
    support::writeFile(path_, "moved");
    EXPECT_EQ(moveFile(path_, to), FileResult::kDone);
    EXPECT_FALSE(hasEntry(path_.c_str()));
    support::writeFile(path_, "other");
    EXPECT_EQ(moveFile(path_, to), FileResult::kExists);
    EXPECT_EQ(support::readFile(path_) + support::readFile(to), "othermoved");
    std::filesystem::remove(to);
  }
}

TEST_F(FileTest, AppendsAllOrNothing) {
  ASSERT_EQ(file_.open(path_.c_str(), File::Access::kUpdate), FileResult::kDone);
  {
    const support::SizeLimit full(5);
    EXPECT_FALSE(file_.append("more"));
  }
  EXPECT_EQ(support::readFile(path_), "old");
  const auto isOld = [](std::string_view start) { return start == "old"; };
  EXPECT_EQ(appendToFile(path_.c_str(), "er", isOld), FileResult::kDone);
  EXPECT_EQ(appendToFile(path_.c_str(), "er", isOld), FileResult::kRefused);
  EXPECT_EQ(support::readFile(path_), "older");
}

TEST_F(FileTest, ReadsAllOrFails) {
  std::string text = "untouched";
  EXPECT_EQ(readFile(path_.c_str(), 2, &text), FileResult::kTooLarge);
  {
    const SystemCalls calls([](const Call& call) { return call.name == "pread" ? EIO : 0; });
    EXPECT_EQ(readFile(path_.c_str(), 3, &text), FileResult::kFailed);
  }
  EXPECT_EQ(text, "untouched");
  // The file is written where it stands, longer or shorter, just before it is read.
  for (const char* now : {"longer than it was", "no"}) {
    support::writeFile(path_, "old");
    bool isDone = false;
    const SystemCalls calls([&](const Call& call) {
      if (call.name == "pread" && !std::exchange(isDone, true)) support::writeFile(path_, now);
      return 0;
    });
    FileStatus status;
    EXPECT_EQ(readFile(path_.c_str(), 100, &text, &status), FileResult::kDone);
    EXPECT_EQ(text, now);
    EXPECT_EQ(status.size, text.size());
  }
}

// What failed because another machine was replacing the file is tried again, for a while.
TEST_F(FileTest, LooksAgainWhileTheFileIsReplaced) {
  const struct {
    const char* call;
    int error;
  } cases[] = {{"open", ESTALE}, {"open", ENOENT}, {"pread", ESTALE}, {"flock", ESTALE}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.call) + " " + std::to_string(c.error));
    int left = 0;
    bool isForEver = false;
    const SystemCalls calls([&](const Call& call) {
      return call.name == c.call && (isForEver || left-- > 0) ? c.error : 0;
    });
    std::string text;
    left = 3;
    EXPECT_EQ(readFile(path_.c_str(), 3, &text), FileResult::kDone);
    EXPECT_EQ(text, "old");
    left = 3;
    EXPECT_EQ(file_.openLocked(path_.c_str()), FileResult::kDone);
    EXPECT_TRUE(file_.close());
    isForEver = true;
    const bool isRead = readFile(path_.c_str(), 3, &text) == FileResult::kDone;
    const bool isHeld = file_.openLocked(path_.c_str()) == FileResult::kDone;
    EXPECT_TRUE(!isRead || !isHeld);
    file_.close();
  }
}

TEST_F(FileTest, GoesOnWhenASignalComes) {
  const auto interrupted = [](std::string last) {
    return [last](const Call& call) mutable {
      return std::exchange(last, call.name) == call.name ? 0 : EINTR;
    };
  };
  const SystemCalls calls(interrupted(""));
  ASSERT_EQ(file_.openLocked(path_.c_str()), FileResult::kDone);
  EXPECT_TRUE(file_.append("er"));
  EXPECT_TRUE(file_.setSize(4));
  EXPECT_TRUE(file_.sync());
  std::string text;
  EXPECT_EQ(file_.readAll(100, &text), FileResult::kDone);
  EXPECT_EQ(text, "olde");
  EXPECT_TRUE(makeDirectories(directory_ / "a/b"));
  EXPECT_EQ(removeFile(path_.c_str()), FileResult::kDone);
}

}  // namespace
}  // namespace os
