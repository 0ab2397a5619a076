// btkf520/failure_test.cpp: each allocation and each call to the system fails once. What is done
// counts as done and is told; what failed left no trace, and all can be read when the disk is well
// again.
#include <cerrno>
#include <climits>
#include <filesystem>
#include <functional>

#include "btkf520/archives.h"
#include "btkf520/operations/linediff.h"
#include "os/pages.h"
#include "os/systemcalls.h"
#include "support/failingheap.h"
#include "toolkit/archiveinfo.h"

extern "C" {
void* __real_malloc(size_t size);
void* __real_aligned_alloc(size_t alignment, size_t size);

void* __wrap_malloc(size_t size) {
  const bool fails = support::allocationFails != nullptr && support::allocationFails(size);
  return fails ? nullptr : __real_malloc(size);
}
void* __wrap_aligned_alloc(size_t alignment, size_t size) {
  const bool fails = support::allocationFails != nullptr && support::allocationFails(size);
  return fails ? nullptr : __real_aligned_alloc(alignment, size);
}
}

namespace btkf520_test {
namespace {

class Failures : public Archives {
 protected:
  struct Step {
    const char* tree;  // Afterwards.
    std::function<int32_t()> run;
    int told = 1;  // Events.
    bool isOther = false;
  };

  void SetUp() override {
    Archives::SetUp();
    configure("JOURNAL = " + path("journal") + "\nPROMOTE dev = rel\n");
    TrvsRegisterCallback(TRVS_CALLBACK_TRIGGER,
                         anyCallback(+[](const char*, const char*) -> int32_t { return 0; }));
    ASSERT_EQ(create(), TRVS_DONE);
    std::string text;
    for (int i = 0; i < 5; ++i) {
      ASSERT_EQ(put(text += std::to_string(i * i * 7919) + "\n", {.flags = TRVS_PUT_KEEP_LOCK}),
                TRVS_DONE);
    }
    ASSERT_EQ(unlock(), TRVS_DONE);
    TrvsRegisterCallback(TRVS_CALLBACK_OPERATION,
                         anyCallback(+[](const char*, const char*, const char*, const char*,
                                         int32_t) -> int32_t { return ++told; }));
  }
  // `run` does each of the steps of a day once, and says whether anything failed meanwhile.
  void check(const std::function<bool(int attempt, const Step& step, int32_t* status)>& run) {
    // No memory is asked for but by the operation.
    const std::string both = target(), wide = path("n.c_v") + "(" + workfile() + ")";
    const std::string made = path("n.c_v"), from = workfile();
    const char *const name = both.c_str(), *const other = wide.c_str();
    const auto checkOut = [name](uint32_t flags) {
      return TrvsGetRevision(TRVS_CONTEXT, name, 0, nullptr, nullptr, nullptr, 0, nullptr, 0,
                             flags | TRVS_GET_OVERWRITE);
    };
    const auto checkIn = [](const char* to) {
      return TrvsPutRevision(TRVS_CONTEXT, 0, to, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr, 0, TRVS_PUT_KEEP_LOCK);
    };
    const Step steps[] = {
        {"1.0^ 1.1 1.2 1.3 1.4~dev", [&] { return checkOut(0); }},
        {"1.0^ 1.1 1.2 1.3 1.4!ann~dev", [&] { return checkOut(TRVS_GET_LOCK); }},
        {"1.0^ 1.1 1.2 1.3 1.4!ann#R~dev",
         [&] { return TrvsSetLabel(TRVS_CONTEXT, name, "R", "1", 0); }},
        {"1.0^ 1.1 1.2 1.3 1.4#R 1.5!ann~dev", [&] { return checkIn(name); }},
        {"1.0^ 1.1 1.2 1.3 1.4#R 1.5~dev",
         [&] { return TrvsUnLockRevision(TRVS_CONTEXT, name, nullptr, nullptr); }},
        {"1.0^ 1.1 1.2 1.3 1.4#R 1.5~rel",
         [&] { return TrvsPromoteRevision(TRVS_CONTEXT, name, "dev", 0); }},
        {"1.0^ 1.1 1.3 1.4#R 1.5~rel",
         [&] { return TrvsDeleteRevisions(TRVS_CONTEXT, name, "1.2"); }},
        {"1.0^ 1.1 1.3 1.4#R 1.5#B~rel",
         [&] {
           TrvsBeginBatch(TRVS_CONTEXT);
           const int32_t status = TrvsSetLabel(TRVS_CONTEXT, name, "B", "1", 0);
           const int32_t end = TrvsEndBatch(TRVS_CONTEXT);
           return status == TRVS_DONE ? end : status;
         }},
        {"1.0^~dev",
         [&] {
           return TrvsCreateWithRevision(TRVS_CONTEXT, made.c_str(), from.c_str(), nullptr, nullptr,
                                         nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
         },
         2, true},
        {"1.0^!ann~dev",
         [&] { return TrvsLockWithNote(TRVS_CONTEXT, other, nullptr, nullptr, "to change it"); }, 1,
         true},
        {"1.0^ 1.1!ann~dev", [&] { return checkIn(other); }, 1, true},
    };
    const std::string first = support::readFile(archive());
    for (const Step& step : steps) {
      const std::string of = step.isOther ? path("n.c_v") : archive();
      const bool isThere = std::filesystem::exists(of);
      const std::string bytes = isThere ? support::readFile(of) : "";
      const std::string before = treeOf(of);
      // Of a width that has memory from files.
      const std::string text =
          step.isOther ? std::string(os::Memory::kWide + bytes.size(), 'w') : "2";
      bool hasFailed = true;
      for (int attempt = 0; hasFailed; ++attempt) {
        SCOPED_TRACE(step.tree + (" after " + std::to_string(attempt)));
        std::filesystem::remove(of);
        if (isThere) support::writeFile(of, bytes);
        unlink(workfile().c_str());
        write("m.c", text);
        told = 0;
        int32_t status = TRVS_DONE;
        hasFailed = run(attempt, step, &status);
        EXPECT_EQ(treeOf(of), status == TRVS_DONE ? step.tree : before);
        EXPECT_EQ(told, status == TRVS_DONE ? step.told : 0);
        if (status != TRVS_DONE && &step != &steps[1] && isThere) {  // Which locks and unlocks.
          EXPECT_TRUE(support::readFile(of) == bytes);
        }
        EXPECT_TRUE(status == TRVS_DONE || hasFailed) << status;
        if (status != TRVS_DONE) {
          EXPECT_EQ(step.run(), TRVS_DONE);
        }
        EXPECT_EQ(treeOf(of), step.tree);
        EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, of.c_str(), nullptr, 0), TRVS_DONE);
      }
    }
    std::filesystem::remove(path("n.c_v"));
    write("m.c_v", first);
  }

