// Tests of wide memory: what is a file, and what becomes of it where there can be none.
#include "os/pages.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>

#include "os/systemcalls.h"
#include "support/files.h"
#include "support/limits.h"

namespace os {
namespace {

class WideMemory : public testing::Test {
 protected:
  void TearDown() override { Memory::mostOrdinary = old_; }

  const size_t old_ = Memory::mostOrdinary.exchange(3 * Memory::kWide);
  const support::TemporaryDirectory directory_;
  const support::ScopedEnvironment temporary_{"TMPDIR", directory_.path()};
};

TEST_F(WideMemory, IsAFileOnceThereIsEnoughOrdinary) {
  Memory first(2 * Memory::kWide);
  {
    const os_test::SystemCalls calls;
    Memory second(2 * Memory::kWide + 1);
    EXPECT_FALSE(first.isMapped());
    EXPECT_TRUE(second.isMapped());
    EXPECT_FALSE(Memory(Memory::kWide).isMapped()) << "as much as is left";
    EXPECT_EQ(calls.log("fallocate unlink").find("fallocate"), 0u);
    std::memset(second.data(), 'x', 2 * Memory::kWide + 1);
    EXPECT_EQ(support::entryCount(directory_.path()), 0);
    first = std::move(second);
    EXPECT_EQ(first.data()[2 * Memory::kWide], 'x');
  }
  EXPECT_FALSE(Memory(3 * Memory::kWide).isMapped()) << "all of it is free again";
}

TEST_F(WideMemory, IsUsedAgainByWhoAsksForIt) {
  const auto place = [](size_t size) {
    const Memory memory(size);
    EXPECT_FALSE(memory.isMapped());
    std::memset(memory.data(), 'x', size);
    return memory.data();
  };
  {
    const Memory::Reuse reuse;
    char* const first = place(2 * Memory::kWide);
    EXPECT_EQ(place(Memory::kWide + 1), first);
    const Memory taken(2 * Memory::kWide);
    EXPECT_EQ(taken.data(), first);
    EXPECT_TRUE(Memory(2 * Memory::kWide).isMapped()) << "what is in use counts";
  }
  {
    const Memory::Reuse reuse;
    place(2 * Memory::kWide);
    place(3 * Memory::kWide);  // There is room once what is kept is given back.
  }
  place(3 * Memory::kWide);
}

TEST_F(WideMemory, IsOrdinaryWhereThereCanBeNoSuchFile) {
  Memory::mostOrdinary = 0;
  for (const int error : {ENOSPC, EOPNOTSUPP}) {
    int left = 1;  // It fails in the first directory, and then in both.
    const os_test::SystemCalls calls([&](const os_test::Call& call) {
      return call.name == "fallocate" && left-- > 0 ? error : 0;
    });
    EXPECT_TRUE(Memory(Memory::kWide).isMapped());
    left = 2;
    EXPECT_FALSE(Memory(Memory::kWide).isMapped());
    EXPECT_THROW(Memory(SIZE_MAX / 4 * 3), std::bad_alloc);
  }
  {
    const support::SizeLimit limit(Memory::kWide);
    EXPECT_TRUE(Memory(Memory::kWide).isMapped());
    EXPECT_FALSE(Memory(Memory::kWide + 1).isMapped());
  }
}

TEST_F(WideMemory, LiesOnADiskAndHasNoName) {
  Memory::mostOrdinary = 0;
  const std::string own = directory_.path();
  for (const auto& [directory, want] :
       std::map<std::string, std::string>{{own, own},
                                          {"/dev/shm", "/var/tmp"},
                                          {"relative", "/var/tmp"},
                                          {own + "/no", "/var/tmp"}}) {
    const support::ScopedEnvironment other("TMPDIR", directory);
    for (const int error : {0, EOPNOTSUPP}) {  // That of a file system where all files have names.
      std::string place;
      const os_test::SystemCalls calls([&](const os_test::Call& call) {
        if (call.name == "fallocate") {
          place = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(call.descriptor));
        }
        return call.name == "open" ? error : 0;
      });
      EXPECT_TRUE(Memory(Memory::kWide).isMapped());
      EXPECT_EQ(place.substr(0, place.rfind('/')), want) << directory;
      EXPECT_TRUE(place.ends_with(" (deleted)")) << place;
    }
  }
  EXPECT_EQ(support::entryCount(own), 0);
}

TEST(MappedMemory, GoesAsAWhole) {
  constexpr size_t kStep = 64 << 10;
  auto* const place = static_cast<char*>(mapMemory(kStep + 1, kStep, Touched::kInPart));
  EXPECT_EQ(::msync(place + kStep, kStep, MS_ASYNC), 0);
  unmapMemory(place, kStep + 1);
  for (size_t at = 0; at < 2 * kStep; at += kStep / 4) {
    EXPECT_EQ(::msync(place + at, kStep / 4, MS_ASYNC), -1) << at;
  }
}

}  // namespace
}  // namespace os
