// domain/lockedbyfolder.cpp: the two titles of a locked-by folder.
//
// The stored name is not the title that a user reads: it is the tail of a fixed text, from the
// position that the user's name gives when it is read as a number. So the folders of all users
// whose names begin with no digit are one object.
#include "domain/lockedbyfolder.h"

#include <cstdlib>

#include "domain/archivemember.h"

namespace foldapi {

const VClassRecord TVLockedByFolder::theClass = {
    "TVLockedByFolder", &TVArchiveFolder::theClass, 13,
    []() -> VObject* { return new TVLockedByFolderHandle; }};

namespace {

VString storedName(const VString& lockerName) {
  constexpr std::string_view kTitle = "Files Locked by ";
  const long position = std::strtol(lockerName.text(), nullptr, 10);
  if (position < 0 || position > static_cast<long>(kTitle.size())) return {};
  return VString(kTitle.substr(static_cast<size_t>(position)));
}

}  // namespace

TVLockedByFolder::TVLockedByFolder(VString lockerName, VString privateWorkDir, TVObject* owner,
                                   TVCaching caching)
    : TVArchiveFolder(storedName(lockerName), std::move(privateWorkDir), TVPrivacy::kPrivate, owner,
                      caching),
      lockerName_(std::move(lockerName)) {}

VString TVLockedByFolder::name(const TVOptionArray&) const {
  return VString("Files locked by ") + lockerName_;
}

TVLockedByFolderOptions::TVLockedByFolderOptions()
    : TVFolderOptions(&TVLockedByFolder::theClass, kAbstractVersion, TVSortType::kName,
                      {&TVArchiveMember::theClass}) {}

std::unique_ptr<TVObject> TVLockedByFolderOptions::makeObject(const VString& lockerName,
                                                              const VString& privateWorkDir,
                                                              TVObject* owner, TVCaching caching) {
  return std::make_unique<TVLockedByFolder>(lockerName, privateWorkDir, owner, caching);
}

VString TVLockedByFolderHandle::lockerName() const {
  const auto* folder = as<TVLockedByFolder>();
  return folder == nullptr ? VString() : folder->lockerName();
}

TVLockedByFolderHandle TVLockedByFolderHandle::create(const VString& lockerName,
                                                      const VString& privateDir,
                                                      const TVHandle& parent,
                                                      const TVCreateOptions& options) {
  return TVLockedByFolderHandle(
      createObject(&TVLockedByFolder::theClass, parent, options,
                   [&](TVFolderOptions& rules, TVHandle&, TVObject* owner, TVCaching caching) {
                     return static_cast<TVLockedByFolderOptions&>(rules).makeObject(
                         lockerName, privateDir, owner, caching);
                   }));
}

}  // namespace foldapi
