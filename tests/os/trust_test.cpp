// Whose word a file is: owners, modes and links on the way to it.
#include "os/trust.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/files.h"

namespace {

TEST(Trust, IsForWhatRootAndTheUserAloneCanChange) {
  const support::TemporaryDirectory directory;
  const std::string file = directory / "open/own/file";
  const std::string link = directory / "open/link";
  support::writeFile(file, "");
  chmod((directory / "open").c_str(), 01777);
  chmod((directory / "open/own").c_str(), 0755);
  chmod(file.c_str(), 0644);
  EXPECT_TRUE(os::isOursAlone(file));
  EXPECT_TRUE(os::isOursAlone(directory / "open/../open/./own//file"));
  EXPECT_FALSE(os::isOursAlone(directory / "open/own"));
  EXPECT_FALSE(os::isOursAlone(directory / "open/none"));
  ASSERT_EQ(symlink("own/../own", link.c_str()), 0);
  EXPECT_TRUE(os::isOursAlone(link + "/file"));
  ASSERT_EQ(symlink("round", (directory / "round").c_str()), 0);
  EXPECT_FALSE(os::isOursAlone(directory / "round"));
  EXPECT_EQ(os::isOursAlone(file, os::Trusted::kRoot), geteuid() == 0);
  if (geteuid() != 0) return;  // Only root can give files away.
  for (const std::string& anothers : {link, directory / "open/own", file}) {
    ASSERT_EQ(lchown(anothers.c_str(), 12345, 12345), 0);
    EXPECT_FALSE(os::isOursAlone(link + "/file")) << anothers;
    EXPECT_EQ(os::isOursAlone(file), anothers == link) << anothers;
    ASSERT_EQ(lchown(anothers.c_str(), 0, 0), 0);
  }
}

}  // namespace
