// Several processes on one database, and processes that are killed: nothing is lost, and every file
// is whole at any moment.
#include <gtest/gtest.h>
#include <sys/file.h>

#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "support/childprocess.h"
#include "support/client.h"

namespace {

using std::string;
using support::ChildProcess;
using support::kHead;
using Names = std::vector<string>;

constexpr int kTries = 1000;

// Tries until a change shows in what is read anew.
template <typename Change, typename IsThere>
bool untilVisible(Change change, IsThere isThere) {
  for (int i = 0; i < kTries; ++i) {
    change();
    if (isThere()) return true;
  }
  return false;
}

bool addUntilVisible(TVHandle* project, const string& name) {
  return untilVisible(
      [&] { AddExistingArchive(project, name.c_str(), ("/v/" + name + "_v").c_str()); },
      [&] {
        CloseProject(project);
        OpenProject(project);
        return FindArchiveByWorkName(project, name.c_str()) != nullptr;
      });
}

class Writers : public testing::Test {
 protected:
  support::ScratchDatabase scratch_;
};

TEST_F(Writers, AddArchivesAtOnceAndLoseNone) {
  constexpr int kAdds = 20;
  CreateProject(scratch_.openRoot(), "P", "", "");
  for (const int count : {2, 4}) {
    SCOPED_TRACE(count);
    scratch_.write("pub/P.prj/trvsfold.pub", "");
    const auto all = support::startProcesses(count, [this](int number, ChildProcess&) {
      TVHandle* project = scratch_.openProject("P");
      for (int i = 0; i < kAdds; ++i) {
        const string name = std::to_string(number) + "_" + std::to_string(i);
        if (!addUntilVisible(project, name)) return 1;
      }
      return 0;
    });
    for (const auto& process : all) EXPECT_EQ(process->finish(), 0);
    const Names names = support::workfileNames(scratch_.openProject("P"));
    EXPECT_EQ(names.size(), static_cast<size_t>(count * kAdds));
    EXPECT_EQ(std::set<string>(names.begin(), names.end()).size(), names.size());
  }
}

TEST_F(Writers, WaitForAnotherWriter) {
  CreateProject(scratch_.openRoot(), "P", "", "");
  TVHandle* project = scratch_.openProject("P");
  ChildProcess holder([&](ChildProcess& self) {
    const int file = open(scratch_.path("pub/P.prj/trvsfold.pub").c_str(), O_RDONLY);
    flock(file, LOCK_EX);
    self.signal();
    usleep(200000);
    return 0;
  });
  ASSERT_TRUE(holder.await());
  AddExistingArchive(project, "a", "a");
  EXPECT_EQ(support::workfileNames(scratch_.openProject("P")), Names{"a"});
}

// Killed writers ----------------------------------------------------------------------------------

// One step of a writer. The plan says what a step does, so whoever knows how many were acknowledged
// knows what must be there.
class Plan {
 public:
  explicit Plan(int round) : prefix_("r" + std::to_string(round) + "_") {}

  // Archives, and the private directory, both as files show them; "" if no step has set one.
  struct State {
    std::set<string> names;
    string directory;
  };

  void run(int step, TVHandle* project) const {
    if (setsDirectory(step)) {
      SetProjectPrivateDir(project, name(step).c_str());
    } else if (destroys(step)) {
      DestroyArchive(FindArchiveByWorkName(project, name(step - 1).c_str()));
    } else {
      AddExistingArchive(project, name(step).c_str(), ("/v/" + name(step) + "_v").c_str());
    }
  }
  void apply(int step, State* state) const {
    if (setsDirectory(step)) {
      state->directory = name(step);
    } else if (destroys(step)) {
      state->names.erase(name(step - 1));
    } else {
      state->names.insert(name(step));
    }
  }

 private:
  static bool setsDirectory(int step) { return step % 5 == 4; }
  static bool destroys(int step) { return step % 5 == 3; }
  string name(int step) const { return prefix_ + std::to_string(step); }

  string prefix_;
};

class KilledWriters : public Writers {
 protected:
  // What the files say, line by line: any other line is a failure.
  Plan::State readFiles() const {
    Plan::State state;
    string documents = withoutHead("pub/P.prj/trvsfold.pub");
    std::istringstream lines(documents);
    for (string line; std::getline(lines, line);) {
      const string name = line.substr(line.rfind(';') + 1, line.size() - line.rfind(';') - 2);
      EXPECT_EQ(line, "[DOCUMENT=/v;" + name + "_v;;" + name + "]");
      EXPECT_TRUE(state.names.insert(name).second) << name;
    }
    EXPECT_TRUE(documents.empty() || documents.ends_with("\n"));
    EXPECT_EQ(withoutHead("prv/P.prj/trvsfold.prv"), "");
    const string project = "[Project=P]\nCFG=@/pub/P.prj/P.cfg\nDIR=P.prj\nWKDIR=";
    EXPECT_EQ(withoutHead("pub/trvsproj.pub"), project + "/team\n\n");
    const string mine = withoutHead("prv/trvsproj.prv");
    const string tail = "\nOWNERSHIP=PUBLIC\n\n";
    if (mine.size() > project.size() + tail.size()) {
      state.directory = mine.substr(project.size(), mine.size() - project.size() - tail.size());
    }
    EXPECT_EQ(mine, project + state.directory + tail);
    return state;
  }

  string withoutHead(const char* file) const {
    const string text = scratch_.shown(file);
    return text.starts_with(kHead) ? text.substr(kHead.size()) : text;
  }
};

TEST_F(KilledWriters, LoseNothingThatWasAcknowledged) {
  CreateProject(scratch_.openRoot(), "P", "/ann", "/team");
  std::mt19937 random(1);
  Plan::State state = readFiles();
  EXPECT_EQ(state.directory, "/ann");
  int acknowledged = 0;
  for (int round = 0; round < 50; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const Plan plan(round);
    ChildProcess writer([&](ChildProcess& self) {
      TVHandle* project = scratch_.openProject("P");
      for (int step = 0; step < kTries; ++step) {
        plan.run(step, project);
        self.signal();
      }
      return 0;
    });
    // From the first acknowledgement on, or any time before it.
    const int seen = round % 5 != 0 && writer.await() ? 1 : 0;
    usleep(static_cast<useconds_t>(random() % 25000));
    writer.kill();
    const int steps = seen + writer.countSignals();
    acknowledged += steps;
    for (int step = 0; step < steps; ++step) plan.apply(step, &state);
    const Plan::State now = readFiles();
    Plan::State oneMore = state;  // The step under way is done, or not: nothing between.
    plan.apply(steps, &oneMore);
    EXPECT_TRUE(now.names == state.names || now.names == oneMore.names);
    EXPECT_TRUE(now.directory == state.directory || now.directory == oneMore.directory);
    state = now;
  }
  EXPECT_GT(acknowledged, 50);
  // The next rewrite removes what killed writers left beside the files.
  TVHandle* project = scratch_.openProject("P");
  SetProjectPrivateDir(project, "/end");
  EXPECT_EQ(readFiles().names, state.names);
  const Names files = {"prv/P.prj/trvsfold.prv", "prv/trvsproj.prv", "pub/P.prj/P.cfg",
                       "pub/P.prj/trvsfold.pub", "pub/trvsproj.pub"};
  EXPECT_EQ(scratch_.files(), files);
}

}  // namespace
