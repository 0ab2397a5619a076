// btkf520/killed_test.cpp: writers that are killed at any instant, within batches and without.
//
// One writer after another changes the same archives, each as a plan says that both sides know. He
// tells when the workfiles of a step are written, and when the step is promised. So whoever counts
// what he told knows what each archive must be: with the step under way, or without it.
#include <climits>
#include <filesystem>
#include <random>

#include "btkf520/archives.h"
#include "os/systemcalls.h"
#include "support/childprocess.h"

namespace btkf520_test {
namespace {

using support::ChildProcess;
using Random = std::mt19937;

constexpr int kArchives = 6;
constexpr int kWide = 0;  // The archive that check-ins add parts to.
constexpr int kLives = 100;

enum class Change { kNone, kCheckIn, kLabel, kDescribe, kLock, kDelete };
// What one step does to each archive.
struct Step {
  bool isBatch = false;
  Change changes[kArchives] = {};
};

Step nextStep(Random* random) {
  Step step;
  step.isBatch = (*random)() % 2 == 0;
  const auto only = (*random)() % kArchives;
  for (unsigned i = 0; i < kArchives; ++i) {
    const auto change = static_cast<Change>(1 + (*random)() % 5);
    if (step.isBatch || i == only) step.changes[i] = change;
  }
  return step;
}

// What an archive holds.
struct State {
  int oldest = 0, newest = -1;  // Revisions.
  int labelled = -1;
  int description = 0;
  bool isLocked = false;

  // What becomes of a change that there is nothing for.
  Change possible(Change change) const {
    if (change == Change::kNone || newest < 0) {
      return change == Change::kNone ? change : Change::kCheckIn;
    }
    if (change == Change::kDelete && newest - oldest < 4) change = Change::kCheckIn;
    return change == Change::kCheckIn && !isLocked ? Change::kLock : change;
  }
  void apply(Change change) {
    change = possible(change);
    if (change == Change::kCheckIn) ++newest;
    if (change == Change::kLabel) labelled = newest;
    if (change == Change::kDescribe) ++description;
    if (change == Change::kDelete && labelled == oldest) labelled = -1;
    if (change == Change::kDelete) ++oldest;
    isLocked = change == Change::kLock ? !isLocked : isLocked && change != Change::kCheckIn;
  }
  std::string told() const {
    std::string text = std::to_string(description) + ":";
    for (int i = oldest; i <= newest; ++i) {
      text += " 1." + std::to_string(i) + (i == oldest ? "^" : "");
      if (isLocked && i == newest) text += "!ann";
      if (i == labelled) text += "#L";
    }
    return newest < 0 ? "none" : text;
  }
};

std::string contentOf(int archive, int revision) {
  Random random(static_cast<unsigned>(revision * kArchives + archive));
  std::string text = std::to_string(archive) + " " + std::to_string(revision) + "\n";
  for (int left = archive == kWide ? 80000 : 1000; left > 0; --left) {
    const auto word = static_cast<uint32_t>(random());
    text.append(reinterpret_cast<const char*>(&word), sizeof word);
  }
  return text;
}

// One that makes its part wide: that is written at two times.
std::string descriptionOf(int archive, int count) {
  return std::to_string(count) + std::string(archive % 2 == 0 ? 0 : 6000, '.');
}

class Killed : public Archives {
 protected:
  void SetUp() override {
    Archives::SetUp();
    for (int i = 0; i < kArchives; ++i) {
      archives_[i] = path("a" + std::to_string(i));
      workfiles_[i] = path("w" + std::to_string(i));
    }
  }

  int32_t change(int i, Change change) {
    const State& state = states_[i];
    const char* const name = archives_[i].c_str();
    switch (state.possible(change)) {
      case Change::kCheckIn:
        if (state.newest >= 0) {
          return putFrom(archives_[i] + "(" + workfiles_[i] + ")", {.flags = TRVS_PUT_OLDER});
        }
        return TrvsCreateWithRevision(TRVS_CONTEXT, name, workfiles_[i].c_str(), nullptr, nullptr,
                                      nullptr, "0", nullptr, nullptr, nullptr, 0, 0);
      case Change::kLabel:
        return TrvsSetLabel(TRVS_CONTEXT, name, "L", ("1." + std::to_string(state.newest)).c_str(),
                            TRVS_LABEL_MOVE);
      case Change::kDescribe:
        return TrvsSetDescription(TRVS_CONTEXT, name, nullptr,
                                  descriptionOf(i, state.description + 1).c_str());
      case Change::kLock:
        return state.isLocked
                   ? TrvsUnLockRevision(TRVS_CONTEXT, name, nullptr, nullptr)
                   : TrvsLockWithNote(TRVS_CONTEXT, name, nullptr, nullptr, "to change it");
      case Change::kDelete:
        return TrvsDeleteRevisions(TRVS_CONTEXT, name,
                                   ("1." + std::to_string(state.oldest)).c_str());
      default:
        return TRVS_DONE;
    }
  }
  bool isCheckIn(int i, Change change) const {
    return states_[i].possible(change) == Change::kCheckIn;
  }
  // The status of the first failure.
  int32_t run(const Step& step, const std::function<void()>& tell) {
    for (int i = 0; i < kArchives; ++i) {
      if (!isCheckIn(i, step.changes[i])) continue;
      support::writeFile(workfiles_[i], contentOf(i, states_[i].newest + 1));
    }
    tell();
    if (step.isBatch) TrvsBeginBatch(TRVS_CONTEXT);
    int32_t failed = TRVS_DONE;
    for (int i = 0; i < kArchives; ++i) {
      const int32_t status = change(i, step.changes[i]);
      if (failed == TRVS_DONE) failed = status;
      states_[i].apply(step.changes[i]);
    }
    if (step.isBatch && failed == TRVS_DONE) failed = TrvsEndBatch(TRVS_CONTEXT);
    tell();
    return failed;
  }

