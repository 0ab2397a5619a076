// Tests of files that take another's name: in which order, against whom, and what every failure
// leaves there.
#include "os/sibling.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>
#include <vector>

#include "os/directory.h"
#include "os/systemcalls.h"
#include "support/childprocess.h"
#include "support/files.h"
#include "support/limits.h"

namespace os {
namespace {

using os_test::Call;
using os_test::SystemCalls;
using support::ChildProcess;

class Sibling : public testing::Test {
 protected:
  void SetUp() override { support::writeFile(path_, "old"); }

  FileResult replace(std::string_view bytes) const {
    File old;
    const FileResult opened = old.open(path_.c_str(), File::Access::kUpdate);
    File placed;
    return replaceFile(path_, opened == FileResult::kDone ? &old : nullptr, bytes, &placed);
  }
  FileResult put(std::string_view bytes, SiblingFile::Naming naming) const {
    SiblingFile sibling;
    if (const FileResult opened = sibling.open(path_); opened != FileResult::kDone) return opened;
    EXPECT_EQ(sibling.write(bytes), FileResult::kDone);
    return sibling.finish(naming, SiblingFile::Safety::kSoon, nullptr);
  }
  std::string content() const { return support::readFile(path_); }
  bool isAlone() const { return support::entryCount(directory_.path()) == 1; }

