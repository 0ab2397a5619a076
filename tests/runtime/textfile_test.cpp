// Tests of text data files: their text, their sharing, and that no moment shows half a change.
#include "runtime/textfile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <random>

#include "runtime/child_process.h"
#include "support/files.h"

namespace foldapi {
namespace {

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
  bool isAlone() const {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
      static_cast<void>(entry);
      ++count;
    }
    return count == 1;
  }
  // Whether a child, started before the first line ends, gives 0.
  static bool inChild(const ChildProcess::Body& body) { return ChildProcess(body).finish() == 0; }

  const support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "trvsfold.pub";
};

TEST_F(TextFileTest, ReadsEitherLineEndAndWritesOne) {
  struct Case {
    const char* why;
    std::string disk, text, written;
  };
  const Case cases[] = {
      {"empty", "", "", ""},
      {"CR LF", "a\r\nb\r\n", "a\nb\n", "a\r\nb\r\n"},
      {"LF", "a\nb\n", "a\nb\n", "a\r\nb\r\n"},
      {"mixed, last line open", "a\r\n\nb", "a\n\nb", "a\r\n\r\nb"},
      {"lone CRs are text", "\ra\r\r\nb\r", "\ra\r\nb\r", "\ra\r\r\nb\r"},
      {"all bytes are text", std::string("\x1a\0\xfc\r\n", 5), std::string("\x1a\0\xfc\n", 4),
       std::string("\x1a\0\xfc\r\n", 5)},
  };
  for (const Case& c : cases) {
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

TEST_F(TextFileTest, AppendsAcrossAllSizesAndPages) {
  std::string want = "an LF stays\none\n";  // Although what is added ends in CR LF.
  write(want);
  std::mt19937 random(7);
  for (int i = 0; i < 300; ++i) {
    const std::string line(random() % 200 + (i % 50 == 0 ? 5000 : 0),
                           static_cast<char>('a' + i % 26));
    const auto file = open(Access::kUpdate);
    ASSERT_TRUE(file);
    file->endLastLine();
    file->append(line);
    ASSERT_TRUE(file->commit());
    if (!want.empty() && !want.ends_with('\n')) want += "\r\n";
    want += line;
    ASSERT_EQ(bytes(), want) << i;
    EXPECT_EQ(file->stamp(), fileStamp(path_));
    EXPECT_EQ(file->stamp().size, want.size());
  }
}

TEST_F(TextFileTest, KeepsModeLinkAndHoldThroughARewrite) {
  write("old\r\n");
  ASSERT_EQ(::chmod(path_.c_str(), 0640), 0);
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
  struct stat status;
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kBusy) << "the new file is held as the old one was";
  EXPECT_TRUE(
      inChild([this](ChildProcess&) { return tryOpen(Access::kUpdate) != Failure::kBusy; }));
}

TEST_F(TextFileTest, SharesAsUpdatersAndReadersMayWithinOneProcess) {
  write("x\n");
  struct Case {
    Access first, second;
    Failure want;
  };
  const Case cases[] = {
      {Access::kRead, Access::kRead, Failure::kNone},
      {Access::kRead, Access::kProbe, Failure::kNone},
      {Access::kRead, Access::kUpdate, Failure::kBusy},
      {Access::kUpdate, Access::kRead, Failure::kBusy},
      {Access::kUpdate, Access::kProbe, Failure::kBusy},
      {Access::kUpdate, Access::kUpdate, Failure::kBusy},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << static_cast<int>(c.first) << " then " << static_cast<int>(c.second));
    auto first = open(c.first);
    ASSERT_TRUE(first);
    EXPECT_EQ(tryOpen(c.second), c.want);
    first.reset();
    EXPECT_EQ(tryOpen(c.second), Failure::kNone);
  }
}