  std::string told(int i) const {
    const char* const name = archives_[i].c_str();
    char description[8000] = "";
    const int32_t status =
        TrvsGetDescription(TRVS_CONTEXT, name, nullptr, description, sizeof description);
    if (status == TRVS_NO_ARCHIVE) return "none";
    return std::to_string(std::atoi(description)) + (": " + treeOf(archives_[i]));
  }

  // After `step` was under way, or just before its workfiles were whole.
  void check(int i, const Step& step, bool isBegun) {
    State& state = states_[i];
    State after = state;
    if (isBegun) after.apply(step.changes[i]);
    const std::string now = told(i);
    EXPECT_TRUE(now == state.told() || now == after.told())
        << now << ", not " << state.told() << " or " << after.told();
    const bool isDone = now == after.told();
    if (isBegun && !isDone && isCheckIn(i, step.changes[i])) {
      EXPECT_TRUE(support::readFile(workfiles_[i]) == contentOf(i, after.newest));
    }
    if (isDone) state = after;
    if (state.newest < 0) return;
    for (const int revision : {state.oldest, state.newest}) {
      EXPECT_TRUE(contentIn(archives_[i], "1." + std::to_string(revision)) ==
                  contentOf(i, revision))
          << revision;
    }
    const int32_t status = TrvsVerifyArchive(TRVS_CONTEXT, archives_[i].c_str(), nullptr, 0);
    EXPECT_TRUE(status == TRVS_DONE || status == TRVS_TORN_END) << status;
  }

  State states_[kArchives];
  std::string archives_[kArchives], workfiles_[kArchives];
};

// 1,000 others: --gtest_repeat=10 --gtest_shuffle
TEST_F(Killed, LoseNothingThatWasPromised) {
  Random random(static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()));
  int promised = 0;
  for (int life = 0; life < kLives && !HasFailure(); ++life) {
    const Random plan(random());
    // By the clock, or before one of its calls to the system.
    const bool isByClock = life % 2 == 0;
    int calls = isByClock ? INT_MAX : static_cast<int>(random() % 400);
    SCOPED_TRACE("life " + std::to_string(life));
    ChildProcess writer([&](ChildProcess& self) {
      Random mine = plan;
      const os_test::SystemCalls rule(
          [&](const os_test::Call&) { return calls-- == 0 ? ::kill(::getpid(), SIGKILL) : 0; });
      for (;;) {
        if (const int32_t status = run(nextStep(&mine), [&] { self.signal(); })) return status + 0;
      }
    });
    if (isByClock) {
      ::usleep(static_cast<useconds_t>(random() % 40000));
      EXPECT_TRUE(writer.isRunning());
      writer.kill();
    } else {
      EXPECT_EQ(writer.finish(), -1);
    }
    Random his = plan;
    int words = writer.countSignals();
    for (; words >= 2; words -= 2, ++promised) {
      const Step step = nextStep(&his);
      for (int i = 0; i < kArchives; ++i) states_[i].apply(step.changes[i]);
    }
    const Step step = nextStep(&his);
    for (int i = 0; i < kArchives; ++i) {
      SCOPED_TRACE("archive " + std::to_string(i));
      check(i, step, words == 1);
    }
    const auto gone = random() % 30;  // To be made anew.
    if (gone >= kArchives) continue;
    std::filesystem::remove(archives_[gone]);
    states_[gone] = {};
  }
  EXPECT_GT(promised, kLives / 5);
  RecordProperty("promised", promised);
  // Deleting writes a new file, and removes what dead writers left beside the old one.
  for (int i = 0; i < kArchives; ++i) {
    Step last;
    last.changes[i] = Change::kDelete;
    for (int times = 0; times < 20; ++times) EXPECT_EQ(run(last, [] {}), TRVS_DONE);
    check(i, {}, false);
  }
  for (const auto& entry : std::filesystem::directory_iterator(path(""))) {
    const std::string name = entry.path().filename();
    EXPECT_TRUE(name == "project.cfg" || name.size() == 2) << name;
  }
}

}  // namespace
}  // namespace btkf520_test
