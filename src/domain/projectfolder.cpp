// domain/projectfolder.cpp: projects in memory.
#include "domain/projectfolder.h"

#include "core/result.h"
#include "domain/archivemember.h"
#include "domain/attribute.h"
#include "domain/lockedbyfolder.h"
#include "domain/promotionfolder.h"

namespace foldapi {

const VClassRecord TVProjectFolder::theClass = {
    "TVProjectFolder", &TVArchiveFolder::theClass, 12,
    []() -> VObject* { return new TVProjectFolderHandle; }};

TVProjectFolder::TVProjectFolder(VString name, TVProjectConfig config, VString privateWorkDir,
                                 VString publicWorkDir, TVObject* owner, TVCaching caching)
    : TVArchiveFolder(std::move(name), std::move(privateWorkDir), TVPrivacy::kPublic, owner,
                      caching),
      publicWorkDir_(std::move(publicWorkDir)),
      config_(std::move(config)) {}

VString TVProjectFolder::name(const TVOptionArray& options) const {
  return nameFor(&theClass, options);
}

int TVProjectFolder::attribute(const TVOptionArray&) const {
  return isPrivate() ? TVAttribute::kPrivateProject : TVAttribute::kPublicProject;
}

VBool TVProjectFolder::validateDate(TVHandle&, const VString&, VString*) { return true; }
VBool TVProjectFolder::validatePromotion(TVHandle&, const TVGetOptions&, VString*) { return true; }
int TVProjectFolder::reportLog(TVHandle&, const char*, const TVLogOptions&) {
  return kResultMissing;
}
int TVProjectFolder::differences(TVHandle&, TVDiffOptions&) { return kResultMissing; }

// At version 1 a project may hold promotion groups as well; format 5.2 reads those and makes none.
TVProjectFolderOptions::TVProjectFolderOptions(int version)
    : TVFolderOptions(&TVProjectFolder::theClass, version, TVSortType::kName,
                      version == kAbstractVersion
                          ? std::vector{&TVArchiveFolder::theClass, &TVLockedByFolder::theClass,
                                        &TVPromotionFolder::theClass, &TVArchiveMember::theClass}
                          : std::vector{&TVArchiveFolder::theClass, &TVLockedByFolder::theClass,
                                        &TVArchiveMember::theClass}) {}

std::unique_ptr<TVObject> TVProjectFolderOptions::makeObject(
    const VString& name, const TVProjectConfig& config, const VString& privateWorkDir,
    const VString& publicWorkDir, TVHandle&, TVObject* owner, TVCaching caching) {
  return std::make_unique<TVProjectFolder>(name, config, privateWorkDir, publicWorkDir, owner,
                                           caching);
}

VString TVProjectFolderHandle::publicDir() const {
  const auto* project = as<TVProjectFolder>();
  return project == nullptr ? VString() : project->publicWorkDir();
}

TVProjectConfig TVProjectFolderHandle::config() const {
  const auto* project = as<TVProjectFolder>();
  return project == nullptr ? TVProjectConfig() : project->config();
}

void TVProjectFolderHandle::setPublicDir(const VString& dir) {
  setDirectory(&TVProjectFolder::setPublicWorkDir, dir);
}

void TVProjectFolderHandle::setPrivateDir(const VString& dir) {
  setDirectory(&TVProjectFolder::setPrivateWorkDir, dir);
}

// The record with the directory lies in the root's files: they are rewritten when the project's own
// edit was granted.
void TVProjectFolderHandle::setDirectory(void (TVProjectFolder::*setter)(const VString&),
                                         const VString& dir) {
  if (as<TVProjectFolder>() == nullptr || !isStorableValue(*this, dir.view())) return;
  TVHandle root(&sink(), object()->owner());
  TVScopedEdit rootEdit(theNoLock(), root);
  if (!rootEdit.taken()) return;
  editObject(*this, [&] {
    (as<TVProjectFolder>()->*setter)(dir);
    if (setter == &TVProjectFolder::setPrivateWorkDir) markDirty();
    root.markDirty();
  });
}

void TVProjectFolderHandle::setConfig(const TVProjectConfig& config, TVLockScope& scope) {
  auto* project = as<TVProjectFolder>();
  if (project == nullptr || !isStorableValue(*this, config.path.view())) return;
  TVScopedEdit edit(scope, *this);
  if (edit.taken() && !isNull()) project->setConfig(config);
}

VBool TVProjectFolderHandle::validateDate(const VString& date, VString* errorText) {
  auto* project = as<TVProjectFolder>();
  return project != nullptr && project->validateDate(*this, date, errorText);
}

VBool TVProjectFolderHandle::validatePromotion(const TVGetOptions& options, VString* errorText) {
  auto* project = as<TVProjectFolder>();
  return project != nullptr && project->validatePromotion(*this, options, errorText);
}

int TVProjectFolderHandle::reportLog(const char* archive, const TVLogOptions& options) {
  auto* project = as<TVProjectFolder>();
  return project == nullptr ? kResultMissing : project->reportLog(*this, archive, options);
}

int TVProjectFolderHandle::differences(TVDiffOptions& options) {
  auto* project = as<TVProjectFolder>();
  return project == nullptr ? kResultMissing : project->differences(*this, options);
}

TVProjectFolderHandle TVProjectFolderHandle::create(
    const VString& name, const TVProjectConfig& config, const VString& privateDir,
    const VString& publicDir, const TVHandle& parent, const TVCreateOptions& options) {
  TVHandle context = options.context(parent);
  if (!isStorableValue(context, name.view(), kEndsSectionName)) return TVProjectFolderHandle();
  for (const std::string_view text : {config.path.view(), privateDir.view(), publicDir.view()}) {
    if (!isStorableValue(context, text)) return TVProjectFolderHandle();
  }
  return TVProjectFolderHandle(createObject(
      &TVProjectFolder::theClass, parent, options,
      [&](TVFolderOptions& rules, TVHandle& result, TVObject* owner, TVCaching caching) {
        return static_cast<TVProjectFolderOptions&>(rules).makeObject(
            name, config, privateDir, publicDir, result, owner, caching);
      }));
}

}  // namespace foldapi
