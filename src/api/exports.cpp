// api/exports.cpp: the exported functions, each one call of one operation (calls.h). foldapi.h
// tells what they promise.
#include "api/calls.h"
#include "domain/archivefolder.h"
#include "domain/archivemember.h"
#include "domain/branch.h"
#include "domain/nameditems.h"
#include "domain/projectfolder.h"
#include "domain/projectroot.h"
#include "domain/revision.h"
#include "toolkit/configfiles.h"
#include "toolkit/messages.h"

namespace {

using foldapi::theNoLock;
using foldapi::TVArchiveFolderHandle;
using foldapi::TVArchiveItemHandle;
using foldapi::TVArchiveMemberHandle;
using foldapi::TVProjectFolderHandle;
using foldapi::TVProjectRootHandle;
using foldapi::TVSortType;
using foldapi::VPathString;
using foldapi::VString;
namespace api = foldapi::api;

using Root = foldapi::TVProjectRoot;
using Project = foldapi::TVProjectFolder;
using Folder = foldapi::TVArchiveFolder;  // Projects are folders too.
using Archive = foldapi::TVArchiveMember;
using Item = foldapi::TVArchiveItem;
using Branch = foldapi::TVBranch;
using Revision = foldapi::TVRevision;
using Label = foldapi::TVVersionLabel;
// What may hold branches, and what may hold revisions.
using Branching = api::AnyOf<Archive, Branch, Revision>;
using Line = api::AnyOf<Branch, Revision>;

template <typename Query>
const char* rootText(TVHandle* token, Query query) {
  return api::text<Root, TVProjectRootHandle>(token, query);
}
template <typename Query>
const char* projectText(TVHandle* token, Query query) {
  return api::text<Project, TVProjectFolderHandle>(token, query);
}
template <typename Query>
const char* archiveText(TVHandle* token, Query query) {
  return api::text<Archive, TVArchiveMemberHandle>(token, query);
}

const char* itemName(TVHandle* token) {
  return api::text<Item, TVArchiveItemHandle>(token,
                                              [](auto& handle) { return handle.itemName(); });
}

int32_t archiveCount(TVHandle* token, int (TVArchiveMemberHandle::*query)(int32_t*)) {
  return api::guarded(0, [&] { return api::filled<Archive>(token, query); });
}

const char* archiveInfoText(TVHandle* token, int (TVArchiveMemberHandle::*query)(VString*)) {
  return api::guarded("", [&] { return api::clientText(api::filled<Archive>(token, query)); });
}

// The status word goes to the client as it is.
static_assert(foldapi::kStatusReadable == FOLDAPI_STATUS_READABLE &&
              foldapi::kStatusLockedByOther == FOLDAPI_STATUS_LOCKED_BY_OTHER &&
              foldapi::kStatusLockedExclusive == FOLDAPI_STATUS_LOCKED_EXCLUSIVE &&
              foldapi::kStatusLockedMultiple == FOLDAPI_STATUS_LOCKED_MULTIPLE &&
              foldapi::kStatusHasRevisions == FOLDAPI_STATUS_HAS_CHILDREN &&
              foldapi::kStatusLockedByMe == FOLDAPI_STATUS_LOCKED_BY_ME);

int32_t archiveHasStatus(TVHandle* token, int32_t mask) {
  return (GetArchiveStatus(token) & mask) != 0 ? 1 : 0;
}

}  // namespace

// Root --------------------------------------------------------------------------------------------

const char* GetRootPublicDir(TVHandle* root) {
  return rootText(root, [](auto& handle) { return handle.publicDir(); });
}
const char* GetRootPrivateDir(TVHandle* root) {
  return rootText(root, [](auto& handle) { return handle.privateDir(); });
}
int32_t OpenProjectRoot(TVHandle* root) { return api::open<Root>(root); }
int32_t CloseProjectRoot(TVHandle* root) { return api::close<Root>(root); }
TVHandle* GetFirstProject(TVHandle* root) { return api::first<Root, Project>(root); }
TVHandle* GetNextProject(TVHandle* root) { return api::next<Root, Project>(root); }
TVHandle* FindProject(TVHandle* root, const char* name) {
  return api::find<Root, Project>(root, name, {{TVSortType::kDefault}});
}

// Projects ----------------------------------------------------------------------------------------

void CreateProject(TVHandle* root, const char* name, const char* privateWorkDir,
                   const char* publicWorkDir) {
  api::guarded([&] {
    TVProjectFolderHandle::create(name, foldapi::TVProjectConfig(), privateWorkDir, publicWorkDir,
                                  api::resolve<Root>(root));
  });
}

const char* GetProjectName(TVHandle* project) {
  return projectText(project, [](auto& handle) { return handle.folderName(); });
}
const char* GetProjectCfgFile(TVHandle* project) {
  return projectText(project, [](auto& handle) { return handle.effectiveConfig().path; });
}
const char* GetProjectVCSDirs(TVHandle* project) {
  return projectText(project, [](auto& handle) { return handle.effectiveConfig().archiveDirs; });
}

