// btkf520/rights_test.cpp: archives belong to those who may write them, and file systems without
// locks are for reading.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <random>

#include "btkf520/archives.h"
#include "os/systemcalls.h"
#include "support/childprocess.h"

namespace btkf520_test {
namespace {

using Rights = Archives;

// A real fault: whoever could write the directory replaced the archive, which became his. Where a
// new file can't have the rights of the old one, that is added to.
TEST_F(Rights, OfAnArchiveAreKept) {
  constexpr uid_t kRoot = 0, kOther = 65534;
  const struct {
    const char* why;
    uid_t user, owner;
    gid_t group;
    mode_t mode;
    int32_t want;
  } cases[] = {
      {"read-only, for root as well", kRoot, kRoot, 0, 0444, TRVS_CANNOT_WRITE},
      {"root's to write", kOther, kRoot, kOther, 0644, TRVS_CANNOT_WRITE},
      {"shared with a group that can't be kept", kOther, kOther, 1, 0664, TRVS_DONE},
      {"shared with the user's group", kOther, kRoot, kOther, 0664, TRVS_DONE},
      {"can't be read", kOther, kRoot, 0, 0600, TRVS_CANNOT_OPEN},
  };
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("text", {.flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE);
  ASSERT_EQ(chmod(path("").c_str(), 0777), 0);
  const std::string bytes = support::readFile(archive());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    if (geteuid() != kRoot && &c != cases) GTEST_SKIP() << "only root can become another user";
    write("m.c_v", bytes);
    if (geteuid() == kRoot) {
      ASSERT_EQ(chown(archive().c_str(), c.owner, c.group), 0);
    }
    ASSERT_EQ(chmod(archive().c_str(), c.mode), 0);
    EXPECT_EQ(support::inProcess([&] {
                if (c.user != kRoot && (setgid(c.user) != 0 || setuid(c.user) != 0)) return 99;
                return static_cast<int>(label("REL", "1.0"));
              }),
              c.want);
    EXPECT_EQ(support::readFile(archive()) == bytes, c.want != TRVS_DONE);
    struct stat status;
    ASSERT_EQ(stat(archive().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, c.mode);
    if (geteuid() == kRoot) {
      EXPECT_EQ(status.st_gid, c.group);
    }
    EXPECT_FALSE(std::filesystem::exists(archive() + ".trvs-new"));
    chmod(archive().c_str(), 0666);
  }
}

// Real faults: all of an archive was written to a file that could not take its place, each time;
// and what was added instead had no bound.
TEST_F(Rights, ThatCantBeKeptAreKnownBeforeMuchIsWritten) {
  constexpr uid_t kOther = 65534;
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  std::string noise(1500 << 10, '\0');
  std::mt19937 random(1);
  for (char& c : noise) c = static_cast<char>(random());
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put(noise, {.flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE);
  write("m.c", noise + "more");
  ASSERT_EQ(chmod(path("").c_str(), 0777), 0);
  ASSERT_EQ(chown(archive().c_str(), kOther, 1), 0);
  ASSERT_EQ(chmod(archive().c_str(), 0664), 0);
  EXPECT_EQ(support::inProcess([&] {
              if (setgid(kOther) != 0 || setuid(kOther) != 0) return 99;
              const os_test::SystemCalls calls;
              const std::string both = archive() + "(" + path("m.c") + ")";
              if (putFrom(both, {.flags = TRVS_PUT_KEEP_LOCK}) != TRVS_DONE) return 98;
              return static_cast<int>(
                  support::pieces(calls.log("pwrite"), "pwrite m.c_v.trvs-new").size());
            }),
            2);
  ASSERT_EQ(chown(path("m.c").c_str(), kOther, kOther), 0);
  EXPECT_EQ(support::inProcess([&] {
              if (setgid(kOther) != 0 || setuid(kOther) != 0) return 99;
              for (int more = 0; more < 9; ++more) {
                const std::string before = support::readFile(archive());
                noise += "again";
                const auto status = put(noise, {.flags = TRVS_PUT_KEEP_LOCK});
                const size_t size = std::filesystem::file_size(archive());
                if (status == TRVS_DONE && size < 4 * noise.size() + 99999) continue;
                return status == TRVS_NEEDS_REWRITE && support::readFile(archive()) == before ? more
                                                                                              : 98;
              }
              return 97;
            }),
            2);
  EXPECT_EQ(put(noise, {.flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE) << "by one who can";
  EXPECT_LT(std::filesystem::file_size(archive()), 2 * noise.size());
}

TEST_F(Rights, OfADirectoryMayKeepATornEndFromBeingCutOff) {
  constexpr uid_t kOther = 65534;
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  ASSERT_EQ(create(), TRVS_DONE);
  const std::string whole = support::readFile(archive());
  std::string text;
  for (int word = 0; word < 300; ++word) text += std::to_string(word * word);
  ASSERT_EQ(TrvsSetDescription(TRVS_CONTEXT, archive().c_str(), nullptr, text.c_str()), TRVS_DONE);
  std::string torn = support::readFile(archive());
  ASSERT_TRUE(torn.starts_with(whole) && torn.size() < whole.size() + 4096);
  torn.replace(1024, 512, 512, '\0');
  write("m.c_v", torn);
  ASSERT_EQ(chown(archive().c_str(), kOther, kOther), 0);
  ASSERT_EQ(chmod(path("").c_str(), 0555), 0);
  EXPECT_EQ(support::inProcess([&] {
              if (setgid(kOther) != 0 || setuid(kOther) != 0) return 99;
              const auto take = [](const char* told) {
                asked = told;
                return int32_t{TRVS_GO_ON};
              };
              TrvsRegisterCallback(TRVS_CALLBACK_TEXT, anyCallback(+take));
              asked.clear();
              const int32_t status =
                  TrvsSetDescription(TRVS_CONTEXT, archive().c_str(), nullptr, "x");
              const bool isTold = asked.ends_with("its directory doesn't take m.c_v.trvs-cut");
              return isTold ? static_cast<int>(status) : 98;
            }),
            TRVS_CANNOT_WRITE);
  EXPECT_EQ(support::readFile(archive()), torn);
}

// A colleague who may write the directory puts a link there that leads to another archive.
TEST_F(Rights, OfALinkAreThoseOfItsOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give links away";
  const std::string own = path("own");
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("text", {}), TRVS_DONE);
  std::filesystem::rename(archive(), own);
  const std::string before = support::readFile(own);
  ASSERT_EQ(symlink("own", archive().c_str()), 0);
  ASSERT_EQ(lchown(archive().c_str(), 65534, 65534), 0);
  answerQuestions();
  asked.clear();
  EXPECT_EQ(label("REL", "1.0"), TRVS_CANNOT_OPEN);
  EXPECT_EQ(asked, "link ");
  EXPECT_EQ(support::readFile(own), before);
  EXPECT_EQ(content(nullptr), "text") << "to read it does no harm";
  ASSERT_EQ(lchown(archive().c_str(), 0, 0), 0);
  EXPECT_EQ(label("REL", "1.0"), TRVS_DONE);
}

// A real fault: nothing could be checked out where there are no locks.
TEST_F(Rights, AreToReadWhereThereAreNoLocks) {
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("text", {}), TRVS_DONE);
  write("m.c.trvs-new", "another's, who may be at work");
  const int before = support::entryCount(path(""));
  const std::string output = path("log");
  const os_test::SystemCalls calls(
      [](const os_test::Call& call) { return call.name == "flock" ? ENOLCK : 0; });
  EXPECT_EQ(TrvsCreateArchive(output.c_str(), "m.c", nullptr, nullptr, 0, 0), TRVS_CANNOT_OPEN);
  EXPECT_EQ(get({.flags = TRVS_GET_LOCK}), TRVS_CANNOT_OPEN);
  EXPECT_EQ(support::entryCount(path("")), before);
  EXPECT_EQ(content(nullptr), "text");
  EXPECT_EQ(TrvsLog(TRVS_CONTEXT, archive().c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                    nullptr, nullptr, output.c_str(), TRVS_LOG_BRIEF),
            TRVS_DONE);
  EXPECT_EQ(support::entryCount(path("")), before + 2);
}

}  // namespace
}  // namespace btkf520_test
