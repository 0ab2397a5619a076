// Memory that ends anywhere: nothing aborts, the session shows what is stored, and what was not
// confirmed is not stored later.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "support/childprocess.h"
#include "support/client.h"
#include "support/failingheap.h"

namespace {

using std::string;
using Names = std::vector<string>;

// Runs `call` without the allocation after `which` others. Tells whether it came to that.
bool runWithout(int which, const std::function<void()>& call) {
  static int left;
  left = which;
  support::allocationFails = [](size_t) { return left-- == 0; };
  call();
  support::allocationFails = nullptr;
  return left < 0;
}

// First in this program: only one that has not started yet can fail to.
// A real fault: what had half begun counted as done, and every create was a success in memory.
TEST(Memory, MayEndWhileTheLibraryStarts) {
  const support::ScratchDatabase scratch;
  const string pub = scratch.path("pub");
  const string prv = scratch.path("prv");
  enum { kHeld, kWasEnough, kLost };
  int result = kHeld;
  for (int which = 0; result == kHeld; ++which) {
    const string name = "P" + std::to_string(which);
    result = support::inProcess([&]() -> int {
      const bool failed = runWithout(which, [&] { Init(pub.c_str(), prv.c_str()); });
      CreateProject(scratch.openRoot(), name.c_str(), "", "");
      const bool isStored =
          scratch.shown("pub/trvsproj.pub").find("=" + name + "]") != string::npos;
      return !isStored ? kLost : failed ? kHeld : kWasEnough;
    });
  }
  EXPECT_EQ(result, kWasEnough);
}

// A real fault: the texts of the main thread went before the exit handlers ran.
TEST(Memory, ExitHandlersMayAskForTexts) {
  static const support::ScratchDatabase scratch;
  static TVHandle* root;
  static string text;
  const int result = support::inProcess([&]() -> int {
    root = scratch.openRoot();
    for (int i = 0; i < 20; ++i) text = GetRootPublicDir(root);
    std::atexit([] {
      const std::vector<string> others(40, string(text.size(), 'x'));  // Where texts were.
      for (int i = 0; i < 20; ++i) GetRootPublicDir(root);
      const bool areWhole = others == std::vector<string>(40, string(text.size(), 'x'));
      ::_exit(areWhole && GetRootPublicDir(root) == text ? 0 : 1);
    });
    std::exit(2);
  });
  EXPECT_EQ(result, 0);
}

class ShortMemory : public testing::Test {
 protected:
  ShortMemory() {
    string records = support::kHead;
    for (const string& name : kAll) records += "[DOCUMENT=/v;" + name + "_v;;" + name + "]\n";
    CreateProject(scratch.openRoot(), "P", "", "");
    scratch.write("pub/P.prj/trvsfold.pub", records);
    project = FindProject(scratch.openRoot(), "P");
  }

  void destroy(const char* name) {
    if (OpenProject(project) < 0) return;
    DestroyArchive(FindArchiveByWorkName(project, name));
    CloseProject(project);
  }
  void add(const char* name, const char* archive) { AddExistingArchive(project, name, archive); }
  Names shown() {
    OpenProject(project);
    const Names names = support::workfileNames(project);
    CloseProject(project);
    return names;
  }
  Names stored() {
    Names names;
    const string text = scratch.shown("pub/P.prj/trvsfold.pub");
    for (size_t at = 0; (at = text.find(";;", at)) != string::npos; at += 2) {
      names.push_back(text.substr(at + 2, text.find(']', at) - at - 2));
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  // Enough for the large form of a table, and in one chain.
  const Names kAll = {"fa", "fb", "fc", "fd", "fe", "ff", "fg", "fh", "fi",
                      "fj", "fk", "fl", "fm", "fn", "fo", "fp", "fq", "fr"};
  support::ScratchDatabase scratch;
  TVHandle* project;
};

// Real faults: a use that ended without memory ended the client; what could not be added was stored
// by the next change; what was destroyed still showed.
TEST_F(ShortMemory, RecordsAreTheSameInTheSessionAndOnDiskWhereverMemoryEnds) {
  const struct {
    const char* why;
    std::function<void()> run;
    std::function<void()> undo;  // Null where nothing changes.
  } steps[] = {
      {"walk",
       [&] {
         TVHandle* member = GetFirstArchive(project);
         for (; member != nullptr; member = GetNextArchive(project)) GetWorkfileName(member);
       },
       nullptr},
      {"find", [&] { GetWorkfileName(FindArchiveByWorkName(project, "fm")); }, nullptr},
      {"destroy", [&] { destroy("fm"); }, [&] { add("fm", "/v/fm_v"); }},
      {"add", [&] { add("new", "/v/new_v"); }, [&] { destroy("new"); }},
  };
  for (const int held : {0, 1}) {
    if (held != 0) OpenProject(project);
    for (const auto& step : steps) {
      SCOPED_TRACE(step.why + string(held != 0 ? ", held open" : ""));
      bool hasFailed = true;
      for (int which = 0; hasFailed && !HasFailure(); ++which) {
        SCOPED_TRACE(which);
        hasFailed = runWithout(which, step.run);
        EXPECT_EQ(OpenProject(project), held + 1);
        CloseProject(project);
        Names others = shown();
        const bool isUndone = step.undo != nullptr;
        EXPECT_TRUE(others == kAll ? !isUndone || hasFailed : isUndone);
        if (!isUndone) continue;
        destroy("fa");  // Writes all others anew.
        std::erase(others, "fa");
        EXPECT_EQ(stored(), others);
        add("fa", "/v/fa_v");
        step.undo();
        EXPECT_EQ(stored(), kAll);
      }
    }
  }
}

}  // namespace
