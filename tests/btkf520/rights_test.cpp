// btkf520/rights_test.cpp: archives belong to those who may write them.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "btkf520/archives.h"
#include "support/childprocess.h"

namespace btkf520_test {
namespace {

using Rights = Archives;

// A real fault: whoever could write the directory replaced the archive, which became his.
TEST_F(Rights, OfAnArchiveAreKeptOrItIsNotChanged) {
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
      {"shared with a group that can't be kept", kOther, kOther, 1, 0664, TRVS_CANNOT_WRITE},
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

}  // namespace
}  // namespace btkf520_test
