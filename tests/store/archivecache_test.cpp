// The archive cache and the exact bytes of its file.
#include "store/archivecache.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "../../fuzz/check_ack.h"
#include "support/files.h"

namespace foldapi {
namespace {

using namespace std::string_literals;

// Two summaries: one with every field, and the high half of 32 bits in use; one with none.
const std::string kTwoEntries =
    "14\r\n"
    "AcTVQueuedHash\r\no2\r\n"
    "AcTVArchiveInfo52\r\no"
    "530000001\r\n-2\r\n4\r\n7\r\n2\r\n"
    "2\r\nac\0"
    "5\r\nde\r\ns\0"
    "6\r\nV:\\a_v\0"
    "7\r\nann,bob\0"
    "1\r\nh\0"
    "AC1\r\no"
    "0\r\n0\r\n0\r\n0\r\n0\r\n"
    "0\r\n0\r\n3\r\nb_v\0"
    "0\r\n0\r\n"s;

class ArchiveCacheTest : public testing::Test {
 protected:
  using Keep = TVArchiveCache::Keep;

  static TVArchiveInfo52* add(TVArchiveCache& cache, const char* path,
                              ArchiveSummary summary = {}) {
    return cache.add(std::make_unique<TVArchiveInfo52>(VPathString(path), std::move(summary)));
  }

  support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "priv/x.prj/x.ack";
};

TEST_F(ArchiveCacheTest, SavesExactBytesAndReadsThemBack) {
  TVArchiveCache cache(VPathString(path_), 10);
  add(cache, "V:\\a_v", {530000001, 0xfffffffe, 4, 7, 2, "ac", "de\r\ns", "ann,bob", "h"});
  add(cache, "b_v");
  EXPECT_TRUE(cache.save());
  EXPECT_EQ(support::escaped(support::readFile(path_)), support::escaped(kTwoEntries));

  TVArchiveCache other(VPathString(path_), 10);
  EXPECT_EQ(other.readVersion(), 14);
  EXPECT_EQ(other.size(), 0);
  EXPECT_TRUE(other.load(Keep::kNothing));
  const TVArchiveInfo52* info = other.find("V:\\a_v");
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->summary().creationTime, 0xfffffffe);
  EXPECT_EQ(info->summary().description, VString("de\r\ns"));
  EXPECT_EQ(info->summary().headerText, VString("h"));
  EXPECT_EQ(other.find("v:\\a_v"), nullptr) << "the key is the exact text";
}

TEST_F(ArchiveCacheTest, AnEmptyCacheHasNoFile) {
  support::writeFile(path_, kTwoEntries);
  TVArchiveCache cache(VPathString(path_), 10);
  EXPECT_TRUE(cache.save());
  EXPECT_FALSE(std::filesystem::exists(path_));
  EXPECT_FALSE(cache.load(Keep::kNothing));
  EXPECT_EQ(cache.readVersion(), 0);
  TVArchiveCache nowhere(VPathString(), 10);
  add(nowhere, "a");
  EXPECT_FALSE(nowhere.save());
  EXPECT_FALSE(nowhere.load(Keep::kNothing));
}

TEST_F(ArchiveCacheTest, ADamagedFileGivesAnEmptyCache) {
  const auto replaced = [](const std::string& from, const std::string& to) {
    std::string text = kTwoEntries;
    return text.replace(text.rfind(from), from.size(), to);
  };
  // Cut off; counts; numbers; classes; texts. Each one with a second form where limits are.
  for (const std::string& bad :
       {""s, kTwoEntries.substr(0, 120), kTwoEntries.substr(0, kTwoEntries.size() - 1),
        replaced("o2\r\n", "o3\r\n"), replaced("o2\r\n", "o2147483647\r\n"),
        replaced("o2\r\n", "o-1\r\n"), replaced("530000001", "5300000010"),
        replaced("530000001", "53000000x"), replaced("530000001\r\n", "530000001\n"),
        replaced("TVArchiveInfo52", "TVArchiveInfo53"), replaced("AC1", "AC0"),
        replaced("AC1", "AC2"), replaced("AC1", "AC-1"), replaced("AC1\r\no", "O1\r\n"),
        replaced("3\r\nb_v", "300\r\nb_v"), replaced("3\r\nb_v", "-3\r\nb_v"),
        replaced("b_v\0"s, "b_vx"), replaced("b_v\0"s, "b\0v\0"s)}) {
    SCOPED_TRACE(support::escaped(bad));
    support::writeFile(path_, bad);
    TVArchiveCache cache(VPathString(path_), 10);
    add(cache, "there before");
    EXPECT_TRUE(cache.load(Keep::kSummaries));
    EXPECT_EQ(cache.size(), 0);
    cache.loadIfCurrent();
    EXPECT_EQ(cache.size(), 0);
  }
  support::writeFile(path_, replaced("-2\r\n", "4294967294\r\n"));
  TVArchiveCache cache(VPathString(path_), 10);
  cache.loadIfCurrent();
  ASSERT_NE(cache.find("V:\\a_v"), nullptr) << "a number without a sign is as good";
  EXPECT_EQ(cache.find("V:\\a_v")->summary().creationTime, 0xfffffffe);
}

TEST(ArchiveCacheFuzz, SurvivesDamagedFiles) {
  std::string many = "14\r\nAcTVQueuedHash\r\no8\r\n";
  for (int i = 0; i < 8; ++i) {
    many += (i == 0 ? "AcTVArchiveInfo52" : "AC1") +
            "\r\no1\r\n2\r\n3\r\n4\r\n5\r\n0\r\n0\r\n1\r\n"s + static_cast<char>('a' + i) +
            "\0000\r\n0\r\n"s;
  }
  for (unsigned seed = 0; seed < 15000; ++seed) {
    SCOPED_TRACE(seed);
    fuzz::checkAck(fuzz::damaged(seed % 2 == 0 ? kTwoEntries : many, seed));
  }
}

}  // namespace
}  // namespace foldapi
