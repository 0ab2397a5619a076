// btkf520/read_failure_test.cpp: a disk that fails once is no damage. The archive stays as it was,
// and all of it can be read when the disk is well again.
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "btkf520/archives.h"

namespace {

int theReadsLeft = -1;  // Until one fails; without end if negative.

}  // namespace

// In front of the C library's own.
extern "C" ssize_t pread(int file, void* buffer, size_t size, off_t offset) {
  if (theReadsLeft >= 0 && theReadsLeft-- == 0) {
    errno = EIO;
    return -1;
  }
  return ::syscall(SYS_pread64, file, buffer, size, offset);
}

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
    theReadsLeft = reads;
    const int32_t status = deleteRange("1.4");
    const bool hasFailed = theReadsLeft < 0;
    theReadsLeft = -1;
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
