// store/52arfld.h: TVArchiveFolder52 and TVArchiveMember52, what a "trvsfold" file holds.
//
// A folder has its own "trvsfold" file, in exactly one place: "trvsfold.pub" in its public storage
// directory, or "trvsfold.prv" in its private one if the folder is private. A member has no file
// but its archive.
#pragma once

#include <memory>
#include <vector>

#include "btkf520/btkf520.h"
#include "domain/archivefolder.h"
#include "domain/archivemember.h"
#include "domain/tvopts.h"
#include "runtime/bulkmemory.h"
#include "store/fileowner.h"
#include "toolkit/archiveinfo.h"

namespace foldapi {

class TVArchiveCache;

class TVArchiveFolder52 : public TVFileOwner52<TVArchiveFolder> {
 public:
  TVArchiveFolder52(VString name, VString privateWorkDir, TVPrivacy privacy, TVObject* owner,
                    TVCaching caching = TVCaching::kCached);

  // Gives a new folder its storage directories below its owner's.
  bool createStorage(TVHandle& context) override;

 private:
  Side ownSide() const { return isPrivate() ? Side::kPrivate : Side::kPublic; }
  std::span<const Side> sides() const override;
  int readFiles(TVHandle& context, const TVDataFileWriter* writer) override;
  // A public folder has a record in both of its owner's files.
  std::span<const Side> recordSides() const override;
  std::string record(Side side) const override;
};

class TVArchiveFolder52Options : public TVArchiveFolderOptions {
 public:
  TVArchiveFolder52Options() : TVArchiveFolderOptions(kFormat52) {}
  std::unique_ptr<TVObject> makeObject(const VString& name, const VString& privateWorkDir,
                                       TVPrivacy privacy, TVHandle& context, TVObject* owner,
                                       TVCaching caching) override;
};

class TVArchiveMember52 : public TVArchiveMember {
 public:
  using TVArchiveMember::TVArchiveMember;
  ~TVArchiveMember52() override;  // Gives the revision tree back.
  static void* operator new(size_t size) { return BulkMemory::take(size); }
  static void operator delete(void* member, size_t size) { BulkMemory::give(member, size); }

  int version() const override { return kFormat52; }
  // Fetches the revision tree and builds the branch "Trunk" on it. An operation result.
  int readData(TVHandle& context, TVStorageLock* lock) override;
  // Writes the member's record into its owner's file. kResultDone or kResultNotWritten.
  int writeChild(TVHandle& context, TVStorageLock& ownerLock) override;
  // The status word: what the archive's summary and the present user's name say together.
  int describe(TVHandle& context, uint32_t* status) override;

  // Operations on the archive through the toolkit, which makes all further checks itself
  // (store/memberoperations.cpp). Each gives an operation result; what failed goes to the
  // context's sink. kResultMissing for a member without an archive name.
  int archiveAction1(TVHandle& context, TVGetOptions& options) override {
    return getRevision(context, options);
  }
  int archiveAction2(TVHandle& context, TVPutOptions& options) override {
    return putRevision(context, options);
  }
  int archiveAction3(TVHandle& context, TVUnlockOptions& options) override {
    return unlockRevision(context, options);
  }
  int archiveAction4(TVHandle& context, TVPutOptions& options) override {
    return createArchive(context, options);
  }
  // Checks a revision out to the workfile.
  int getRevision(TVHandle& context, const TVGetOptions& options);
  // Checks the workfile in.
  int putRevision(TVHandle& context, const TVPutOptions& options);
  // Takes back the present user's locks, then checks out if the mode says so.
  int unlockRevision(TVHandle& context, const TVUnlockOptions& options);
  // Creates the archive with the workfile as its first revision, unless there is an archive; then
  // stores the member in its folder, in place of its record without an archive. Where the workfile
  // can't be checked in there is neither archive nor record. kResultNotWritten where the record
  // could not be written: a second call finds the archive and stores the member.
  int createArchive(TVHandle& context, const TVPutOptions& options);
  // Names the archive by the project's configuration, as far as it has no name yet; in memory only.
  // For clients: createArchive() finds the names by itself.
  // kResultFailed also where another member of the folder has these names.
  int computeArchiveName(TVHandle& context);

  // A member that is to have its record under these names.
  struct Unstored {
    TVArchiveMember52* member;
    TVMemberNames names;
  };
  // Stores members in a folder by one edit of it. kResultDone or kResultNotWritten.
  static int storeIn(TVObject* folder, TVHandle& context, const std::vector<Unstored>& members);

  // From the archive's summary.
  int GetCreationTime(TVHandle& context, uint32_t* out) override;
  int GetFileTime(TVHandle& context, uint32_t* out) override;
  int GetRevisionCount(TVHandle& context, int32_t* out) override;
  int GetLockCount(TVHandle& context, int32_t* out) override;
  int GetAccessList(TVHandle& context, VString* out) override;
  int GetDescription(TVHandle& context, VString* out) override;
  int GetHeaderText(TVHandle& context, VString* out) override;
  int GetLockers(TVHandle& context, VString* out) override;

 private:
  // What an operation works on. Taken at its start: a sink that reads the folder meanwhile may take
  // the member out of it, and then its names would mean other files.
  struct Target {
    VPathString archive;  // Empty without an archive name.
    VString toolkitName;
    VPathString workfile;
  };

  Target target() const { return {qualArchiveName(), toolkitName(), fullWorkName()}; }
  int findWorkfile(TVHandle& context) const;  // An operation result.
  static bool mayMake(TVHandle& context, const Target& target, const TVGetOptions& options);
  static int checkOut(TVHandle& context, const Target& target, const TVGetOptions& options);
  static int checkIn(TVHandle& context, const Target& target, const TVPutOptions& options);
  static int makeArchive(TVHandle& context, const Target& target, const TVPutOptions& options);
  static int takeLocks(TVHandle& context, const Target& target, bool wantsRevision,
                       VString* revision);
  int computeNames(TVHandle& context, TVMemberNames* names) const;
  int writeRecord(TVObject* folder, TVHandle& folderHandle, const TVMemberNames& wanted);
  void forgetTrunk();
  static void giveBack(TrvsRevTree* tree);
  TVArchiveCache* projectCache();
  const ArchiveSummary* rememberedSummary(TVArchiveCache* cache);
  template <typename Use>
  int LoadArchiveInfo(TVHandle& context, Use use);
  template <typename Value>
  int infoField(TVHandle& context, Value ArchiveSummary::*field, Value* out);

  TrvsRevTree* tree_ = nullptr;  // The toolkit's; given back to it and never freed otherwise.
  // What few members know.
  struct Notes {
    // The names of the record, while those in memory have been computed and not been stored.
    std::unique_ptr<TVNameBlock> recordNames;
    // The summary in the project's cache, good while no cache has lost one and no name or directory
    // has changed since.
    TVArchiveInfo52* summary = nullptr;
    uint64_t changesAtSummary = 0;
  };
  Notes& notes();

  std::unique_ptr<Notes> notes_;
};

class TVArchiveMember52Options : public TVArchiveMemberOptions {
 public:
  TVArchiveMember52Options() : TVArchiveMemberOptions(kFormat52) {}
  // Null, after a notice, for names without a workfile and without an archive.
  std::unique_ptr<TVObject> makeObject(const TVMemberNames& names, TVHandle& context,
                                       TVObject* owner, TVCaching caching) override;
};

// The sections of a "trvsfold" file.
const KeyTableEntry* folderSections();

// The storage directory of a folder's or member's owner; empty for an owner of no such kind.
const VString& storageDirOf(const TVObject* owner, Side side);

}  // namespace foldapi
