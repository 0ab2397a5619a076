// Tests of files that take another's name: in which order, against whom, and what every failure
// leaves there.
#include "os/sibling.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <sstream>
#include <utility>

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

// An access list by which user 65534 may write, if `mask` allows it, and the group may read.
std::string accessList(char mask) {
  const auto entry = [](char tag, char rights, const char* id) {
    return std::string{tag, 0, rights, 0} + std::string(id, 4);
  };
  const char* const none = "\xff\xff\xff\xff";
  return std::string("\2\0\0", 4) + entry(1, 6, none) + entry(2, 6, "\xfe\xff\0") +
         entry(4, 4, none) + entry(16, mask, none) + entry(32, 0, none);
}

class Sibling : public testing::Test {
 protected:
  void SetUp() override { support::writeFile(path_, "old"); }

  FileResult replace(std::string_view bytes) const {
    File old;
    const FileResult opened = old.open(path_.c_str(), File::Access::kUpdate);
    File placed;
    return replaceAt(path_, opened == FileResult::kDone ? &old : nullptr, bytes, &placed);
  }
  static FileResult replaceAt(const std::string& path, const File* old, std::string_view bytes,
                              File* placed) {
    Place place;
    const FileResult found = Place::find(path, &place);
    return found == FileResult::kDone ? replaceFile(place, old, bytes, placed) : found;
  }
  FileResult put(std::string_view bytes, SiblingFile::Naming naming) const {
    SiblingFile sibling;
    if (const FileResult opened = sibling.open(path_); opened != FileResult::kDone) return opened;
    EXPECT_EQ(sibling.write(bytes), FileResult::kDone);
    return sibling.finish(naming, SiblingFile::Safety::kSoon, nullptr);
  }
  std::string content() const { return support::readFile(path_); }
  std::string attribute(const char* name) const {
    char value[100];
    const ssize_t size = ::getxattr(path_.c_str(), name, value, sizeof value);
    return size < 0 ? "none" : std::string(value, static_cast<size_t>(size));
  }
  // The mode, the owner, the group and the access list.
  std::string rights() const {
    struct stat status {};
    EXPECT_EQ(::stat(path_.c_str(), &status), 0);
    std::ostringstream text;
    text << std::oct << status.st_mode << ' ' << status.st_uid << ' ' << status.st_gid << ' '
         << support::escaped(attribute(kAccessList));
    return text.str();
  }
  bool isAlone() const { return support::entryCount(directory_.path()) == 1; }

  static constexpr const char* kAccessList = "system.posix_acl_access";
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
      {"an attribute can't be kept",
       [](const Call& call) { return call.name == "fsetxattr" ? ENOSPC : 0; }},
      {"the directory takes none",
       [](const Call& call) { return (call.flags & O_CREAT) != 0 ? EACCES : 0; }},
      {"the file is where something is mounted",
       [](const Call& call) { return call.name == "rename" ? EBUSY : 0; }},
  };
  const bool isRoot = ::chown(path_.c_str(), 1, 1) == 0;
  const bool hasAttribute = ::setxattr(path_.c_str(), "user.note", "kept", 4, 0) == 0;
  File file;
  ASSERT_EQ(file.open(path_.c_str(), File::Access::kRead), FileResult::kDone);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    if (&c == cases && !isRoot) continue;  // Its group can be kept.
    if (&c == cases + 1 && !hasAttribute) continue;
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

TEST_F(Sibling, KeepsRightsAndLock) {
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(path_.c_str(), 1, 1), 0);
  }
  ASSERT_EQ(::chmod(path_.c_str(), 0640), 0);
  const std::string before = rights();
  ASSERT_EQ(::chmod(path_.c_str(), 06640), 0);  // What no new content is to inherit.
  File old;
  ASSERT_EQ(old.openLocked(path_.c_str()), FileResult::kDone);
  File placed;
  EXPECT_EQ(replaceAt(path_, &old, "longer", &placed), FileResult::kDone);
  EXPECT_EQ(rights(), before);
  EXPECT_EQ(placed.size(), 6u);
  File other;
  EXPECT_EQ(other.openLocked(path_.c_str()), FileResult::kBusy);
  const std::string longest = directory_ / std::string(255, 'n');
  EXPECT_EQ(replaceAt(longest, nullptr, "new", nullptr), FileResult::kDone);
  EXPECT_EQ(support::readFile(longest), "new");
}