TEST_F(TextFileTest, LetsReadersOfOtherProcessesInWhileItUpdates) {
  write("x\n");
  const auto held = open(Access::kUpdate);
  ASSERT_TRUE(held);
  held->clear();
  held->append("y\n");
  ASSERT_TRUE(held->commit());
  // A fork would share what this process holds, so the other process has to be one of its own from
  // before; it opens only when told.
  ChildProcess updater([this](ChildProcess& parent) {
    const std::string other = path_ + "2";
    support::writeFile(other, "x\n");
    Failure failure;
    const auto file = TextFile::open(other, Access::kUpdate, &failure);
    parent.signal();
    return file && parent.await() ? 0 : 1;
  });
  ASSERT_TRUE(updater.await());
  Failure failure;
  const auto reader = TextFile::open(path_ + "2", Access::kRead, &failure);
  ASSERT_TRUE(reader);
  EXPECT_EQ(reader->text(), "x\n");
  EXPECT_FALSE(TextFile::open(path_ + "2", Access::kProbe, &failure));
  EXPECT_EQ(failure, Failure::kBusy);
  EXPECT_FALSE(TextFile::open(path_ + "2", Access::kUpdate, &failure));
  EXPECT_EQ(failure, Failure::kBusy);
  reader->append("z\n");
  EXPECT_TRUE(reader->failed()) << "the other process is still at it";
  EXPECT_FALSE(reader->commit());
  updater.signal();
  EXPECT_EQ(updater.finish(), 0);
  EXPECT_TRUE(TextFile::open(path_ + "2", Access::kUpdate, &failure)) << "gone with its process";
}

TEST_F(TextFileTest, TellsWhyAnOpenFails) {
  EXPECT_EQ(tryOpen(Access::kRead), Failure::kMissing);
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kMissing);
  EXPECT_TRUE(TextFile::create(path_));
  EXPECT_TRUE(TextFile::create(path_)) << "it is there";
  EXPECT_TRUE(TextFile::create(directory_ / "TRVSFOLD.PUB"));
  EXPECT_TRUE(isAlone()) << "and in another case is still the same";
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kNone);
  ASSERT_EQ(::chmod(path_.c_str(), 0444), 0);
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kRefused);
  EXPECT_EQ(tryOpen(Access::kRead), Failure::kNone);
  EXPECT_FALSE(TextFile::create(directory_ / "no/such/directory"));
  Failure failure;
  for (const std::string& path : {directory_.path(), std::string("q:\\x"), std::string()}) {
    EXPECT_FALSE(TextFile::open(path, Access::kRead, &failure)) << path;
    EXPECT_EQ(failure, Failure::kRefused) << path;
  }
  const std::string pipe = directory_ / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_FALSE(TextFile::open(pipe, Access::kRead, &failure)) << "and doesn't wait for a writer";
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
  const auto other = open(Access::kRead);
  file->append("c\n");
  EXPECT_TRUE(file->failed()) << "another reader is in the way";
  file = open(Access::kRead);
  support::writeFile(path_, "another\n");
  EXPECT_EQ(file->text(), "a\nb\n");
  file->clear();
  EXPECT_TRUE(file->failed()) << "the file is another one by now";
  EXPECT_FALSE(file->commit());
  EXPECT_EQ(bytes(), "another\n");
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

TEST_F(TextFileTest, LeavesTheOldFileWhenTheDiskIsFull) {
  const std::string old(100, 'x');
  for (const bool isRewrite : {false, true}) {
    write(old);
    EXPECT_TRUE(inChild([&](ChildProcess&) {
      ::signal(SIGXFSZ, SIG_IGN);
      const rlimit limit{120, 120};
      ::setrlimit(RLIMIT_FSIZE, &limit);
      const auto file = open(Access::kUpdate);
      if (isRewrite) file->clear();
      file->append(std::string(isRewrite ? 200 : 50, 'y'));
      const bool isRefused = !file->commit() && file->failed();
      file->append("more");
      return isRefused && !file->commit() && file->stamp().size == 100 ? 0 : 1;
    }));
    EXPECT_EQ(bytes(), old);
    EXPECT_TRUE(isAlone());
  }
}

// Where the directory takes no new file, for instance one of another user's.
TEST_F(TextFileTest, WritesInPlaceWhereNoSiblingCanBe) {
  write("a long old text\r\n");
  ASSERT_EQ(::chmod(path_.c_str(), 0666), 0);
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0555), 0);
  EXPECT_TRUE(inChild([this](ChildProcess&) {
    constexpr uid_t kNobody = 65534;
    if (::geteuid() == 0 && ::setuid(kNobody) != 0) return 1;
    for (const char* text : {"short\n", "a text that is longer than the old one\n"}) {
      const auto file = open(Access::kUpdate);
      if (!file) return 2;
      file->clear();
      file->append(text);
      if (!file->commit()) return 3;
      const std::string want = std::string(text).substr(0, std::string_view(text).size() - 1);
      if (bytes() != want + "\r\n") return 4;
    }
    return 0;
  }));
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0755), 0);
  EXPECT_TRUE(isAlone());
}

