// Tests of text data files: their text, their sharing, and that no moment shows half a change.
#include "runtime/textfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>

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

// A real fault: a colleague's link in a shared directory led to another file of who followed it.
TEST_F(TextFileTest, ChangesNothingThroughALinkOfWhoHasNoSayThere) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give links away";
  constexpr uid_t kUser = 65534, kColleague = 65533, kThird = 65532;
  const struct {
    uid_t link, target;
    bool isFollowed;
  } cases[] = {{0, kThird, true},          {kUser, kThird, true},  {kColleague, kColleague, true},
               {kColleague, kUser, false}, {kColleague, 0, false}, {kColleague, kThird, false}};
  ASSERT_EQ(::chmod(directory_.path().c_str(), 01777), 0);
  const std::string first = directory_ / "first", second = directory_ / "second";
  std::filesystem::create_symlink("second", first);
  std::filesystem::create_symlink(path_, second);
  for (const auto& c : cases) {
    for (const std::string& link : {first, second}) {
      SCOPED_TRACE(std::to_string(c.link) + " to " + std::to_string(c.target) + ", " + link);
      write("old\r\n");
      ASSERT_EQ(::chmod(path_.c_str(), 0666), 0);
      ASSERT_EQ(::chown(path_.c_str(), c.target, c.target), 0);
      ASSERT_EQ(::lchown(link.c_str(), c.link, c.link), 0);
      EXPECT_EQ(support::inProcess([&] {
                  if (::setgid(c.target) != 0 || ::setuid(kUser) != 0) return 1;
                  Failure why = Failure::kNone;
                  const auto file = TextFile::open(link, Access::kUpdate, &why);
                  if (file) file->append("new\n");
                  const bool isAdded = file && file->commit() && replaceFile(first, "newer");
                  const bool isRefused = why == Failure::kForeignLink && !replaceFile(link, "");
                  return (c.isFollowed ? isAdded : isRefused) ? 0 : 2;
                }),
                0);
      EXPECT_EQ(bytes(), c.isFollowed ? "newer" : "old\r\n");
      EXPECT_EQ(::lchown(link.c_str(), 0, 0), 0);
    }
  }
  std::filesystem::remove(path_);
  ASSERT_EQ(::lchown(second.c_str(), kColleague, kColleague), 0);
  EXPECT_FALSE(replaceFile(first, "new")) << "nobody owns what is not there";
  EXPECT_FALSE(std::filesystem::exists(path_));
}

// Whatever takes the place of the way to a file that is held.
TEST_F(TextFileTest, IsRewrittenWhereItWasFound) {
  const std::string way = directory_ / "way", elsewhere = directory_ / "elsewhere";
  for (const std::string step : {"flock", "pwrite", "rename"}) {
    SCOPED_TRACE(step);
    std::filesystem::remove_all(way);
    support::writeFile(way + "/f", "old\r\n");
    support::writeFile(elsewhere + "/f", "another's");
    Failure failure;
    auto file = TextFile::open(way + "/f", Access::kUpdate, &failure);
    ASSERT_TRUE(file);
    bool isDone = false;
    {
      const SystemCalls calls([&](const Call& call) {
        if (call.name != step || std::exchange(isDone, true)) return 0;
        std::filesystem::rename(way, way + "2");
        std::filesystem::create_symlink("elsewhere", way);
        return 0;
      });
      file->clear();
      file->append("new\n");
      EXPECT_TRUE(file->commit());
    }
    EXPECT_TRUE(isDone);
    EXPECT_EQ(support::readFile(way + "2/f"), "new\r\n");
    EXPECT_EQ(support::readFile(elsewhere + "/f"), "another's");
    EXPECT_EQ(support::entryCount(way + "2"), 1);
    std::filesystem::remove_all(way + "2");
  }
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

// An update that only adds reads the last byte alone. What is asked for later and can't be read
// then is not written over.
TEST_F(TextFileTest, IsReadForAnUpdateWhenItsTextIsAskedFor) {
  const std::string old = "[one]\r\n[two]\r\n";
  for (const bool isWhole : {true, false}) {
    write(old);
    int reads = 0;
    const SystemCalls calls([&](const Call& call) {
      return call.name == "pread" && ++reads > 1 && !isWhole ? EIO : 0;
    });
    const auto file = open(Access::kUpdate);
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->endsInLine());
    file->append("[three]\n");
    EXPECT_TRUE(file->isAddedTo());
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(file->text(), isWhole ? "[one]\n[two]\n[three]\n" : "[three]\n");
    EXPECT_EQ(file->failed(), !isWhole);
    EXPECT_EQ(file->commit(), isWhole);
    EXPECT_EQ(bytes(), isWhole ? old + "[three]\r\n" : old);
  }
}