void SetProjectVCSDirs(TVHandle* project, const char* directories) {
  api::guarded([&] {
    TVProjectFolderHandle handle(api::resolve<Project>(project));
    const VString dirs = directories;
    if (handle.isNull() || !foldapi::isStorableText(handle, dirs.view())) return;
    const VString name = handle.folderName();
    if (!handle.object()->bringUpToDate(handle)) {  // Its file is another one now, or nobody's.
      return handle.sink().notice(handle, foldapi::GoneMessage(name.text()));
    }
    foldapi::TVProjectConfig config = handle.effectiveConfig();
    foldapi::appendArchiveDirs(&config, dirs, handle);
    handle.setConfig(config, theNoLock());
    handle.effectiveConfig();
  });
}

const char* GetProjectPublicDir(TVHandle* project) {
  return projectText(project, [](auto& handle) { return handle.publicDir(); });
}
void SetProjectPublicDir(TVHandle* project, const char* directory) {
  api::guarded(
      [&] { TVProjectFolderHandle(api::resolve<Project>(project)).setPublicDir(directory); });
}
const char* GetProjectPrivateDir(TVHandle* project) {
  return projectText(project, [](auto& handle) { return handle.privateDir(); });
}
void SetProjectPrivateDir(TVHandle* project, const char* directory) {
  api::guarded(
      [&] { TVProjectFolderHandle(api::resolve<Project>(project)).setPrivateDir(directory); });
}

int32_t OpenProject(TVHandle* project) { return api::open<Project>(project); }
int32_t CloseProject(TVHandle* project) { return api::close<Project>(project); }
void DestroyProject(TVHandle* project) { api::destroy<Project>(project); }

// Folders -----------------------------------------------------------------------------------------

TVHandle* GetFirstFolder(TVHandle* project) { return api::first<Folder, Folder>(project); }
TVHandle* GetNextFolder(TVHandle* project) { return api::next<Folder, Folder>(project); }
TVHandle* FindFolder(TVHandle* project, const char* name) {
  return api::find<Folder, Folder>(project, name, {{TVSortType::kName}});
}
const char* GetFolderName(TVHandle* folder) {
  return api::text<Folder, TVArchiveFolderHandle>(folder,
                                                  [](auto& handle) { return handle.folderName(); });
}
int32_t OpenFolder(TVHandle* folder) { return api::open<Folder>(folder); }
int32_t CloseFolder(TVHandle* folder) { return api::close<Folder>(folder); }
void DestroyFolder(TVHandle* folder) { api::destroy<Folder>(folder); }

// Archives: walks and finds -----------------------------------------------------------------------

TVHandle* GetFirstArchive(TVHandle* parent) { return api::first<Folder, Archive>(parent); }
TVHandle* GetNextArchive(TVHandle* parent) { return api::next<Folder, Archive>(parent); }
TVHandle* GetFirstArchiveInFolder(TVHandle* parent) { return GetFirstArchive(parent); }
TVHandle* GetNextArchiveInFolder(TVHandle* parent) { return GetNextArchive(parent); }

void SetSortTypeWorkName(TVHandle* parent) {
  api::sort<Folder, Archive>(parent, TVSortType::kWorkName);
}
void SetSortTypeQualWorkName(TVHandle* parent) {
  api::sort<Folder, Archive>(parent, TVSortType::kWorkPath);
}
void SetSortTypeArchiveName(TVHandle* parent) {
  api::sort<Folder, Archive>(parent, TVSortType::kArchiveName);
}

TVHandle* FindArchiveByWorkName(TVHandle* parent, const char* name) {
  return api::find<Folder, Archive>(parent, name, {{TVSortType::kWorkName}});
}
TVHandle* FindArchiveByQualWorkName(TVHandle* parent, const char* path) {
  return api::find<Folder, Archive>(parent, path, {{TVSortType::kWorkPath}});
}
TVHandle* FindArchiveByArchiveName(TVHandle* parent, const char* name) {
  return api::find<Folder, Archive>(parent, name, {{TVSortType::kArchiveName}});
}
TVHandle* FindArchiveByQualArchiveName(TVHandle* parent, const char* path) {
  return api::find<Folder, Archive>(parent, path, {{TVSortType::kArchivePath}});
}
TVHandle* FindArchiveInFolder(TVHandle* parent, const char* name) {
  return FindArchiveByWorkName(parent, name);
}

// Archives: changes -------------------------------------------------------------------------------

void AddExistingArchive(TVHandle* parent, const char* workfile, const char* archive) {
  api::guarded([&] {
    TVArchiveMemberHandle::create(
        foldapi::TVMemberNames::ofPaths(VPathString(workfile), VPathString(archive)),
        api::resolve<Folder>(parent));
  });
}

int32_t OpenArchive(TVHandle* archive) { return api::open<Archive>(archive); }
int32_t CloseArchive(TVHandle* archive) { return api::close<Archive>(archive); }
void DestroyArchive(TVHandle* archive) { api::destroy<Archive>(archive); }

// Archives: names ---------------------------------------------------------------------------------

