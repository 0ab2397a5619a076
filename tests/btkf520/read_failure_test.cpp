// btkf520/read_failure_test.cpp: a disk that fails once is no damage. The archive stays as it was,
// and all of it can be read when the disk is well again.

#include "btkf520/archives.h"
#include "os/systemcalls.h"

namespace btkf520_test {
namespace {

class ReadFailure : public Archives {};

// A real fault: revisions whose frames could not be read were given up for damaged.
TEST_F(ReadFailure, CostsNoRevision) {
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS), 0);
  std::string text;
  for (int i = 0; i < 9; ++i) ASSERT_EQ(put(text += std::to_string(i * i * 7919) + "\n", {}), 0);
  const std::string before = support::readFile(archive());
  int failures = 0;
  for (int reads = 0;; ++reads) {
    SCOPED_TRACE(reads);
    support::writeFile(archive(), before);
    int left = reads;
    int32_t status = 0;
    {
      const os_test::SystemCalls calls([&left](const os_test::Call& call) {
        return call.name == "pread" && left-- == 0 ? EIO : 0;
      });
      status = deleteRange("1.4");
    }
    const bool hasFailed = left < 0;
    EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, archive().c_str(), nullptr, 0), 0);
    if (!hasFailed) break;
    ++failures;
    EXPECT_TRUE(status == 0 || status == TRVS_CANNOT_OPEN || status == TRVS_CANNOT_WRITE) << status;
    EXPECT_EQ(support::readFile(archive()) == before, status != 0);
  }
  EXPECT_GT(failures, 3);
}

}  // namespace
}  // namespace btkf520_test
