// store/memberoperations.cpp: what TVArchiveMember52 does to its archive: check-out, check-in,
// unlock, and the creation of a new one.
//
// The toolkit is the judge of locks, promotion and the age of workfiles; its answer comes back as a
// status. Brackets hold for the toolkit call alone: what follows may enter again.
#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btkf520/btkf520.h"
#include "core/lockscope.h"
#include "core/result.h"
#include "os/file.h"
#include "runtime/nativepath.h"
#include "store/52arfld.h"
#include "store/archivebatch.h"
#include "store/ownplace.h"
#include "toolkit/arguments.h"
#include "toolkit/bracket.h"
#include "toolkit/configfiles.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr int32_t kPathSize = 2049;

int refuse(TVHandle& context, int32_t code, int result) {
  context.sink().notice(context, FolderMessage(code));
  return result;
}

// The number of the one revision that the user has locked, or of the first that the toolkit names.
int32_t fetchLockedRevision(const VString& archive, const VString& user, VString* revision) {
  std::vector<char> buffer;
  int16_t count = 1;
  const int32_t status = fetchGrowing(&buffer, [&](char* data, int32_t size) {
    return TrvsGetLockInfo(TRVS_CONTEXT, archive.text(), 0, user.text(), &count, data, size);
  });
  if (status == TRVS_DONE) *revision = *reinterpret_cast<const char* const*>(buffer.data());
  return status;
}

// The first of the project's archive directories.
int firstArchiveDirectory(TVHandle& context, VPathString* directory) {
  VString all;
  {
    TVToolkitBracket bracket(context);
    all = configurationText(TRVS_ITEM_ARCHIVE_DIRECTORIES);
  }
  std::string_view dirs = all.view();
  if (dirs.empty()) return refuse(context, kFolderNoArchiveDirectories, kResultFailed);
  if (dirs.starts_with(';')) dirs.remove_prefix(1);
  *directory = dirs.substr(0, dirs.find(';'));
  return kResultDone;
}

// The member that a folder has under these names, null for none.
TVObject* findMember(TVObject& folder, const TVMemberNames& names) {
  const TVArchiveMember52 like(names, &folder);
  return static_cast<TVObject*>(folder.children().find(&like));
}

}  // namespace

// Check-out and check-in --------------------------------------------------------------------------

// Without its workfile the toolkit would take one of that name in the current directory.
int TVArchiveMember52::findWorkfile(TVHandle& context) const {
  return isNowhere() ? reportToolkitStatus(context, TRVS_BAD_NAME, qualWorkName().text())
                     : kResultDone;
}

int TVArchiveMember52::getRevision(TVHandle& context, const TVGetOptions& options) {
  if (const int result = findWorkfile(context)) return result;
  const Target about = target();
  if (!IsInOwnPlace(*this) && !mayMake(context, about, options)) {
    return reportToolkitStatus(context, TRVS_WOULD_OVERWRITE, about.archive.text());
  }
  return checkOut(context, about, options);
}

// Whether to make the workfile where only a public record wants it: asked as for one that is there,
// about which the toolkit asks itself.
bool TVArchiveMember52::mayMake(TVHandle& context, const Target& target,
                                const TVGetOptions& options) {
  const auto has = [&](uint32_t flag) { return (options.flags & flag) != 0; };
  if (target.archive.isEmpty() || has(TRVS_GET_OVERWRITE)) return true;
  os::FileStatus there;
  const std::string workfile = nativePath(target.workfile.view());
  if (os::readEntryStatus(workfile.c_str(), &there) == os::FileResult::kDone) return true;
  if (has(TRVS_GET_KEEP)) return false;
  VString unused;
  const int answer = context.sink().confirm(context, target.workfile, target.archive, &unused);
  return answer >= 1 && answer <= 2;
}

int TVArchiveMember52::checkOut(TVHandle& context, const Target& target,
                                const TVGetOptions& options) {
  if (target.archive.isEmpty()) return refuse(context, kFolderNoArchiveName, kResultMissing);
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsGetRevision(TRVS_CONTEXT, target.toolkitName.text(), 0, options.revision.text(),
                             options.cutoffDate.text(), options.otherDate.text(), 0,
                             options.promotionGroup.text(), 0, options.flags);
  }
  return reportToolkitStatus(context, status, target.archive.text());
}

int TVArchiveMember52::putRevision(TVHandle& context, const TVPutOptions& options) {
  if (const int result = findWorkfile(context)) return result;
  return checkIn(context, target(), options);
}

