// domain/archivefolder.h: TVArchiveFolder, a named container of archive members.
//
// A folder has one work directory, under which its members' relative work paths hang. Where its own
// data files lie is a matter of the format (store/52arfld.h): that is its storage directory.
#pragma once

#include "core/createobject.h"
#include "core/folderoptions.h"
#include "core/handle.h"

namespace foldapi {

// Whether a folder is one that only this user has, or one of the team.
enum class TVPrivacy { kPublic, kPrivate };

class TVArchiveFolder : public TVObject {
 public:
  static const VClassRecord theClass;

  TVArchiveFolder(VString name, VString privateWorkDir, TVPrivacy privacy, TVObject* owner,
                  TVCaching caching = TVCaching::kCached);

  const VClassRecord* isA() const override { return &theClass; }
  // Name and privacy are the identity.
  bool isEqual(const VObject* other) const override;
  int32_t computeHash() const override { return folderName_.hash(); }
  uint64_t computeFingerprint() const override;

  // Under kDefault, and under types that folders don't have, privacy comes first.
  std::string_view sortKey(int* index, TVSortType sortType, std::string* scratch) const override;
  KeyParts keyParts(std::string_view key, TVSortType sortType) const override;
  // The name, or in the long form the name, a tab and the work directory.
  VString name(const TVOptionArray& options) const override;
  int attribute(const TVOptionArray& options) const override;

  // For clients; the library finds children by compareKey().
  virtual VBool isNamed(const VString& name) const { return name == folderName_; }

  const VString& folderName() const { return folderName_; }
  const VString& privateWorkDir() const { return privateWorkDir_; }
  VBool isPrivate() const { return isPrivate_; }
  void setFolderName(const VString& name);
  void setPrivateWorkDir(const VString& dir);
  void setIsPrivate(VBool isPrivate);

 protected:
  VString nameFor(const VClassRecord* record, const TVOptionArray& options) const;

 private:
  VString folderName_;
  VString privateWorkDir_;
  VBool isPrivate_;
};

class TVArchiveFolderOptions : public TVFolderOptions {
 public:
  explicit TVArchiveFolderOptions(int version = kAbstractVersion);
  virtual std::unique_ptr<TVObject> makeObject(const VString& name, const VString& privateWorkDir,
                                               TVPrivacy privacy, TVHandle& context,
                                               TVObject* owner, TVCaching caching);

 protected:
  TVArchiveFolderOptions(int version, std::vector<const VClassRecord*> childClasses);
};

class TVArchiveFolderHandle : public TVHandle {
 public:
  using TVHandle::TVHandle;
  explicit TVArchiveFolderHandle(const TVHandle& other) : TVHandle(other) {}

  VString folderName() const;
  VString privateDir() const;  // The work directory.
  VBool isPrivate() const;
  // Setters lock the object, assign, and write. They do nothing when the lock is refused.
  void setName(const VString& name);
  void setIsPrivate(VBool isPrivate);
  virtual void setPrivateDir(const VString& dir);

  static TVArchiveFolderHandle create(const VString& name, const VString& privateDir,
                                      TVPrivacy privacy, const TVHandle& parent,
                                      const TVCreateOptions& options = {});
};

// Runs `assign` on the object of a handle between beginEdit() and endEdit().
template <typename Assign>
void editObject(TVHandle& handle, Assign assign) {
  if (handle.isNull()) return;
  TVScopedEdit edit(theNoLock(), handle);
  if (edit.taken() && !handle.isNull()) assign();
}

}  // namespace foldapi
