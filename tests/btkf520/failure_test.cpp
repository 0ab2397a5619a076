// btkf520/failure_test.cpp: each allocation and each call to the system fails once. What is done
// counts as done and is told; what failed left no trace, and all can be read when the disk is well
// again.
#include <cerrno>
#include <climits>
#include <functional>

#include "btkf520/archives.h"
#include "os/systemcalls.h"
#include "support/failingheap.h"

namespace btkf520_test {
namespace {

class Failures : public Archives {
 protected:
  struct Step {
    const char* tree;  // Afterwards.
    std::function<int32_t()> run;
  };

  void SetUp() override {
    Archives::SetUp();
    configure("JOURNAL = " + path("journal") + "\n");
    TrvsRegisterCallback(TRVS_CALLBACK_TRIGGER,
                         anyCallback(+[](const char*, const char*) -> int32_t { return 0; }));
    ASSERT_EQ(create(), TRVS_DONE);
    std::string text;
    for (int i = 0; i < 9; ++i) {
      ASSERT_EQ(put(text += std::to_string(i * i * 7919) + "\n", {.flags = TRVS_PUT_KEEP_LOCK}),
                TRVS_DONE);
    }
    ASSERT_EQ(unlock(), TRVS_DONE);
    TrvsRegisterCallback(TRVS_CALLBACK_OPERATION,
                         anyCallback(+[](const char*, const char*, const char*, const char*,
                                         int32_t) -> int32_t { return ++told; }));
  }

  // `run` does each of the steps once, and says whether anything failed meanwhile.
  void check(const std::function<bool(int attempt, const Step& step, int32_t* status)>& run) {
    const std::string both = target();  // No memory is asked for but by the operation.
    const char* const name = both.c_str();
    const auto checkOut = [name](uint32_t flags) {
      return TrvsGetRevision(TRVS_CONTEXT, name, 0, nullptr, nullptr, nullptr, 0, nullptr, 0,
                             flags | TRVS_GET_OVERWRITE);
    };
    const Step steps[] = {
        {"1.0^ 1.1 1.2 1.3 1.4 1.5 1.6 1.7 1.8", [&] { return checkOut(0); }},
        {"1.0^ 1.1 1.2 1.3 1.4 1.5 1.6 1.7 1.8!ann", [&] { return checkOut(TRVS_GET_LOCK); }},
        {"1.0^ 1.1 1.2 1.3 1.4 1.5 1.6 1.7 1.8!ann#R",
         [&] { return TrvsSetLabel(TRVS_CONTEXT, name, "R", "1", 0); }},
        {"1.0^ 1.1 1.2 1.3 1.4 1.5 1.6 1.7 1.8#R 1.9",
         [&] {
           return TrvsPutRevision(TRVS_CONTEXT, 0, name, 0, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, 0, 0);
         }},
        {"1.0^ 1.1 1.2 1.3 1.5 1.6 1.7 1.8#R 1.9",
         [&] { return TrvsDeleteRevisions(TRVS_CONTEXT, name, "1.4"); }},
    };
    const std::string first = support::readFile(archive());
    for (const Step& step : steps) {
      const std::string bytes = support::readFile(archive());
      const std::string before = tree();
      bool hasFailed = true;
      for (int attempt = 0; hasFailed; ++attempt) {
        SCOPED_TRACE(step.tree + (" after " + std::to_string(attempt)));
        write("m.c_v", bytes);
        unlink(workfile().c_str());
        write("m.c", "2");
        told = 0;
        int32_t status = TRVS_DONE;
        hasFailed = run(attempt, step, &status);
        EXPECT_EQ(tree(), status == TRVS_DONE ? step.tree : before);
        EXPECT_EQ(told, status == TRVS_DONE ? 1 : 0);
        if (status != TRVS_DONE && &step != &steps[1]) {  // Which locks and unlocks.
          EXPECT_TRUE(support::readFile(archive()) == bytes);
        }
        EXPECT_TRUE(status == TRVS_DONE || hasFailed) << status;
        EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, name, nullptr, 0), TRVS_DONE);
      }
    }
    write("m.c_v", first);
  }

  static inline int told;
};

TEST_F(Failures, OfMemoryTurnNoSuccessIntoFailure) {
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
  }
}

// From any read on, the open archive is one that another machine has replaced.
TEST_F(Failures, OfAReplacedArchiveCostASecondLook) {
  const std::string wide(600 << 10, 'w');
  ASSERT_EQ(lock(), TRVS_DONE);
  ASSERT_EQ(put(wide, {}), TRVS_DONE);
  write("m.c", "here");
  const std::function<int32_t()> reads[] = {
      [&] { return get({.flags = TRVS_GET_OVERWRITE}); },
      [&] { return get({.revision = "1.2", .flags = TRVS_GET_OVERWRITE}); },
      [&] { return verify(); },
  };
  for (const auto& read : reads) {
    bool hasFailed = true;
    for (int attempt = 0; hasFailed; ++attempt) {
      int left = attempt;
      hasFailed = false;
      const os_test::SystemCalls calls([&](const os_test::Call& call) {
        if (call.path != "m.c_v") return 0;
        if (call.name == "open" && hasFailed) left = INT_MAX;  // The one that is there now.
        if (call.name != "pread" || left-- > 0) return 0;
        hasFailed = true;
        return ESTALE;
      });
      EXPECT_EQ(read(), TRVS_DONE) << attempt;
    }
  }
  EXPECT_EQ(support::readFile(workfile()), "0\n7919\n31676\n");
}

}  // namespace
}  // namespace btkf520_test