int TVArchiveMember52::checkIn(TVHandle& context, const Target& target,
                               const TVPutOptions& options) {
  if (target.archive.isEmpty()) return refuse(context, kFolderNoArchiveName, kResultMissing);
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsPutRevision(TRVS_CONTEXT, 0, target.toolkitName.text(), 0,
                             nullIfEmpty(options.revision), nullIfEmpty(options.text2),
                             nullIfEmpty(options.description), nullIfEmpty(options.text1),
                             nullIfEmpty(options.promotionGroup), nullptr, 0, options.flags);
  }
  return reportToolkitStatus(context, status, target.archive.text());
}

// Unlock ------------------------------------------------------------------------------------------

int TVArchiveMember52::unlockRevision(TVHandle& context, const TVUnlockOptions& options) {
  using Options = TVUnlockOptions;
  const Target about = target();
  const int32_t mode = options.mode;
  if (about.toolkitName.isEmpty()) return refuse(context, kFolderNoArchiveName, kResultMissing);
  const bool wantsLocked =
      mode == Options::kGetLockedReadOnly || mode == Options::kGetLockedWritable;
  if (wantsLocked || mode == Options::kGetReadOnly || mode == Options::kGetWritable) {
    if (const int result = findWorkfile(context)) return result;
  }
  TVGetOptions get;
  if (const int result = takeLocks(context, about, wantsLocked, &get.revision)) return result;
  switch (mode) {
    case Options::kGetReadOnly:
    case Options::kGetLockedReadOnly:
      get.setReadOnly();
      break;
    case Options::kGetWritable:
    case Options::kGetLockedWritable:
      get.setWritable();
      break;
    default:
      return kResultDone;
  }
  get.setOverwriteAlways();
  return checkOut(context, about, get);
}

// Takes back the present user's locks, and tells before which revision was locked.
int TVArchiveMember52::takeLocks(TVHandle& context, const Target& target, bool wantsRevision,
                                 VString* revision) {
  try {
    VString user;
    if (const int result = fetchUser(context, &user)) return result;
    int32_t lockStatus = TRVS_DONE;
    int32_t status = TRVS_DONE;
    {
      TVToolkitBracket bracket(context);
      if (wantsRevision) lockStatus = fetchLockedRevision(target.toolkitName, user, revision);
      if (lockStatus == TRVS_DONE) {
        status = TrvsUnLockRevision(TRVS_CONTEXT, target.toolkitName.text(), nullptr, user.text());
      }
    }
    if (lockStatus != TRVS_DONE) return reportToolkitStatus(context, lockStatus, nullptr);
    return reportToolkitStatus(context, status, target.archive.text());
  } catch (const std::bad_alloc&) {
    context.sink().error(context, FolderMessage(kFolderNoMemory));
    return kResultNoMemory;
  }
}

// The name of an archive --------------------------------------------------------------------------

int TVArchiveMember52::computeArchiveName(TVHandle& context) {
  TVMemberNames wanted = TVMemberNames::of(names());
  const int result = computeNames(context, &wanted);
  if (TVNameViews(wanted) == names()) return result;
  const bool isCached = !isTransient() && owner() != nullptr;
  if (isCached) {
    if (findMember(*owner(), wanted) != nullptr) {
      context.sink().notice(context,
                            ToolkitMessage(TRVS_ARCHIVE_EXISTS, wanted.archiveName.text()));
      return kResultFailed;
    }
    std::unique_ptr<TVNameBlock>& recordNames = notes().recordNames;
    if (recordNames == nullptr) recordNames = std::make_unique<TVNameBlock>(names());
  }
  setNames(wanted);
  return result;
}

int TVArchiveMember52::computeNames(TVHandle& context, TVMemberNames* names) const {
  if (names->workName.isEmpty()) return refuse(context, kFolderNoWorkfileName, kResultFailed);
  if (!names->archivePath.isEmpty() && !names->archiveName.isEmpty()) return kResultDone;
  char buffer[kPathSize] = {};
  const VPathString path = qualArchiveName();
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsComputeArchiveName(names->workName.text(), buffer, kPathSize);
  }
  if (status != TRVS_DONE) return reportToolkitStatus(context, status, path.text());
  const VPathString computed(buffer);
  if (computed.isEmpty()) return refuse(context, kFolderNoArchiveName, kResultFailed);
  names->archiveName = computed.fileNamePart();
  if (!names->archivePath.isEmpty()) return kResultDone;
  if (computed.fileNamePart() == computed)
    return firstArchiveDirectory(context, &names->archivePath);
  names->archivePath = computed.directoryPart();
  return kResultDone;
}