  static inline int told;
  const os_test::QuickSyncs quick_;
};

// A real fault: where zstd had no memory for a frame or its prefix, the archive was told to be
// damaged.
TEST_F(Failures, OfMemoryTurnNoSuccessIntoFailure) {
  support::heap = __real_malloc;
  check([](int attempt, const Step& step, int32_t* status) {
    static int left;  // Until one fails.
    left = attempt;
    support::allocationFails = [](size_t) { return left-- == 0; };
    *status = step.run();
    support::allocationFails = nullptr;
    EXPECT_TRUE(*status == TRVS_DONE || *status == TRVS_NO_MEMORY) << *status;
    return left < 0;
  });
}

// A real fault: revisions whose frames could not be read were given up for damaged.
TEST_F(Failures, OfTheSystemTurnNoSuccessIntoFailure) {
  const size_t mostOrdinary = os::Memory::mostOrdinary.exchange(0);
  for (const int error : {EIO, EINTR}) {
    check([error](int attempt, const Step& step, int32_t* status) {
      int left = attempt;
      std::string failed;
      const os_test::SystemCalls calls([&](const os_test::Call& call) {
        if (left-- != 0) return 0;
        failed = call.name + " " + call.path;
        return error;
      });
      *status = step.run();
      EXPECT_TRUE(*status == TRVS_DONE || error != EINTR) << failed;
      return left < 0;
    });
    os::Memory::mostOrdinary = mostOrdinary;
  }
}

// From any read on, the open archive is one that another machine has replaced; and so are the next
// three from their first read on.
TEST_F(Failures, OfAReplacedArchiveCostASecondLook) {
  const std::string wide(600 << 10, 'w');
  ASSERT_EQ(lock(), TRVS_DONE);
  ASSERT_EQ(put(wide, {}), TRVS_DONE);
  write("m.c", "here");
  const std::function<int32_t()> reads[] = {
      [&] { return get({.flags = TRVS_GET_OVERWRITE}); },
      [&] { return get({.revision = "1.2", .flags = TRVS_GET_OVERWRITE}); },
      [&] { return verify(); },
      [&] { return foldapi::TVArchiveInfo52(foldapi::VPathString(archive().c_str())).Load(); },
  };
  for (const auto& read : reads) {
    int replaced = 1;
    for (int attempt = 0; replaced > 0; ++attempt) {
      int left = attempt;
      replaced = 0;
      bool isStale = false;
      const os_test::SystemCalls calls([&](const os_test::Call& call) {
        if (!call.path.starts_with("m.c_v")) return 0;  // "m.c_v (deleted)" once it is replaced.
        if (call.name == "open") {
          if (isStale) left = replaced > 3 ? INT_MAX : 0;
          isStale = false;
        }
        if (isStale && call.name == "statx") return ESTALE;
        if (call.name != "pread" || left-- > 0) return 0;
        isStale = true;
        ++replaced;
        support::writeFile(path("new"), support::readFile(archive()));
        std::filesystem::rename(path("new"), archive());
        return ESTALE;
      });
      EXPECT_EQ(read(), TRVS_DONE) << attempt;
    }
  }
  EXPECT_EQ(support::readFile(workfile()), "0\n7919\n31676\n");
}

// Short lines at the start say little about the rest.
TEST(LineDifferences, TakeMemoryForLinesThatAreThere) {
  const size_t mostOrdinary = os::Memory::mostOrdinary.exchange(4 << 20);
  const os_test::SystemCalls calls;
  EXPECT_EQ(btkf::Lines(std::string(2000, '\n') + std::string(8 << 20, 'x')).size(), 2001u);
  EXPECT_EQ(calls.log("fallocate"), "");
  os::Memory::mostOrdinary = mostOrdinary;
}

}  // namespace
}  // namespace btkf520_test
