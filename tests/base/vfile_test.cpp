// Tests of files as streams.
#include "base/vfile.h"

#include <gtest/gtest.h>

#include "runtime/files.h"
#include "support/files.h"
#include "support/limits.h"

namespace foldapi {
namespace {

class VFileTest : public testing::Test {
 protected:
  std::string bytes() const { return support::readFile(path_); }

  const support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "proj.cfg";
};

// A real fault: the line went into the file that was no more.
TEST_F(VFileTest, AppendsToTheFileThatReplacedTheOpenedOne) {
  support::writeFile(path_, "old\n");
  VFile file{VPathString(path_)};
  ASSERT_TRUE(file.open(VFile::kReadWrite));
  ASSERT_TRUE(replaceFile(path_, "new\n"));
  file.readAll();
  EXPECT_EQ(file.writeText("line\n"), 5);
  EXPECT_TRUE(file.close());
  EXPECT_EQ(bytes(), "new\nline\n");
}

TEST_F(VFileTest, ReadsOnlyWhenOpenedToRead) {
  support::writeFile(path_, "0123456789");
  VFile file{VPathString(path_)};
  ASSERT_TRUE(file.open(VFile::kRead));
  EXPECT_EQ(file.writeText("x"), -1);
  EXPECT_TRUE(file.seek(8));
  EXPECT_EQ(file.readBytes(5), "89");
  EXPECT_EQ(file.readBytes(5), "");
  EXPECT_FALSE(file.seek(-1));
  EXPECT_TRUE(file.close());
  EXPECT_FALSE(file.open(5)) << "no such mode";
  EXPECT_FALSE(file.open(VFile::kPrinter));
}

TEST_F(VFileTest, ReportsAFullDiskAndKeepsTheFile) {
  const std::string old(90, 'x');
  support::writeFile(path_, old);
  {
    const support::SizeLimit full(100);
    VFile file{VPathString(path_)};
    ASSERT_TRUE(file.open(VFile::kReadWrite));
    ASSERT_TRUE(file.seek(VFile::kEnd));
    EXPECT_EQ(file.writeText(std::string(20, 'y')), -1);
    ASSERT_TRUE(file.open(VFile::kCreate));
    EXPECT_EQ(file.writeText(std::string(200, 'z')), 200);
    EXPECT_FALSE(file.close());
  }
  EXPECT_EQ(bytes(), old);
}

}  // namespace
}  // namespace foldapi
