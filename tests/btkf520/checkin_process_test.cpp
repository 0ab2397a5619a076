// btkf520/checkin_process_test.cpp: a team of processes that check in to one archive at once, and
// processes that die.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <sstream>

#include "btkf520/archives.h"
#include "support/childprocess.h"
#include "support/limits.h"

namespace btkf520_test {
namespace {

using support::ChildProcess;

class Team : public Archives {
 protected:
  enum class Locks { kChecked, kNotChecked };

  void start(Locks locks) {
    unlink(archive().c_str());
    acknowledged_.clear();
    ASSERT_EQ(create(), TRVS_DONE);
    if (locks == Locks::kNotChecked) {
      setAttributes(0, TRVS_ATTRIBUTE_CHECK_LOCKS);
    }
    ASSERT_EQ(put("first", {.change = "first"}), TRVS_DONE);
  }

  // Checks in "NAME 0", "NAME 1" and so on, each as its own change, and signals each that is done.
  // 0, or the first status that must not be.
  int32_t work(const std::string& name, int rounds, Locks locks, ChildProcess& self) {
    become(name.c_str());
    const std::string both = archive() + "(" + path(name) + ")";
    for (int done = 0; done < rounds;) {
      if (locks == Locks::kChecked) {
        const int32_t status = getTo(both, TRVS_GET_LOCK | TRVS_GET_OVERWRITE);
        if (status == TRVS_IN_USE || status == TRVS_LOCKED) continue;
        if (status != TRVS_DONE) return status;
      }
      const std::string text = name + " " + std::to_string(done);
      write(name, text);
      const int32_t status =
          putFrom(both, {.change = text.c_str(), .flags = TRVS_PUT_OLDER | TRVS_PUT_READ_ONLY});
      chmod(path(name).c_str(), 0644);
      if (status != TRVS_DONE && status != TRVS_IN_USE) return status;
      if (status == TRVS_DONE && ++done) self.signal();
      if (status != TRVS_DONE) TrvsUnLockRevision(TRVS_CONTEXT, both.c_str(), nullptr, nullptr);
    }
    return 0;
  }
  void countAcknowledged(const std::string& name, ChildProcess& worker) {
    for (int count = worker.countSignals(); count > 0; --count) {
      acknowledged_.insert(name + " " + std::to_string(count - 1));
    }
  }

  bool isWhole() const { return verify() == TRVS_DONE; }

  // Everything acknowledged is there, once and whole, and each revision is its own change; gives
  // how many there are besides.
  size_t check() {
    std::set<std::string> there;
    std::istringstream numbers(revisions());
    for (std::string number; numbers >> number;) {
      char change[100] = "";
      EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, archive().c_str(), number.c_str(), change, 100),
                TRVS_DONE);
      EXPECT_EQ(content(number.c_str()), change);
      EXPECT_TRUE(there.insert(change).second) << change;
    }
    for (const std::string& text : acknowledged_) EXPECT_TRUE(there.contains(text)) << text;
    EXPECT_TRUE(isWhole());
    return there.size() - acknowledged_.size();
  }

 private:
  std::set<std::string> acknowledged_;
};

TEST_F(Team, LosesNothing) {
  const struct {
    const char* why;
    Locks locks;
    bool waits;
  } cases[] = {{"without locks", Locks::kNotChecked, false},
               {"waiting", Locks::kNotChecked, true},
               {"with locks", Locks::kChecked, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    start(c.locks);
    if (c.waits) answerQuestions();
    const auto members = support::startProcesses(8, [&](int member, ChildProcess& self) {
      return work("user" + std::to_string(member), 5, c.locks, self);
    });
    size_t seen = 0;
    for (size_t done = 0; done < members.size();) {
      const std::string now = revisions();
      EXPECT_GE(now.size(), seen) << "what was seen is there the next time";
      seen = now.size();
      EXPECT_TRUE(isWhole());
      if (members[done]->isRunning()) continue;
      EXPECT_EQ(members[done]->finish(), 0);
      countAcknowledged("user" + std::to_string(done), *members[done]);
      ++done;
    }
    EXPECT_EQ(check(), 1u) << "nothing that nobody knows of";
  }
}

// Of several that make one archive at once, one does, and the others are told so.
TEST_F(Team, MakesAnArchiveOnce) {
  for (int round = 0; round < 20; ++round) {
    unlink(archive().c_str());
    const auto makers = support::startProcesses(4, [&](int maker, ChildProcess&) {
      become(std::to_string(maker).c_str());
      return static_cast<int>(create(std::to_string(maker).c_str()));
    });
    std::string winners;
    for (size_t maker = 0; maker < makers.size(); ++maker) {
      const int status = makers[maker]->finish();
      if (status == TRVS_DONE) winners += std::to_string(maker);
      EXPECT_TRUE(status == TRVS_DONE || status == TRVS_ARCHIVE_EXISTS || status == TRVS_IN_USE)
          << status;
    }
    char description[20] = "";
    EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, archive().c_str(), nullptr, description, 20),
              TRVS_DONE);
    EXPECT_EQ(winners, description);
  }
}

// Real faults: a line of tabs took gigabytes, and who cut a file short killed whoever compared it
// or checked it in.
TEST_F(Team, OutlivesAFileThatIsLongOrCutShort) {
  static std::string theFile;
  const auto survives = [](const std::string& file, const std::function<int()>& work) {
    return support::inProcess([&] {
      theFile = file;
      support::writeFile(file, std::string(4 << 20, '\t'));
      support::limitMemory(100 << 20);
      static int calls = 0;
      TrvsRegisterCallback(TRVS_CALLBACK_CONTINUE, anyCallback(+[]() -> int32_t {
                             return ++calls == 2 ? truncate(theFile.c_str(), 0) : 0;
                           }));
      return work();
    });
  };
  write("second", "a\n");
  const auto compare = [this] {
    int16_t result = -1;
    return TrvsTestDifferences(TRVS_CONTEXT, path("first").c_str(), "", path("second").c_str(), "",
                               &result, 64, nullptr, 0);
  };
  EXPECT_EQ(survives(path("first"), compare), 0);
  ASSERT_EQ(create(), 0);
  EXPECT_EQ(survives(workfile(), [&] { return put({}); }), 0);
}

}  // namespace
}  // namespace btkf520_test
