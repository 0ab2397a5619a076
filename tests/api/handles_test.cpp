// Every function of the C interface, with every kind of handle that it can't use: it answers as for
// no handle, and changes nothing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

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
struct Called;
template <typename Result, typename... Arguments>
struct Called<Result(Arguments...)> {
  using Pointer = Result(FOLDAPI_CALL*)(Arguments...);
};

// Functions of one form, by the handles that they are made for.
template <typename Function>
struct Row {
  unsigned on;
  std::vector<typename Called<Function>::Pointer> calls;
};
template <typename Function>
using Rows = std::vector<Row<Function>>;

const Rows<const char*(TVHandle*)> kTexts = {
    {kRoot, {GetRootPublicDir, GetRootPrivateDir}},
    {kProject,
     {GetProjectName, GetProjectCfgFile, GetProjectVCSDirs, GetProjectPublicDir,
      GetProjectPrivateDir}},
    {kParent, {GetFolderName}},
    {kArchive,
     {GetArchiveName, GetQualArchiveName, GetWorkfileName, GetQualWorkfileName,
      GetFullQualWorkfileName, GetArchiveDescription, GetAccessList, GetLockerList}},
    {kItem, {GetBranchName, GetLabelName}},
    {kRevision, {GetRevisionNumber}}};

// Without a handle they give 0,
const Rows<int32_t(TVHandle*)> kNumbers = {
    {kArchive,
     {GetNumLocks, GetNumRevisions, GetArchiveStatus, ArchiveHasChildren, ArchiveLockedByMe,
      ArchiveLockedByOther, ArchiveLockedExclusive, ArchiveLockedMultiple}}};

// and these -1.
const Rows<int32_t(TVHandle*)> kCounts = {{kRoot, {OpenProjectRoot, CloseProjectRoot}},
                                          {kProject, {OpenProject, CloseProject}},
                                          {kParent, {OpenFolder, CloseFolder}},
                                          {kArchive, {OpenArchive, CloseArchive, GetCreationTime}},
                                          {kBranch, {OpenBranch, CloseBranch}},
                                          {kRevision, {OpenRevision, CloseRevision}}};

const Rows<TVHandle*(TVHandle*)> kSteps = {
    {kRoot, {GetFirstProject, GetNextProject}},
    {kParent,
     {GetFirstFolder, GetNextFolder, GetFirstArchive, GetNextArchive, GetFirstArchiveInFolder,
      GetNextArchiveInFolder}},
    {kBranched, {GetFirstBranch, GetNextBranch}},
    {kLined, {GetFirstRevision, GetNextRevision}},
    {kRevision, {GetFirstLabel, GetNextLabel}}};

const Rows<TVHandle*(TVHandle*, const char*)> kFinds = {
    {kRoot, {FindProject}},
    {kParent,
     {FindFolder, FindArchiveByWorkName, FindArchiveByQualWorkName, FindArchiveByArchiveName,
      FindArchiveByQualArchiveName, FindArchiveInFolder}},
    {kBranched, {FindBranch}},
    {kLined, {FindRevision}},
    {kRevision, {FindLabel}}};

const Rows<void(TVHandle*)> kActs = {
    {kProject, {DestroyProject}},
    {kParent,
     {DestroyFolder, SetSortTypeWorkName, SetSortTypeQualWorkName, SetSortTypeArchiveName}},
    {kArchive, {DestroyArchive}}};

const Rows<void(TVHandle*, const char*)> kSets = {
    {kProject, {SetProjectVCSDirs, SetProjectPublicDir, SetProjectPrivateDir}},
    {kRevision, {CreateLabel}},
    {kLabel, {SetLabelName}}};

// Calls all that is not made for a handle of the kind `kind`.
void callAllOthers(const std::string& why, TVHandle* handle, unsigned kind) {
  SCOPED_TRACE(why);
  const auto forOthers = [kind](const auto& rows, const auto& call) {
    for (const auto& row : rows) {
      if ((row.on & kind) != 0) continue;
      for (const auto& function : row.calls) {
        SCOPED_TRACE(testing::Message()
                     << "place " << &function - row.calls.data() << " of those for " << row.on);
        call(function);
      }
    }
  };
  forOthers(kTexts, [=](auto* function) { EXPECT_STREQ(function(handle), ""); });
  forOthers(kNumbers, [=](auto* function) { EXPECT_EQ(function(handle), 0); });
  forOthers(kCounts, [=](auto* function) { EXPECT_EQ(function(handle), -1); });
  forOthers(kSteps, [=](auto* function) { EXPECT_EQ(function(handle), nullptr); });
  for (const char* key : {"P", "", static_cast<const char*>(nullptr)}) {
    forOthers(kFinds, [=](auto* function) { EXPECT_EQ(function(handle, key), nullptr); });
    forOthers(kSets, [=](auto* function) { function(handle, key); });
    if ((kind & kRoot) == 0) CreateProject(handle, key, key, key);
    if ((kind & kParent) == 0) AddExistingArchive(handle, key, key);
  }
  forOthers(kActs, [=](auto* function) { function(handle); });
}

// A database with one of each.
class Handles : public testing::Test {
 protected:
  Handles() {
    CreateProject(scratch_.openRoot(), "P", "/ann", "/team");
    scratch_.write("pub/P.prj/trvsfold.pub", "[FOLDER=f]\nDIR=f\nWKDIR=f\n");
    const std::string archive = scratch_.path("w_v"), workfile = scratch_.path("w");
    support::writeFile(workfile, "content");
    EXPECT_EQ(TrvsCreateArchive(archive.c_str(), workfile.c_str(), nullptr, nullptr, 0, 0),
              TRVS_DONE);
    EXPECT_EQ(TrvsPutRevision(TRVS_CONTEXT, 0, (archive + "(" + workfile + ")").c_str(), 0, nullptr,
                              "LABEL", nullptr, "first", nullptr, nullptr, 0, TRVS_PUT_KEEP_LOCK),
              TRVS_DONE);
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
    const char*(FOLDAPI_CALL* name)(TVHandle*);  // Not empty as long as the handle lives.
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