// Only its owner may open a sibling that is not whole. Then an old file's rights are all kept, and
// a new one gets what it would have got at once.
TEST_F(Sibling, GetsItsRightsInTheEnd) {
  const std::string all = accessList(6);
  if (::setxattr(path_.c_str(), kAccessList, all.data(), all.size(), 0) != 0 ||
      ::setxattr(path_.c_str(), "user.note", "kept", 4, 0) != 0) {
    GTEST_SKIP() << "no access lists or no attributes of users in " << directory_.path();
  }
  const mode_t umask = ::umask(0);
  const SystemCalls calls([](const Call& call) {
    struct stat status {};
    if (call.name == "pwrite" && ::fstat(call.descriptor, &status) == 0) {
      EXPECT_EQ(status.st_mode & 0777, 0600u);
    }
    return 0;
  });
  const std::string before = rights();
  EXPECT_EQ(replace("new"), FileResult::kDone);
  EXPECT_EQ(rights(), before);
  EXPECT_EQ(attribute("user.note"), "kept");
  for (const bool hasList : {false, true}) {
    if (hasList) {
      ASSERT_EQ(::setxattr(directory_.path().c_str(), "system.posix_acl_default", all.data(),
                           all.size(), 0),
                0);
    }
    for (const mode_t mask : {0u, 027u}) {
      SCOPED_TRACE(hasList ? "a list" : "no list");
      ::umask(mask);
      std::filesystem::remove(path_);
      support::writeFile(path_, "old");
      const std::string usual = rights();
      std::filesystem::remove(path_);
      EXPECT_EQ(replaceAt(path_, nullptr, "new", nullptr), FileResult::kDone);
      EXPECT_EQ(rights(), usual);
      ASSERT_EQ(::removexattr(path_.c_str(), kAccessList), 0);
      const std::string plain = rights();
      EXPECT_EQ(replace("newer"), FileResult::kDone);
      EXPECT_EQ(rights(), plain) << "not what its directory gives to new ones";
    }
  }
  ::umask(umask);
}

// A real fault: who shared a file by an access list was shut out by the first change of another.
TEST_F(Sibling, LeavesTheFormerOwnerHisRights) {
  const std::string list = accessList(6);
  if (::chown(path_.c_str(), 70000, 65534) != 0 ||
      ::setxattr(path_.c_str(), kAccessList, list.data(), list.size(), 0) != 0) {
    GTEST_SKIP() << "not root, or no access lists";
  }
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0777), 0);
  for (const uid_t user : {65534u, 70000u, 65534u}) {
    EXPECT_EQ(support::inProcess([&] {
                const bool isUser = ::setgid(65534) == 0 && ::setuid(user) == 0;
                return isUser && replace(std::to_string(user)) == FileResult::kDone ? 0 : 1;
              }),
              0);
    EXPECT_EQ(content(), std::to_string(user));
  }
  EXPECT_EQ(attribute(kAccessList).size(), list.size() + 8) << "one entry for each";
}

// Somebody puts another file there after the old one was opened.
TEST_F(Sibling, GivesNoOthersFileAway) {
  File old;
  ASSERT_EQ(old.open(path_.c_str(), File::Access::kUpdate), FileResult::kDone);
  support::writeFile(path_ + "2", "another");
  std::filesystem::rename(path_ + "2", path_);
  EXPECT_EQ(replaceAt(path_, &old, "new", nullptr), FileResult::kBusy);
  EXPECT_EQ(replaceAt(path_, nullptr, "new", nullptr), FileResult::kExists);
  EXPECT_EQ(content(), "another");
  const SystemCalls calls([this](const Call& call) {  // When all is written.
    if (call.name == "fsync" && call.path == "f.trvs-new") {
      support::writeFile(path_ + "2", "a third");
      std::filesystem::rename(path_ + "2", path_);
    }
    return 0;
  });
  EXPECT_EQ(replace("new"), FileResult::kBusy);
  EXPECT_EQ(content(), "a third");
  EXPECT_TRUE(isAlone());
}

// A real fault: what another user had left was in the way for good.
TEST_F(Sibling, StepsAsideForWhatItCanNeitherOpenNorRemove) {
  std::filesystem::create_directory(sibling_);
  EXPECT_EQ(put("new", SiblingFile::Naming::kReplace), FileResult::kDone);
  if (::geteuid() != 0) GTEST_SKIP() << "only root can leave a file of another user";
  support::writeFile(sibling_ + "1", "root's");
  ASSERT_EQ(::chmod((sibling_ + "1").c_str(), 0600), 0);
  ASSERT_EQ(::chmod(directory_.path().c_str(), 01777), 0);
  ASSERT_EQ(::chown(path_.c_str(), 65534, 65534), 0);
  struct stat before, after;
  ASSERT_EQ(::stat(path_.c_str(), &before), 0);
  EXPECT_EQ(support::inProcess([this] {
              const bool isAnother = ::setgid(65534) == 0 && ::setuid(65534) == 0;
              return isAnother && replace("newer") == FileResult::kDone ? 0 : 1;
            }),
            0);
  ASSERT_EQ(::stat(path_.c_str(), &after), 0);
  EXPECT_NE(after.st_ino, before.st_ino) << "not written in place";
  EXPECT_EQ(content(), "newer");
  EXPECT_EQ(support::readFile(sibling_ + "1"), "root's");
  EXPECT_EQ(support::entryCount(directory_.path()), 3);
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
