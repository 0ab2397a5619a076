// The summary of an archive, read from files whose bytes stand here.
#include "toolkit/archiveinfo.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "../../fuzz/check_archiveinfo.h"
#include "archivefile/parts.h"
#include "base/varchiver.h"
#include "btkf520/btkf520.h"
#include "support/database.h"
#include "support/files.h"
#include "toolkit/messages.h"

namespace foldapi {
namespace {

using support::archiveRecord;
using support::archiveWithBlock;
using namespace std::string_literals;

// All that a load fills, as one text: "result X P J locks access|description|lockers|header".
std::string told(const ArchiveSummary& from, int32_t result) {
  const VString text =
      VString::format("%d %u %d %d %d %s|%s|%s|%s", result, from.creationTime, from.attributes,
                      from.revisionCount, from.lockCount, from.accessList.text(),
                      from.description.text(), from.lockers.text(), from.headerText.text());
  return text.str();
}

class ArchiveInfoTest : public testing::Test {
 protected:
  std::string load(const std::string& bytes) {
    support::writeFile(path_, bytes);
    TVArchiveInfo52 info{VPathString(path_)};
    const int32_t result = info.Load();
    EXPECT_EQ(info.summary().fileTime != 0, result == 0);
    EXPECT_EQ(info.path().str(), path_);
    return told(info.summary(), result);
  }