// Version n: its number, then many lines of it, so that a part of it or a mixture shows.
std::string versionText(int number) {
  std::string text;
  for (int i = 0; i < 2000 + number % 7 * 300; ++i) text += std::to_string(number) + "\n";
  return text + "end\n";
}

// Writes versions until it is killed, and signals each one that is on disk.
int writeVersions(const std::string& path, int first, ChildProcess& parent) {
  for (int number = first;; ++number) {
    Failure failure;
    std::unique_ptr<TextFile> file;
    while (!(file = TextFile::open(path, Access::kUpdate, &failure))) waitForTextFile(path, 500);
    file->clear();
    file->append(versionText(number));
    if (!file->commit()) return 1;
    parent.signal();
  }
}

TEST_F(TextFileTest, HoldsAWholeVersionWheneverItsWriterIsKilled) {
  constexpr int kRounds = 50;
  constexpr int kMostSignals = 60000;  // What the pipe holds.
  std::mt19937 random(3);
  int last = 0;
  write("");
  for (int round = 0; round < kRounds; ++round) {
    ChildProcess writer(
        [&](ChildProcess& parent) { return writeVersions(path_, last + 1, parent); });
    ASSERT_TRUE(writer.await());
    ::usleep(static_cast<useconds_t>(random() % 5000));
    writer.kill();
    const int acknowledged = last + 1 + writer.countSignals(kMostSignals);
    const auto file = open(Access::kRead);
    ASSERT_TRUE(file);
    last = std::stoi(std::string(file->text().substr(0, 12)));
    ASSERT_GE(last, acknowledged);
    ASSERT_EQ(file->text(), versionText(last));
  }
  const auto file = open(Access::kUpdate);
  ASSERT_TRUE(file);
  file->clear();
  ASSERT_TRUE(file->commit()) << "what the killed ones left is no hindrance";
  EXPECT_TRUE(isAlone());
}

TEST_F(TextFileTest, ShowsReadersWholeVersionsOnly) {
  write(versionText(0));
  ChildProcess writer([this](ChildProcess& parent) { return writeVersions(path_, 1, parent); });
  int seen = 0;
  for (int i = 0; i < 2000 || (seen < 5 && i < 1000000); ++i) {
    const auto file = open(Access::kRead);
    ASSERT_TRUE(file) << i;
    const int number = std::stoi(std::string(file->text().substr(0, 12)));
    ASSERT_EQ(file->text(), versionText(number));
    seen = number;
  }
  EXPECT_GE(seen, 5);
}

TEST_F(TextFileTest, LosesNoRecordOfSeveralWriters) {
  constexpr int kWriters = 4, kRecords = 60;
  write("[head]\r\n");
  std::vector<std::unique_ptr<ChildProcess>> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(std::make_unique<ChildProcess>([&, writer](ChildProcess&) {
      for (int record = 0; record < kRecords; ++record) {
        std::unique_ptr<TextFile> file;
        while (!(file = open(Access::kUpdate))) waitForTextFile(path_, 500);
        if (record % 2 == 0) {  // A rewrite puts another file there while others wait.
          const std::string text(file->text());
          file->clear();
          file->append(text);
        }
        file->append(std::string(100, static_cast<char>('a' + writer)) + "\n");
        if (!file->commit()) return 1;
      }
      return 0;
    }));
  }
  // A reader never waits, and meets no line that is not whole.
  for (int i = 0; i < 500; ++i) {
    const auto file = open(Access::kRead);
    ASSERT_TRUE(file);
    ASSERT_EQ((file->text().size() - 7) % 101, 0u);
  }
  for (const auto& writer : writers) EXPECT_EQ(writer->finish(), 0);
  EXPECT_EQ(bytes().size(), 8u + kWriters * kRecords * 102);
}

TEST_F(TextFileTest, EndsAWaitWhenTheHoldEnds) {
  write("x\n");
  ChildProcess updater([this](ChildProcess& parent) {
    const auto file = open(Access::kUpdate);
    parent.signal();
    ::usleep(50000);
    return file ? 0 : 1;
  });
  ASSERT_TRUE(updater.await());
  waitForTextFile(path_, 60000);
  EXPECT_EQ(tryOpen(Access::kUpdate), Failure::kNone);
  const auto held = open(Access::kUpdate);
  waitForTextFile(path_, 1);  // Ends although the hold doesn't.
  waitForTextFile(directory_ / "none", 60000);
}

}  // namespace
}  // namespace foldapi