// A line in brackets comes page by page, since its beginning counts as nothing; other records in
// one piece.
TEST_F(TextFileTest, AddsALineWithoutWritingTheWholeFile) {
  const std::string old = std::string(4090, '-') + "\r\n", line = "[a;b;c;d]\n";
  for (const std::string step : {"", "pwrite 2", "fsync 1", "fsync 2"}) {
    SCOPED_TRACE(step);
    write(old);
    std::map<std::string, int> counts;
    const SystemCalls calls([&](const Call& call) {
      const int count = ++counts[call.name];
      if (call.name == "pwrite" && count == 2) {
        EXPECT_EQ(bytes(), old + "[a;b");
      }
      return call.name + " " + std::to_string(count) == step ? EIO : 0;
    });
    const auto file = open(Access::kUpdate);
    file->append(line);
    EXPECT_EQ(file->commit(), step.empty());
    EXPECT_EQ(bytes(), step.empty() ? old + "[a;b;c;d]\r\n" : old);
    EXPECT_EQ(counts["rename"], 0);
    if (!step.empty()) continue;
    file->append("[A]\nDIR=" + std::string(4096, 'x') + "\n");
    EXPECT_TRUE(file->commit());
    EXPECT_EQ(counts["rename"], 1);
    EXPECT_EQ(bytes().size(), old.size() + 11 + 5 + 4 + 4096 + 2);
  }
}

// What stands there in another way than a rewrite would put it is left to a rewrite.
TEST_F(TextFileTest, CutsLinesThatAreThereOnce) {
  const struct {
    const char* why;
    std::string disk;
    std::vector<std::string_view> records;
    std::optional<std::string> want;  // Nothing is cut without it.
  } cases[] = {
      {"at the start", "[a]\r\n[b]\r\n[c]\r\n", {"[a]\n"}, "[b]\r\n[c]\r\n"},
      {"at the end", "[a]\r\n[b]\r\n", {"[b]\n"}, "[a]\r\n"},
      {"all", "[a]\r\n[b]\r\nd\r\n\r\n", {"[b]\nd\n\n", "[a]\n"}, ""},
      {"a lone CR, and others that end in LF", "[a\r]\r\n[b]\n", {"[a\r]\n"}, "[b]\n"},
      {"not there", "[a]\r\n[b]\r\n", {"[a]\n", "[c]\n"}, {}},
      {"there twice", "[a]\r\n[b]\r\n[a]\r\n", {"[a]\n"}, {}},
      {"in a line", "[b]\r\n[[a]\r\n", {"[a]\n"}, {}},
      {"ending in LF", "[b]\r\n[a]\n", {"[a]\n"}, {}},
      {"without an end", "[b]\r\n[a]", {"[a]\n"}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    write(c.disk);
    const auto file = open(Access::kUpdate);
    EXPECT_EQ(file->cut(c.records), c.want.has_value());
    EXPECT_EQ(file->isChanged(), c.want.has_value());
    EXPECT_FALSE(file->isAddedTo());
    EXPECT_TRUE(file->commit());
    EXPECT_EQ(escaped(bytes()), escaped(c.want.value_or(c.disk)));
  }
  write("[a]\r\n[b]\r\n");
  const auto file = open(Access::kUpdate);
  EXPECT_TRUE(file->cut({"[a]\n"}));
  EXPECT_EQ(file->text(), "[b]\n");
  file->append("[c]\n");
  EXPECT_FALSE(file->cut({"[b]\n"})) << "after another change";
  EXPECT_TRUE(file->commit());
  EXPECT_EQ(bytes(), "[b]\r\n[c]\r\n");
}

}  // namespace
}  // namespace foldapi