  support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "a.c_v";
};

TEST_F(ArchiveInfoTest, ReadsTheRecordsOfTheBlock) {
  const std::string filler(700, '@');
  const struct {
    const char* why;
    std::string records;
    const char* want;
  } cases[] = {
      {"nothing but the end", "", "0 0 0 0 0 |||"},
      {"every record",
       archiveRecord('H', "\0head\0"s) + archiveRecord('X', "\x1f\x99\x53\xca"s) +
           archiveRecord('P', "\x80\4"s) + archiveRecord('Z', "skipped") +
           archiveRecord('J', "\xff\xfe"s) + archiveRecord('V', "\1al,bo\0"s) +
           archiveRecord('R', "\0ann\0"s) + archiveRecord('I', "two\r\nlines"),
       "0 1405799951 32772 65534 1 al,bo|two\r\nlines|ann|head"},
      {"lockers without a name count",
       archiveRecord('R', "x"s) + archiveRecord('R', "xbob"s) + archiveRecord('R', ""),
       "0 0 0 0 3 ||bob,|"},
      {"texts end at a NUL or with their record",
       archiveRecord('V', "xal\0bo"s) + archiveRecord('H', "xhe") + archiveRecord('I', "a\0b"s),
       "0 0 0 0 0 al|a||he"},
      {"records without their first byte, or too short for their number",
       archiveRecord('H', "") + archiveRecord('J', "\1"s) + archiveRecord('P', "") +
           archiveRecord('X', "\1\2\3"s) + archiveRecord('V', "xok"),
       "0 0 0 0 0 ok|||"},
      {"what stands after the end mark", archiveRecord('V', "xok") + "@" + archiveRecord('J', "ab"),
       "0 0 0 0 0 ok|||"},
      {"a record beyond the end of the block", archiveRecord('V', "xok") + "I\0\x50text"s,
       "0 0 0 0 0 ok|||"},
      {"a length cut off", archiveRecord('V', "xok") + "I\x80\0\0"s, "0 0 0 0 0 ok|||"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(load(archiveWithBlock("", c.records)), c.want);
    EXPECT_EQ(load(archiveWithBlock(filler, c.records)), c.want);
  }
}

TEST_F(ArchiveInfoTest, ABlockOfAnySizeIsReadWhole) {
  // Around what the first read holds, and around the length that takes two words.
  for (const size_t size :
       {900u, 1000u, 1001u, 1002u, 1003u, 1004u, 1100u, 32767u, 32768u, 65538u, 300000u}) {
    SCOPED_TRACE(size);
    const std::string text(size, 'd');
    const std::string records = archiveRecord('I', text) + archiveRecord('V', "xend");
    EXPECT_EQ(load(archiveWithBlock("", records)), "0 0 0 0 0 end|" + text + "||");
    EXPECT_EQ(load(archiveWithBlock("filler", records)), "0 0 0 0 0 end|" + text + "||");
  }
}

// What a writer has added so far, or a power cut has left of it, changes nothing. Damage does.
TEST_F(ArchiveInfoTest, ATornEndIsPassedOver) {
  ASSERT_EQ(TrvsInit(nullptr), TRVS_DONE);
  ASSERT_EQ(TrvsCreateArchive(path_.c_str(), "a.c", "first", "ann", 0x1f9953ca, 0), TRVS_DONE);
  const std::string before = support::readFile(path_);
  for (const std::string& description : {"second"s, std::string(5000, 'd')}) {
    support::writeFile(path_, before);
    ASSERT_EQ(TrvsSetDescription(TRVS_CONTEXT, path_.c_str(), nullptr, description.c_str()),
              TRVS_DONE);
    const std::string after = support::readFile(path_);
    ASSERT_TRUE(after.starts_with(before));
    const auto loaded = [](const std::string& bytes) {
      const fuzz::MemoryFile file(bytes);
      TVArchiveInfo52 info{VPathString(file.path())};
      return info.Load() == 0 ? info.summary().description.str() : "none";
    };
    EXPECT_EQ(loaded(after), description);
    const bool isWide = after.size() - before.size() > archivefile::kNarrow;
    const size_t tail = *archivefile::tailSize(after.substr(after.size() - 9));
    const size_t unsynced = isWide ? after.size() - tail : before.size();
    for (size_t size = 0; size < after.size(); ++size) {
      SCOPED_TRACE(size);
      ASSERT_EQ(loaded(after.substr(0, size)), size < before.size() ? "none" : "first");
      if (size < before.size()) continue;
      std::string flipped = after;
      flipped[size] = static_cast<char>(flipped[size] ^ 1);
      const bool isProven = isWide && size >= before.size() + 12 && size < unsynced;
      ASSERT_EQ(loaded(flipped), isProven ? description : "none");
      if (size < unsynced) continue;
      std::string zeros = after.substr(0, std::max(size / 512 * 512, unsynced));
      zeros.resize(after.size());
      ASSERT_EQ(loaded(zeros), "first");
    }
  }
}

TEST_F(ArchiveInfoTest, StaleWhenAnythingAboutTheFileChanges) {
  const std::string first = archiveWithBlock("", archiveRecord('V', "xone"));
  const std::string second = archiveWithBlock("", archiveRecord('V', "xtwo"));
  support::writeFile(path_, first);
  const auto time = std::filesystem::last_write_time(path_);
  TVArchiveInfo52 info{VPathString(path_)};
  EXPECT_FALSE(info.IsCurrent()) << "never loaded";
  ASSERT_EQ(info.Load(), 0);
  EXPECT_TRUE(info.IsCurrent());

  // Another file of the same size and time, as a writer leaves that replaces the archive.
  const std::string sibling = directory_ / "sibling";
  support::writeFile(sibling, second);
  std::filesystem::last_write_time(sibling, time);
  std::filesystem::rename(sibling, path_);
  EXPECT_FALSE(info.IsCurrent());
  ASSERT_EQ(info.Load(), 0);
  EXPECT_EQ(info.summary().accessList, VString("two"));

  std::filesystem::last_write_time(path_, time + std::chrono::nanoseconds(1000));
  EXPECT_FALSE(info.IsCurrent()) << "a time within the same two seconds";
  ASSERT_EQ(info.Load(), 0);
  std::filesystem::resize_file(path_, second.size() + 1);
  std::filesystem::last_write_time(path_, time + std::chrono::nanoseconds(1000));
  EXPECT_FALSE(info.IsCurrent()) << "a size";
  support::writeFile(path_, second);
  ASSERT_EQ(info.Load(), 0);
  info.ClearFileTime();
  EXPECT_FALSE(info.IsCurrent());
  ASSERT_EQ(info.Load(), 0);
  std::filesystem::remove(path_);
  EXPECT_FALSE(info.IsCurrent());
  EXPECT_EQ(info.Load(), kFolderNotAnArchive);
  EXPECT_EQ(told(info.summary(), 28), "28 0 0 0 0 |||") << "nothing is left of the last load";
}

TEST_F(ArchiveInfoTest, OneFromTheCacheTrustsTheTickOnceAndThenTheFile) {
  support::writeFile(path_, archiveWithBlock("", ""));
  const auto time = std::filesystem::last_write_time(path_);
  std::filesystem::last_write_time(path_, time - time.time_since_epoch() % std::chrono::seconds(2));
  TVArchiveInfo52 info(VPathString(path_), {.fileTime = fileTime(path_)});
  EXPECT_TRUE(info.IsCurrent());
  std::filesystem::last_write_time(
      path_, std::filesystem::last_write_time(path_) + std::chrono::milliseconds(500));
  EXPECT_FALSE(info.IsCurrent()) << "the same tick, but no longer the same file";
  TVArchiveInfo52 older(VPathString(path_), {.fileTime = fileTime(path_) - 1});
  EXPECT_FALSE(older.IsCurrent());
}

TEST(ArchiveInfoFuzz, SurvivesDamagedTails) {
  const std::string seeds[] = {
      support::archiveBytes({.revisions = 2, .lockers = {"ann", "bob"}, .access = "a,b"}),
      support::archiveBytes({.description = std::string(1500, 'd'), .contents = 30}),
      archiveWithBlock("", archiveRecord('I', std::string(40000, 'd'))),
  };
  for (unsigned seed = 0; seed < 15000; ++seed) {
    SCOPED_TRACE(seed);
    fuzz::checkArchiveInfo(fuzz::damaged(seeds[seed % std::size(seeds)], seed));
  }
}

}  // namespace
}  // namespace foldapi