const char* GetArchiveName(TVHandle* archive) {
  return archiveText(archive, [](auto& handle) { return handle.archiveName(); });
}
const char* GetQualArchiveName(TVHandle* archive) {
  return archiveText(archive, [](auto& handle) { return handle.qualArchiveName(); });
}
const char* GetWorkfileName(TVHandle* archive) {
  return archiveText(archive, [](auto& handle) { return handle.workName(); });
}
const char* GetQualWorkfileName(TVHandle* archive) {
  return archiveText(archive, [](auto& handle) { return handle.qualWorkName(); });
}
const char* GetFullQualWorkfileName(TVHandle* archive) {
  return archiveText(archive, [](auto& handle) { return handle.fullWorkName(); });
}

// Archives: what the archive file says ------------------------------------------------------------

const char* GetArchiveDescription(TVHandle* archive) {
  return archiveInfoText(archive, &TVArchiveMemberHandle::description);
}
const char* GetAccessList(TVHandle* archive) {
  return archiveInfoText(archive, &TVArchiveMemberHandle::accessList);
}
const char* GetLockerList(TVHandle* archive) {
  return archiveInfoText(archive, &TVArchiveMemberHandle::lockers);
}

int32_t GetCreationTime(TVHandle* archive) {
  return api::guarded(-1, [&] {
    uint32_t time = 0;
    TVArchiveMemberHandle handle(api::resolve<Archive>(archive));
    return handle.creationTime(&time) != 0 ? -1 : static_cast<int32_t>(time);
  });
}
int32_t GetNumLocks(TVHandle* archive) {
  return archiveCount(archive, &TVArchiveMemberHandle::lockCount);
}
int32_t GetNumRevisions(TVHandle* archive) {
  return archiveCount(archive, &TVArchiveMemberHandle::revisionCount);
}
int32_t GetArchiveStatus(TVHandle* archive) {
  return api::guarded(0, [&] {
    return static_cast<int32_t>(api::filled<Archive>(archive, &TVArchiveMemberHandle::status));
  });
}

int32_t ArchiveHasChildren(TVHandle* archive) {
  return archiveHasStatus(archive, FOLDAPI_STATUS_HAS_CHILDREN);
}
int32_t ArchiveLockedByMe(TVHandle* archive) {
  return archiveHasStatus(archive, FOLDAPI_STATUS_LOCKED_BY_ME);
}
// All lock tests ask for the same bit: that is what clients of this interface know.
int32_t ArchiveLockedByOther(TVHandle* archive) { return ArchiveLockedByMe(archive); }
int32_t ArchiveLockedExclusive(TVHandle* archive) { return ArchiveLockedByMe(archive); }
int32_t ArchiveLockedMultiple(TVHandle* archive) { return ArchiveLockedByMe(archive); }

// Branches ----------------------------------------------------------------------------------------

TVHandle* GetFirstBranch(TVHandle* parent) { return api::first<Branching, Branch>(parent); }
TVHandle* GetNextBranch(TVHandle* parent) { return api::next<Branching, Branch>(parent); }
TVHandle* FindBranch(TVHandle* parent, const char* name) {
  return api::findItem<Branching, Branch>(parent, name);
}
const char* GetBranchName(TVHandle* branch) { return itemName(branch); }
int32_t OpenBranch(TVHandle* branch) { return api::open<Branch>(branch); }
int32_t CloseBranch(TVHandle* branch) { return api::close<Branch>(branch); }

// Revisions ---------------------------------------------------------------------------------------

TVHandle* GetFirstRevision(TVHandle* branch) { return api::first<Line, Revision>(branch); }
TVHandle* GetNextRevision(TVHandle* branch) { return api::next<Line, Revision>(branch); }
TVHandle* FindRevision(TVHandle* branch, const char* number) {
  return api::findItem<Line, Revision>(branch, number);
}
const char* GetRevisionNumber(TVHandle* revision) {
  return api::text<Revision, TVArchiveItemHandle>(revision,
                                                  [](auto& handle) { return handle.name(); });
}
int32_t OpenRevision(TVHandle* revision) { return api::open<Revision>(revision); }
int32_t CloseRevision(TVHandle* revision) { return api::close<Revision>(revision); }

// Labels ------------------------------------------------------------------------------------------

TVHandle* GetFirstLabel(TVHandle* revision) { return api::first<Revision, Label>(revision); }
TVHandle* GetNextLabel(TVHandle* revision) { return api::next<Revision, Label>(revision); }
// By name alone: the ordering number of every label is 0. Labels may differ in case.
TVHandle* FindLabel(TVHandle* revision, const char* name) {
  return api::find<Revision, Label>(
      revision, name, {{TVSortType::kName, foldapi::VCase::kExact}, {TVSortType::kName}});
}

void CreateLabel(TVHandle* revision, const char* name) {
  api::guarded(
      [&] { foldapi::TVVersionLabelHandle::create(name, api::resolve<Revision>(revision)); });
}

const char* GetLabelName(TVHandle* label) { return itemName(label); }

// A label's name is set when it is created, and never again through this interface.
void SetLabelName(TVHandle*, const char*) {
  api::guarded([] {});
}
