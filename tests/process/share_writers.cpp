// Two machines that change one database at once: three writers on each of two mounts of one file
// system, and a server of it that is killed meanwhile. Nothing that was acknowledged may be lost.
//     share_writers MOUNT1 MOUNT2 SERVER
// SERVER is the process to kill half-way. Gives 0 if all is there.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"
#include "foldapi/foldapi.h"
#include "support/childprocess.h"
#include "support/client.h"
#include "support/files.h"

namespace {

using std::string;
using support::ChildProcess;
using Names = std::multiset<string>;

constexpr int kWriters = 6;
constexpr int kAdds = 20;
constexpr int kCheckins = 5;
constexpr int kTries = 1000;
constexpr useconds_t kPause = 2000;

// What one writer works with. Each user has a private root of his own.
struct Place {
  string mount;
  string own;

  string archive() const { return mount + "/archive"; }
  TVHandle* openRoot() const {
    TVHandle* root = Init((mount + "/public").c_str(), (own + "/private").c_str());
    OpenProjectRoot(root);
    return root;
  }
  TVHandle* openProject() const {
    TVHandle* project = FindProject(openRoot(), "P");
    OpenProject(project);
    return project;
  }
};

template <typename Step>
bool untilDone(Step step) {
  for (int tries = 0; tries < kTries; ++tries) {
    if (tries > 0) ::usleep(kPause);
    if (step()) return true;
  }
  return false;
}

bool add(TVHandle* project, const string& name) {
  return untilDone([&] {
    AddExistingArchive(project, name.c_str(), ("/v/" + name + "_v").c_str());
    return FindArchiveByWorkName(project, name.c_str()) != nullptr;
  });
}

// A rewrite of all that the others have added.
bool destroy(TVHandle* project, const string& name) {
  return untilDone([&] {
    DestroyArchive(FindArchiveByWorkName(project, name.c_str()));
    return FindArchiveByWorkName(project, name.c_str()) == nullptr;
  });
}

int32_t checkIn(const Place& place, const string& name) {
  const string workfile = place.own + "/work";
  const string both = place.archive() + "(" + workfile + ")";
  int32_t status = TRVS_IN_USE;
  untilDone([&] {
    support::writeFile(workfile, name);
    status = TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, nullptr, nullptr, nullptr,
                             name.c_str(), nullptr, nullptr, 0, TRVS_PUT_OLDER);
    return status != TRVS_IN_USE;
  });
  return status;
}

// What one writer does; gives how much of it was refused. Half-way it signals, and goes on.
int work(const Place& place, const string& writer, ChildProcess& self) {
  TVHandle* project = place.openProject();
  int refused = 0;
  for (int i = 0; i < kAdds; ++i) {
    const string name = writer + "_" + std::to_string(i);
    if (i == kAdds / 2) self.signal();
    if (!add(project, name)) ++refused;
    if (i % (kAdds / kCheckins) != 0) continue;
    if (!add(project, name + "-") || !destroy(project, name + "-")) ++refused;
    if (const int32_t status = checkIn(place, name)) {
      std::printf("check-in of %s: %d\n", name.c_str(), status);
      ++refused;
    }
  }
  return refused;
}

Names changesOf(const string& archive) {
  Names names;
  TrvsRevTree* tree = nullptr;
  if (TrvsRevTreeInfo(TRVS_CONTEXT, archive.c_str(), &tree, TRVS_TREE_FETCH) != TRVS_DONE)
    return {};
  for (const TrvsRevTree* at = tree; at != nullptr; at = at->next) {
    if ((at->flags & TRVS_TREE_CHANGE) != 0) names.insert(at->text);
  }
  TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &tree, TRVS_TREE_RETURN);
  return names;
}

// How many are not there once each, or are too many.
size_t countWrong(const char* what, const Names& names, int each) {
  Names expected;
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int i = 0; i < kAdds; i += kAdds / each) {
      expected.insert(std::to_string(writer) + "_" + std::to_string(i));
    }
  }
  std::vector<string> wrong;
  std::set_symmetric_difference(expected.begin(), expected.end(), names.begin(), names.end(),
                                std::back_inserter(wrong));
  std::printf("Of %zu %s %zu are lost, doubled or unknown.\n", expected.size(), what, wrong.size());
  return wrong.size();
}

bool isDone(const char* step, int32_t status) {
  if (status != TRVS_DONE) std::fprintf(stderr, "%s: %d\n", step, status);
  return status == TRVS_DONE;
}

bool prepare(const Place& place) {
  CreateProject(place.openRoot(), "P", "", "");
  if (FindProject(place.openRoot(), "P") == nullptr) {
    std::fprintf(stderr, "No project: %s\n", FoldapiLastMessage());
    return false;
  }
  const string path = place.archive();
  return isDone("archive", TrvsCreateArchive(path.c_str(), "work", nullptr, nullptr, 0, 0)) &&
         isDone("attributes",
                TrvsSetAttributes(TRVS_CONTEXT, path.c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS));
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) return 2;
  const support::TemporaryDirectory own;
  const support::ScopedEnvironment profile("KSTR_INI", own / "KSTR.INI");
  const auto placeOf = [&](int writer) {
    return Place{arguments[1 + writer % 2], own / std::to_string(writer)};
  };
  if (support::inProcess([&] { return prepare(placeOf(0)) ? 0 : 1; }) != 0) {
    std::printf("The database can't be made.\n");
    return 1;
  }
  const auto writers = support::startProcesses(kWriters, [&](int writer, ChildProcess& self) {
    const int refused = work(placeOf(writer), std::to_string(writer), self);
    std::fflush(stdout);
    return std::min(refused, 90);
  });
  writers[0]->await();
  ::kill(std::atoi(arguments[3]), SIGKILL);
  bool isGood = true;
  for (const auto& writer : writers) {
    const int refused = writer->finish();
    if (refused != 0) std::printf("A writer ended with %d.\n", refused);
    isGood = isGood && refused == 0;
  }
  const Place reader = placeOf(1);
  const std::vector<string> all = support::workfileNames(reader.openProject());
  const size_t wrong = countWrong("records", Names(all.begin(), all.end()), kAdds) +
                       countWrong("check-ins", changesOf(reader.archive()), kCheckins);
  isGood = isGood && TrvsVerifyArchive(TRVS_CONTEXT, reader.archive().c_str(), nullptr, 0) == 0;
  return isGood && wrong == 0 ? 0 : 1;
}
