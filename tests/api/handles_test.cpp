// Every function of the C interface, with every kind of handle that it can't use: it answers as for
// no handle, and changes nothing.
#include <gtest/gtest.h>

#include <string>

#include "btkf520/btkf520.h"
#include "foldapi/foldapi.h"
#include "support/client.h"

namespace {

// Which handles a function is made for.
enum Kind : unsigned {
  kRoot = 1,
  kProject = 2,
  kFolder = 4,
  kArchive = 8,
  kBranch = 16,
  kRevision = 32,
  kLabel = 64,
  kParent = kProject | kFolder,
  kBranched = kArchive | kBranch | kRevision,
  kLined = kBranch | kRevision,
  kItem = kBranch | kRevision | kLabel
};

template <typename Function>
struct Row {
  const char* name;
  unsigned on;
  Function* call;
};
#define ROW(on, function) \
  { #function, on, function }

const Row<const char*(TVHandle*)> kTexts[] = {ROW(kRoot, GetRootPublicDir),
                                              ROW(kRoot, GetRootPrivateDir),
                                              ROW(kProject, GetProjectName),
                                              ROW(kProject, GetProjectCfgFile),
                                              ROW(kProject, GetProjectVCSDirs),
                                              ROW(kProject, GetProjectPublicDir),
                                              ROW(kProject, GetProjectPrivateDir),
                                              ROW(kParent, GetFolderName),
                                              ROW(kArchive, GetArchiveName),
                                              ROW(kArchive, GetQualArchiveName),
                                              ROW(kArchive, GetWorkfileName),
                                              ROW(kArchive, GetQualWorkfileName),
                                              ROW(kArchive, GetFullQualWorkfileName),
                                              ROW(kArchive, GetArchiveDescription),
                                              ROW(kArchive, GetAccessList),
                                              ROW(kArchive, GetLockerList),
                                              ROW(kItem, GetBranchName),
                                              ROW(kRevision, GetRevisionNumber),
                                              ROW(kItem, GetLabelName)};

// Without a handle they give 0,
const Row<int32_t(TVHandle*)> kNumbers[] = {ROW(kArchive, GetNumLocks),
                                            ROW(kArchive, GetNumRevisions),
                                            ROW(kArchive, GetArchiveStatus),
                                            ROW(kArchive, ArchiveHasChildren),
                                            ROW(kArchive, ArchiveLockedByMe),
                                            ROW(kArchive, ArchiveLockedByOther),
                                            ROW(kArchive, ArchiveLockedExclusive),
                                            ROW(kArchive, ArchiveLockedMultiple)};
// and these -1.
const Row<int32_t(TVHandle*)> kCounts[] = {
    ROW(kRoot, OpenProjectRoot),   ROW(kRoot, CloseProjectRoot), ROW(kProject, OpenProject),
    ROW(kProject, CloseProject),   ROW(kParent, OpenFolder),     ROW(kParent, CloseFolder),
    ROW(kArchive, OpenArchive),    ROW(kArchive, CloseArchive),  ROW(kBranch, OpenBranch),
    ROW(kBranch, CloseBranch),     ROW(kRevision, OpenRevision), ROW(kRevision, CloseRevision),
    ROW(kArchive, GetCreationTime)};

const Row<TVHandle*(TVHandle*)> kSteps[] = {
    ROW(kRoot, GetFirstProject),           ROW(kRoot, GetNextProject),
    ROW(kParent, GetFirstFolder),          ROW(kParent, GetNextFolder),
    ROW(kParent, GetFirstArchive),         ROW(kParent, GetNextArchive),
    ROW(kParent, GetFirstArchiveInFolder), ROW(kParent, GetNextArchiveInFolder),
    ROW(kBranched, GetFirstBranch),        ROW(kBranched, GetNextBranch),
    ROW(kLined, GetFirstRevision),         ROW(kLined, GetNextRevision),
    ROW(kRevision, GetFirstLabel),         ROW(kRevision, GetNextLabel)};

const Row<TVHandle*(TVHandle*, const char*)> kFinds[] = {ROW(kRoot, FindProject),
                                                         ROW(kParent, FindFolder),
                                                         ROW(kParent, FindArchiveByWorkName),
                                                         ROW(kParent, FindArchiveByQualWorkName),
                                                         ROW(kParent, FindArchiveByArchiveName),
                                                         ROW(kParent, FindArchiveByQualArchiveName),
                                                         ROW(kParent, FindArchiveInFolder),
                                                         ROW(kBranched, FindBranch),
                                                         ROW(kLined, FindRevision),
                                                         ROW(kRevision, FindLabel)};

const Row<void(TVHandle*)> kActs[] = {
    ROW(kProject, DestroyProject),         ROW(kParent, DestroyFolder),
    ROW(kArchive, DestroyArchive),         ROW(kParent, SetSortTypeWorkName),
    ROW(kParent, SetSortTypeQualWorkName), ROW(kParent, SetSortTypeArchiveName)};

const Row<void(TVHandle*, const char*)> kSets[] = {
    ROW(kProject, SetProjectVCSDirs), ROW(kProject, SetProjectPublicDir),
    ROW(kProject, SetProjectPrivateDir), ROW(kRevision, CreateLabel), ROW(kLabel, SetLabelName)};

// Calls all that is not made for a handle of the kind `kind`.
void callAllOthers(const std::string& why, TVHandle* handle, unsigned kind) {
  SCOPED_TRACE(why);
  const auto forOthers = [kind](const auto& rows, const auto& call) {
    for (const auto& row : rows) {
      if ((row.on & kind) == 0) call(row);
    }
  };
  forOthers(kTexts, [&](auto& row) { EXPECT_STREQ(row.call(handle), "") << row.name; });
  forOthers(kNumbers, [&](auto& row) { EXPECT_EQ(row.call(handle), 0) << row.name; });
  forOthers(kCounts, [&](auto& row) { EXPECT_EQ(row.call(handle), -1) << row.name; });
  forOthers(kSteps, [&](auto& row) { EXPECT_EQ(row.call(handle), nullptr) << row.name; });
  for (const char* key : {"P", "", static_cast<const char*>(nullptr)}) {
    forOthers(kFinds, [&](auto& row) { EXPECT_EQ(row.call(handle, key), nullptr) << row.name; });
    forOthers(kSets, [&](auto& row) { row.call(handle, key); });
    if ((kind & kRoot) == 0) CreateProject(handle, key, key, key);
    if ((kind & kParent) == 0) AddExistingArchive(handle, key, key);
  }
  forOthers(kActs, [&](auto& row) { row.call(handle); });
}

// A database with one of each.
class Handles : public testing::Test {
 protected:
  Handles() {
    CreateProject(scratch_.openRoot(), "P", "/ann", "/team");
    scratch_.write("pub/P.prj/trvsfold.pub", "[FOLDER=f]\nDIR=f\nWKDIR=f\n");
    const std::string archive = scratch_.path("w_v"), workfile = scratch_.path("w");
    support::writeFile(workfile, "content");
    EXPECT_EQ(TrvsCreateArchive(archive.c_str(), workfile.c_str(), nullptr, nullptr, 0, 0), 0);
    EXPECT_EQ(TrvsPutRevision(TRVS_CONTEXT, 0, (archive + "(" + workfile + ")").c_str(), 0, nullptr,
                              "LABEL", nullptr, "first", nullptr, nullptr, 0, TRVS_PUT_KEEP_LOCK),
              0);
    TVHandle* const added = scratch_.openProject("P");
    AddExistingArchive(added, "w", archive.c_str());
    AddExistingArchive(FindFolder(added, "f"), "in folder", archive.c_str());
    start();
    before_ = scratch_.everything();
  }

  void start() {
    root_ = scratch_.openRoot();
    OpenProject(project_ = FindProject(root_, "P"));
    OpenFolder(folder_ = FindFolder(project_, "f"));
    OpenArchive(archive_ = FindArchiveByWorkName(project_, "w"));
    OpenBranch(branch_ = FindBranch(archive_, "Trunk"));
    OpenRevision(revision_ = FindRevision(branch_, "1.0"));
    label_ = FindLabel(revision_, "LABEL");
    // Only a started toolkit knows the user: loading the library has started it.
    EXPECT_EQ(GetArchiveStatus(archive_), 0x1041);
  }

  support::ScratchDatabase scratch_;
  support::ScopedEnvironment noCache_{"TRVS_TVAPI_NOCACHE", "1"};
  support::ScratchDatabase::Snapshot before_;
  TVHandle *root_, *project_, *folder_, *archive_, *branch_, *revision_, *label_;
};

TEST_F(Handles, AreRefusedByFunctionsThatAreMadeForOthers) {
  const struct {
    const char* why;
    TVHandle* handle;
    unsigned kind;
    const char* (*name)(TVHandle*);  // Not empty as long as the handle lives.
  } kinds[] = {
      {"root", root_, kRoot, GetRootPublicDir},
      {"project", project_, kProject | kFolder, GetProjectName},
      {"folder", folder_, kFolder, GetFolderName},
      {"archive", archive_, kArchive, GetArchiveName},
      {"branch", branch_, kBranch, GetBranchName},
      {"revision", revision_, kRevision, GetRevisionNumber},
      {"label", label_, kLabel, GetLabelName},
  };
  for (const auto& called : kinds) {
    callAllOthers(called.why, called.handle, called.kind);
    // A change of an open count would have closed what stands below.
    for (const auto& each : kinds) {
      EXPECT_STRNE(each.name(each.handle), "") << each.why << " after calls for " << called.why;
    }
  }
  EXPECT_EQ(scratch_.changedSince(before_), std::vector<std::string>());
}

TEST_F(Handles, AreRefusedWhenTheyAreDead) {
  static int32_t foreign[64];
  char text[] = "just a text that is no handle";
  callAllOthers("null", nullptr, 0);
  callAllOthers("foreign", reinterpret_cast<TVHandle*>(foreign), 0);
  callAllOthers("text", reinterpret_cast<TVHandle*>(text), 0);
  for (int shift = 0; shift < 63; ++shift) {
    callAllOthers("wild", reinterpret_cast<TVHandle*>(uintptr_t{5} << shift), 0);
  }
  // Closed: the children die, and what was open stays a parent without a list.
  while (CloseProject(project_) > 0) continue;
  for (TVHandle* child : {folder_, archive_, branch_, revision_, label_}) {
    callAllOthers("child of a closed project", child, 0);
  }
  EXPECT_EQ(GetNextArchive(project_), nullptr);
  TVHandle* const old = project_;
  start();
  callAllOthers("project of the session before", old, 0);
  EXPECT_EQ(scratch_.changedSince(before_), std::vector<std::string>());

  DestroyArchive(archive_);
  for (TVHandle* dead : {archive_, revision_}) callAllOthers("destroyed archive", dead, 0);
  DestroyFolder(folder_);
  callAllOthers("destroyed folder", folder_, 0);
  DestroyProject(project_);
  callAllOthers("destroyed project", project_, 0);
  EXPECT_EQ(GetFirstProject(root_), nullptr);
}

TEST(Library, TakesEveryReasonForACall) {
  for (uint32_t reason = 0; reason < 4; ++reason) EXPECT_EQ(DllMain(nullptr, reason, nullptr), 1);
}

}  // namespace