// A new archive -----------------------------------------------------------------------------------

// An archive that is there already becomes the member's own, without a check-in.
int TVArchiveMember52::createArchive(TVHandle& context, const TVPutOptions& options) {
  TVReferenceHold hold(this);
  TVObject* const folder = owner();
  TVReferenceHold folderHold(folder);
  if (const int result = findWorkfile(context)) return result;
  TVMemberNames wanted = TVMemberNames::of(names());
  if (const int result = computeNames(context, &wanted)) return result;
  if (!wanted.areStorable(context)) return kResultFailed;
  const Target about = TVArchiveMember52(wanted, folder, TVCaching::kTransient).target();
  if (!about.archive.exists()) {
    if (const int result = makeArchive(context, about, options)) return result;
  }
  // In a batch nobody knows yet.
  if (TVArchiveBatch* const batch = TVArchiveBatch::current()) {
    batch->storeLater(this, folder, wanted, about.archive);
    return kResultDone;
  }
  return storeIn(folder, context, {{this, wanted}});
}

int TVArchiveMember52::makeArchive(TVHandle& context, const Target& target,
                                   const TVPutOptions& options) {
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsCreateWithRevision(
        TRVS_CONTEXT, target.archive.text(), target.workfile.text(), nullptr,
        nullIfEmpty(options.revision), nullIfEmpty(options.text2), nullIfEmpty(options.description),
        nullIfEmpty(options.text1), nullIfEmpty(options.promotionGroup), nullptr, 0, options.flags);
  }
  if (status == TRVS_ARCHIVE_EXISTS) return kResultDone;  // Another was quicker.
  return reportToolkitStatus(context, status, target.archive.text());
}

// The folder is read again first, to be asked whether it has the records, and a member is known
// there by the names of its record.
int TVArchiveMember52::storeIn(TVObject* folder, TVHandle& context,
                               const std::vector<Unstored>& members) {
  const bool isKept = folder != nullptr && !folder->isDeleted();
  for (const auto& [member, names] : members) {
    if (member->isTransient()) member->setNames(names);
    if (!isKept || member->notes_ == nullptr || member->notes_->recordNames == nullptr) continue;
    const auto recordNames = std::exchange(member->notes_->recordNames, nullptr);
    if (member->owner() == folder) member->setNames(recordNames->views());
  }
  if (!isKept) return kResultDone;
  TVHandle folderHandle(&context.sink(), folder);
  TVUseScope use(folder, folderHandle);
  const auto isMissing = [folder](const Unstored& each) {
    return findMember(*folder, each.names) == nullptr;
  };
  if (std::none_of(members.begin(), members.end(), isMissing)) return kResultDone;
  // The caller may hold the folder already, and then writes it at the end of its own edit.
  const bool isHeld = folder->storageLock() != nullptr;
  TVLockScope edit(isHeld ? theNullHandle() : folderHandle);
  if (folder->storageLock() == nullptr) return kResultNotWritten;
  int result = kResultDone;
  for (const Unstored& each : members) {
    if (!isMissing(each)) continue;
    const int written = each.member->writeRecord(folder, folderHandle, each.names);
    if (result == kResultDone) result = written;
  }
  const bool isStored = isHeld || folder->endEdit(folderHandle);
  return result == kResultDone && !isStored ? kResultNotWritten : result;
}

// A cached member is stored with all others; a transient one, or one that has lost its record
// meanwhile, gets one of its own.
int TVArchiveMember52::writeRecord(TVObject* folder, TVHandle& folderHandle,
                                   const TVMemberNames& wanted) {
  if (!isTransient() && owner() == folder) {
    setNames(wanted);
    folder->setDirty(true);
    return kResultDone;
  }
  bool known = false;
  auto* member = mergeIntoCache(std::make_unique<TVArchiveMember52>(wanted, folder), &known);
  if (known || folder->isDirty()) return kResultDone;
  if (member->writeInOwner(folderHandle) == kResultDone) return kResultDone;
  folder->dropWrites();
  member->destroyObject(folderHandle, TVRemoval::kMemoryOnly);
  return kResultNotWritten;
}

}  // namespace foldapi