  const support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "f";
  const std::string sibling_ = directory_ / "f.trvs-new";
};

TEST_F(Sibling, IsOnDiskBeforeItHasTheName) {
  const std::string steps = "pwrite fsync rename renameat2";
  const std::string directory = std::filesystem::path(directory_.path()).filename();
  {
    const SystemCalls calls;
    EXPECT_EQ(replace("new"), FileResult::kDone);
    EXPECT_EQ(calls.log(steps),
              "pwrite f.trvs-new, fsync f.trvs-new, rename f, fsync " + directory);
  }
  const SystemCalls calls;
  EXPECT_EQ(put("newer", SiblingFile::Naming::kReplace), FileResult::kDone);
  EXPECT_EQ(calls.log(steps), "pwrite f.trvs-new, rename f") << "not asked to be there for good";
  EXPECT_EQ(content(), "newer");
}

// Each call in its turn, so no failure may leave half a change or a file beside.
TEST_F(Sibling, LeavesTheOldFileOrTheNewWhateverFails) {
  const std::string old(5000, 'o');
  for (const int error : {EIO, ENOSPC, EINTR}) {
    int failures = 0;
    for (int place = 0;; ++place) {
      SCOPED_TRACE(std::to_string(error) + " at call " + std::to_string(place));
      support::writeFile(path_, old);
      FileResult result = FileResult::kFailed;
      int left = place;
      {
        const SystemCalls calls([&](const Call& call) {
          if (call.name == "unlink" || left < 0) return 0;
          return left-- == 0 ? error : 0;
        });
        result = replace("new");
      }
      if (left >= 0) break;
      if (error == EINTR) {
        EXPECT_EQ(result, FileResult::kDone);
      }
      failures += result != FileResult::kDone;
      EXPECT_EQ(content(), result == FileResult::kDone ? "new" : old);
      EXPECT_TRUE(isAlone());
    }
    EXPECT_EQ(failures > 5, error != EINTR);
  }
}

TEST_F(Sibling, OfAKilledWriterGoes) {
  ChildProcess killed([this](ChildProcess& self) {
    SiblingFile sibling;
    if (sibling.open(path_) != FileResult::kDone) return 1;
    self.signal();
    return self.await() ? 0 : 1;
  });
  ASSERT_TRUE(killed.await());
  EXPECT_EQ(replace("new"), FileResult::kBusy) << "as long as it lives";
  killed.kill();
  EXPECT_TRUE(std::filesystem::exists(sibling_));
  EXPECT_EQ(replace("new"), FileResult::kDone);
  EXPECT_EQ(content(), "new");
  EXPECT_TRUE(isAlone());
}

// A real fault: on a network mount what a killed writer had left was in the way for good.
TEST_F(Sibling, GoesWhereOnlyWritersGetLocks) {
  support::writeFile(sibling_, "left over");
  const SystemCalls calls([](const Call& call) {
    const bool isReader = (::fcntl(call.descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY;
    return call.name == "flock" && (call.flags & LOCK_EX) != 0 && isReader ? EBADF : 0;
  });
  EXPECT_EQ(replace("new"), FileResult::kDone);
  EXPECT_EQ(content(), "new");
  EXPECT_TRUE(isAlone());
}

TEST_F(Sibling, TellsThatThereAreNoLocks) {
  for (const int error : {ENOLCK, ENOSYS, EOPNOTSUPP}) {
    const SystemCalls calls([=](const Call& call) { return call.name == "flock" ? error : 0; });
    EXPECT_EQ(replace("new"), FileResult::kNoLocks);
    EXPECT_TRUE(isAlone());
    SiblingFile sibling;
    EXPECT_EQ(sibling.open(path_, SiblingFile::Others::kExcluded), FileResult::kDone);
  }
  EXPECT_EQ(content(), "old");
  EXPECT_TRUE(isAlone());
}

// Between the making of the sibling and its lock another takes it for left over.
TEST_F(Sibling, IsMadeAgainWhenItLostItsName) {
  for (const int error : {0, EWOULDBLOCK}) {  // The second: the other has it still.
    for (const bool isReplaced : {false, true}) {
      bool isDone = false;
      const SystemCalls calls([&](const Call& call) {
        if (call.name != "flock" || std::exchange(isDone, true)) return 0;
        std::filesystem::remove(sibling_);
        if (isReplaced) support::writeFile(sibling_, "another's");
        return error;
      });
      EXPECT_EQ(replace("new"), FileResult::kDone);
      EXPECT_EQ(content(), "new");
      EXPECT_TRUE(isAlone());
    }
  }
}

// Between a look at what is left over and its lock it goes, and another writer comes.
TEST_F(Sibling, IsNotTakenFromTheNextWriter) {
  support::writeFile(sibling_, "left over");
  File next;
  const SystemCalls calls([&](const Call& call) {
    if (call.name != "flock" || next.isOpen()) return 0;
    std::filesystem::remove(sibling_);
    support::writeFile(sibling_, "the next one's");
    EXPECT_EQ(next.openLocked(sibling_.c_str()), FileResult::kDone);
    return 0;
  });
  EXPECT_EQ(replace("new"), FileResult::kBusy);
  EXPECT_TRUE(next.confirm(sibling_.c_str()));
}

// Without a lock the name may be lost by the end: what has it then is neither renamed nor removed.
TEST_F(Sibling, DoesNotRenameAnothersFile) {
  const SystemCalls calls([](const Call& call) { return call.name == "flock" ? ENOLCK : 0; });
  SiblingFile sibling;
  ASSERT_EQ(sibling.open(path_, SiblingFile::Others::kExcluded), FileResult::kDone);
  std::filesystem::remove(sibling_);
  support::writeFile(sibling_, "another's");
  EXPECT_EQ(sibling.replace(nullptr, "new", nullptr), FileResult::kBusy);
  EXPECT_EQ(sibling.open(directory_ / "g"), FileResult::kNoLocks);
  EXPECT_EQ(content(), "old");
  EXPECT_EQ(support::readFile(sibling_), "another's");
}

TEST_F(Sibling, TakesANameThatNobodyHas) {
  for (const int error : {0, EINVAL}) {  // The second: of a file system that can't ask and rename.
    const SystemCalls calls([=](const Call& call) { return call.name == "renameat2" ? error : 0; });
    support::writeFile(path_, "old");
    EXPECT_EQ(put("new", SiblingFile::Naming::kNew), FileResult::kExists);
    EXPECT_EQ(content(), "old");
    std::filesystem::remove(path_);
    EXPECT_EQ(put("new", SiblingFile::Naming::kNew), FileResult::kDone);
    EXPECT_EQ(content(), "new");
    EXPECT_TRUE(isAlone());
  }
}

// A network mount that asks its server twice gets "no such file" for the second time.
TEST_F(Sibling, HasTheNameAlthoughTheSystemDeniesIt) {
  const SystemCalls calls([this](const Call& call) {
    if (call.name != "rename") return 0;
    std::filesystem::rename(sibling_, path_);
    return ENOENT;
  });
  EXPECT_EQ(put("new", SiblingFile::Naming::kReplace), FileResult::kDone);
  EXPECT_EQ(content(), "new");
}

TEST_F(Sibling, GivesWayToTheFileItself) {
  struct Case {
    const char* why;
    SystemCalls::Rule rule;
  };
  const Case cases[] = {
      {"the group can't be kept",
       [](const Call& call) { return call.name == "fchown" ? EPERM : 0; }},
      {"the directory takes none",
       [](const Call& call) { return (call.flags & O_CREAT) != 0 ? EACCES : 0; }},
      {"the file is where something is mounted",
       [](const Call& call) { return call.name == "rename" ? EBUSY : 0; }},
  };
  const bool isRoot = ::chown(path_.c_str(), 1, 1) == 0;
  File file;
  ASSERT_EQ(file.open(path_.c_str(), File::Access::kRead), FileResult::kDone);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    if (&c == cases && !isRoot) continue;  // Its group can be kept.
    for (const char* text : {"a long text", "short"}) {
      const SystemCalls calls(c.rule);
      EXPECT_EQ(replace(text), FileResult::kDone);
      EXPECT_EQ(content(), text);
    }
    EXPECT_TRUE(file.confirm(path_.c_str())) << "it is still the same";
    const std::string grown(3000, 'x');
    const support::SizeLimit full(1000);
    const SystemCalls calls(c.rule);
    EXPECT_EQ(replace(grown), FileResult::kFailed);
    EXPECT_EQ(content(), "short");
  }
  EXPECT_TRUE(isAlone());
}

TEST_F(Sibling, KeepsModeOwnerAndLock) {
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(path_.c_str(), 1, 1), 0);
  }
  ASSERT_EQ(::chmod(path_.c_str(), 0640), 0);
  struct stat before, after;
  ASSERT_EQ(::stat(path_.c_str(), &before), 0);
  File old;
  ASSERT_EQ(old.openLocked(path_.c_str()), FileResult::kDone);
  File placed;
  EXPECT_EQ(replaceFile(path_, &old, "longer", &placed), FileResult::kDone);
  ASSERT_EQ(::stat(path_.c_str(), &after), 0);
  EXPECT_EQ(after.st_mode & 07777, 0640u);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  EXPECT_EQ(placed.size(), 6u);
  File other;
  EXPECT_EQ(other.openLocked(path_.c_str()), FileResult::kBusy);
  const std::string longest = directory_ / std::string(255, 'n');
  EXPECT_EQ(replaceFile(longest, nullptr, "new", nullptr), FileResult::kDone);
  EXPECT_EQ(support::readFile(longest), "new");
}

TEST_F(Sibling, CopiesByItselfWhatTheKernelDoesNot) {
  std::string text;
  for (int i = 0; i < 30000; ++i) text += std::to_string(i);
  support::writeFile(path_, text);
  for (const int error : {0, EXDEV}) {
    const SystemCalls calls(
        [=](const Call& call) { return call.name == "copy_file_range" ? error : 0; });
    File from;
    ASSERT_EQ(from.open(path_.c_str(), File::Access::kRead), FileResult::kDone);
    SiblingFile sibling;
    ASSERT_EQ(sibling.open(directory_ / "copy"), FileResult::kDone);
    EXPECT_EQ(sibling.write("<"), FileResult::kDone);
    EXPECT_EQ(sibling.copy(from, 100, 100000), FileResult::kDone);
    EXPECT_EQ(sibling.copy(from, 7, 3), FileResult::kDone);
    EXPECT_EQ(sibling.write(">"), FileResult::kDone);
    EXPECT_EQ(sibling.copy(from, text.size() - 1, 2), FileResult::kFailed) << "more than is there";
    EXPECT_EQ(sibling.finish(SiblingFile::Naming::kReplace, SiblingFile::Safety::kSoon, nullptr),
              FileResult::kDone);
    EXPECT_EQ(support::readFile(directory_ / "copy"),
              "<" + text.substr(100, 100000) + text.substr(7, 3) + ">");
  }
}

// Nobody holds the file here, so writers meet at the sibling; it must neither mix nor stay.
TEST_F(Sibling, GivesOneOfTheTextsWhenSeveralWriteAtOnce) {
  constexpr int kWriters = 3, kRounds = 40;
  support::writeFile(path_, std::string(5000, 'a'));
  const auto writers = support::startProcesses(kWriters, [&](int writer, ChildProcess&) {
    const std::string text(static_cast<size_t>(5000 + writer), static_cast<char>('a' + writer));
    for (int done = 0; done < kRounds;) {
      const FileResult result = replace(text);
      if (result != FileResult::kDone && result != FileResult::kBusy) return 1;
      done += result == FileResult::kDone;
    }
    return 0;
  });
  for (int i = 0; i < 500; ++i) {
    const std::string text = content();
    ASSERT_GE(text.size(), 5000u);
    ASSERT_EQ(text, std::string(text.size(), text[0]));
  }
  for (const auto& writer : writers) EXPECT_EQ(writer->finish(), 0);
  EXPECT_TRUE(isAlone());
}

}  // namespace
}  // namespace os
