// domain/archivemember.h: TVArchiveMember, a workfile paired with its archive.
//
// Its own fields are four names. All else that a client asks of a member (counts, lockers,
// description, status) comes from the archive file on demand; this class knows of no file, so its
// answers are empty, and the format subclass gives the real ones.
#pragma once

#include "base/vpathstring.h"
#include "core/createobject.h"
#include "core/folderoptions.h"
#include "core/handle.h"
#include "domain/attribute.h"
#include "domain/nameblock.h"

namespace foldapi {

// The bits of a member's status word.
enum TVMemberStatus : uint32_t {
  kStatusReadable = 0x1,
  kStatusLockedByOther = 0x4,
  kStatusLockedExclusive = 0x8,
  kStatusLockedMultiple = 0x10,
  kStatusHasRevisions = 0x40,
  kStatusLockedByMe = 0x1000,
};

// The names of a member as values of their own.
struct TVMemberNames {
  VPathString archivePath;
  VPathString archiveName;
  VPathString workPath;
  VPathString workName;

  static TVMemberNames of(const TVNameViews& views) {
    return {views.archivePath, views.archiveName, views.workPath, views.workName};
  }
  static TVMemberNames ofPaths(const VPathString& workfile, const VPathString& archive) {
    return {archive.directoryPart(), archive.fileNamePart(), workfile.directoryPart(),
            workfile.fileNamePart()};
  }
  operator TVNameViews() const {
    return {archivePath.view(), archiveName.view(), workPath.view(), workName.view()};
  }
  // Whether a record can hold them; else the reason goes to the context's sink. The workfile's name
  // is the last field, and may hold what ends the others.
  [[nodiscard]] bool areStorable(TVHandle& context) const;
};

class TVArchiveMember : public TVObject {
 public:
  static const VClassRecord theClass;

  TVArchiveMember(const TVNameViews& names, TVObject* owner,
                  TVCaching caching = TVCaching::kCached);

  const VClassRecord* isA() const override { return &theClass; }
  // All four names are the identity; only the archive's two go into the hash.
  bool isEqual(const VObject* other) const override;
  int32_t computeHash() const override;
  uint64_t computeFingerprint() const override;

  // Under kDefault, and under types that members don't have, as under kWorkPath.
  std::string_view sortKey(int* index, TVSortType sortType, std::string* scratch) const override;
  KeyParts keyParts(std::string_view key, TVSortType sortType) const override;
  // Branches below a member stay in the order in which they were read.
  VBool isSortable() const override { return false; }
  VString name(const TVOptionArray& options) const override;
  int attribute(const TVOptionArray&) const override { return TVAttribute::kArchive; }

  // For clients; the library finds children by compareKey().
  virtual VBool isNamed(const VString& name) const { return name.view() == names().workName; }

  // What the archive knows. Each gives an operation result and fills `out` on 0.
  [[nodiscard]] virtual int GetCreationTime(TVHandle& context, uint32_t* out);
  [[nodiscard]] virtual int GetFileTime(TVHandle& context, uint32_t* out);
  [[nodiscard]] virtual int GetRevisionCount(TVHandle& context, int32_t* out);
  [[nodiscard]] virtual int GetLockCount(TVHandle& context, int32_t* out);
  [[nodiscard]] virtual int GetAccessList(TVHandle& context, VString* out);
  [[nodiscard]] virtual int GetDescription(TVHandle& context, VString* out);
  [[nodiscard]] virtual int GetHeaderText(TVHandle& context, VString* out);
  [[nodiscard]] virtual int GetLockers(TVHandle& context, VString* out);

  // Good until a name changes.
  TVNameViews names() const { return names_.views(); }
  // `workPath` below the work directories of the enclosing folders, normalised. Both are empty
  // where that climbs above a root: the workfile is nowhere then.
  VPathString fullWorkDir() const;
  VPathString fullWorkName() const;
  bool isNowhere() const { return fullWorkName().isEmpty() && !names().workName.empty(); }
  VPathString qualWorkName() const;
  VPathString qualArchiveName() const;
  VString pairedName() const;   // qualWorkName(qualArchiveName)
  VString toolkitName() const;  // How the member names itself to the toolkit.

  void setName(VPathString TVMemberNames::*field, const VPathString& name);
  void setNames(const TVNameViews& names);

 private:
  std::string_view pathModel() const;
  std::string joinedWorkDir() const;

  TVNameBlock names_;
};

class TVArchiveMemberOptions : public TVFolderOptions {
 public:
  explicit TVArchiveMemberOptions(int version = kAbstractVersion);
  virtual std::unique_ptr<TVObject> makeObject(const TVMemberNames& names, TVHandle& context,
                                               TVObject* owner, TVCaching caching);
};

class TVArchiveMemberHandle : public TVHandle {
 public:
  using TVHandle::TVHandle;
  explicit TVArchiveMemberHandle(const TVHandle& other) : TVHandle(other) {}

  VPathString workName() const;
  VPathString workPath() const;
  VPathString archiveName() const;
  VPathString archivePath() const;
  VPathString fullWorkName() const;
  VPathString qualWorkName() const;
  VPathString qualArchiveName() const;
  VString pairedName() const;
  VString toolkitName() const;

  // Operation results; kResultMissing without an object, and *out stays as it was.
  [[nodiscard]] int status(uint32_t* out);
  [[nodiscard]] int creationTime(uint32_t* out);
  [[nodiscard]] int modificationTime(uint32_t* out);
  [[nodiscard]] int revisionCount(int32_t* out);
  [[nodiscard]] int lockCount(int32_t* out);
  [[nodiscard]] int accessList(VString* out);
  [[nodiscard]] int description(VString* out);
  [[nodiscard]] int headerText(VString* out);
  [[nodiscard]] int lockers(VString* out);

  // The names of another member beside this one are refused, with a report.
  void setWorkName(const VPathString& name);
  void setWorkPath(const VPathString& path);
  void setArchiveName(const VPathString& name);
  void setArchivePath(const VPathString& path);

  static TVArchiveMemberHandle create(const TVMemberNames& names, const TVHandle& parent,
                                      const TVCreateOptions& options = {});
  // The same for many by one edit of the parent's data file; a handle for each. See
  // createObjects().
  static std::vector<TVArchiveMemberHandle> createAll(const std::vector<TVMemberNames>& all,
                                                      const TVHandle& parent,
                                                      const TVCreateOptions& options = {});

 private:
  template <typename Value>
  int query(int (TVArchiveMember::*get)(TVHandle&, Value*), Value* out);
  void setName(VPathString TVMemberNames::*field, const VPathString& name,
               std::string_view refused);
};

}  // namespace foldapi
