// domain/lockedbyfolder.h: TVLockedByFolder, a derived view: the members that one user has locked.
//
// It owns no file and fills itself with nothing: a client of the class interface adds members to
// it.
#pragma once

#include "domain/archivefolder.h"
#include "domain/attribute.h"

namespace foldapi {

class TVLockedByFolder : public TVArchiveFolder {
 public:
  static const VClassRecord theClass;

  TVLockedByFolder(VString lockerName, VString privateWorkDir, TVObject* owner,
                   TVCaching caching = TVCaching::kCached);

  const VClassRecord* isA() const override { return &theClass; }
  // "Files locked by " and the user.
  VString name(const TVOptionArray&) const override;
  int attribute(const TVOptionArray&) const override { return TVAttribute::kLockedByFolder; }
  const VString& lockerName() const { return lockerName_; }

 private:
  VString lockerName_;
};

class TVLockedByFolderOptions : public TVFolderOptions {
 public:
  TVLockedByFolderOptions();
  std::unique_ptr<TVObject> makeObject(const VString& lockerName, const VString& privateWorkDir,
                                       TVObject* owner, TVCaching caching);
};

class TVLockedByFolderHandle : public TVArchiveFolderHandle {
 public:
  using TVArchiveFolderHandle::TVArchiveFolderHandle;
  explicit TVLockedByFolderHandle(const TVHandle& other) : TVArchiveFolderHandle(other) {}

  VString lockerName() const;

  static TVLockedByFolderHandle create(const VString& lockerName, const VString& privateDir,
                                       const TVHandle& parent, const TVCreateOptions& options = {});
};

}  // namespace foldapi
