// toolkit/memberoperations.cpp: what TVArchiveMember52 does to its archive: check-out, check-in,
// unlock, and the creation of a new one.
//
// The toolkit is the judge of locks, promotion and the age of workfiles; its answer comes back as a
// status. Brackets hold for the toolkit call alone: what follows may enter again.
#include <memory>
#include <new>
#include <vector>

#include "btkf520/btkf520.h"
#include "core/lockscope.h"
#include "core/result.h"
#include "store/52arfld.h"
#include "toolkit/arguments.h"
#include "toolkit/configuration.h"
#include "toolkit/messages.h"
#include "toolkit/session.h"

namespace foldapi {

namespace {

constexpr int32_t kToolkitContext = -1;
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
    return TrvsGetLockInfo(kToolkitContext, archive.text(), 0, user.text(), &count, data, size);
  });
  if (status == 0) *revision = *reinterpret_cast<const char* const*>(buffer.data());
  return status;
}

}  // namespace

// Check-out and check-in
// -----------------------------------------------------------------------------

int TVArchiveMember52::getRevision(TVHandle& context, const TVGetOptions& options) {
  const VPathString path = qualArchiveName();
  if (path.isEmpty()) return refuse(context, kFolderNoArchiveName, kResultMissing);
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsGetRevision(kToolkitContext, toolkitName().text(), 0, options.revision.text(),
                             options.cutoffDate.text(), options.otherDate.text(), 0,
                             options.promotionGroup.text(), 0, options.flags);
  }
  return reportToolkitStatus(context, status, path.text());
}

int TVArchiveMember52::putRevision(TVHandle& context, const TVPutOptions& options) {
  const VPathString path = qualArchiveName();
  if (path.isEmpty()) return refuse(context, kFolderNoArchiveName, kResultMissing);
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsPutRevision(kToolkitContext, 0, toolkitName().text(), 0,
                             nullIfEmpty(options.revision), nullIfEmpty(options.text2),
                             nullIfEmpty(options.description), nullIfEmpty(options.text1),
                             nullIfEmpty(options.promotionGroup), nullptr, 0, options.flags);
  }
  return reportToolkitStatus(context, status, path.text());
}

// Unlock
// ---------------------------------------------------------------------------------------------

int TVArchiveMember52::unlockRevision(TVHandle& context, const TVUnlockOptions& options) {
  using Options = TVUnlockOptions;
  if (toolkitName().isEmpty()) return refuse(context, kFolderNoArchiveName, kResultMissing);
  const int32_t mode = options.mode;
  const bool wantsLocked =
      mode == Options::kGetLockedReadOnly || mode == Options::kGetLockedWritable;
  TVGetOptions checkOut;
  if (const int result = takeLocks(context, wantsLocked, &checkOut.revision)) return result;
  switch (mode) {
    case Options::kGetReadOnly:
    case Options::kGetLockedReadOnly:
      checkOut.setReadOnly();
      break;
    case Options::kGetWritable:
    case Options::kGetLockedWritable:
      checkOut.setWritable();
      break;
    default:
      return kResultDone;
  }
  checkOut.setOverwriteAlways();
  return getRevision(context, checkOut);
}

// Takes back the present user's locks, and tells before which revision was locked.
int TVArchiveMember52::takeLocks(TVHandle& context, bool wantsRevision, VString* revision) {
  try {
    VString user;
    if (const int result = fetchUser(context, &user)) return result;
    const VString archive = toolkitName();
    int32_t lockStatus = 0;
    int32_t status = 0;
    {
      TVToolkitBracket bracket(context);
      if (wantsRevision) lockStatus = fetchLockedRevision(archive, user, revision);
      if (lockStatus == 0) {
        status = TrvsUnLockRevision(kToolkitContext, archive.text(), nullptr, user.text());
      }
    }
    if (lockStatus != 0) return reportToolkitStatus(context, lockStatus, nullptr);
    return reportToolkitStatus(context, status, qualArchiveName().text());
  } catch (const std::bad_alloc&) {
    context.sink().error(context, FolderMessage(kFolderNoMemory));
    return kResultNoMemory;
  }
}

// A new archive
// --------------------------------------------------------------------------------------

int TVArchiveMember52::computeArchiveName(TVHandle& context) {
  if (names().workName.isEmpty()) return refuse(context, kFolderNoWorkfileName, kResultFailed);
  if (!names().archivePath.isEmpty() && !names().archiveName.isEmpty()) return kResultDone;
  char buffer[kPathSize] = {};
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsComputeArchiveName(names().workName.text(), buffer, kPathSize);
  }
  if (status != 0) return reportToolkitStatus(context, status, qualArchiveName().text());
  const VPathString computed(buffer);
  if (computed.isEmpty()) return refuse(context, kFolderNoArchiveName, kResultFailed);
  setArchiveName(computed.fileNamePart());
  return names().archivePath.isEmpty() ? computeArchivePath(context, computed) : kResultDone;
}

// The directory of the computed name or, without one, the first of the project's.
int TVArchiveMember52::computeArchivePath(TVHandle& context, const VPathString& computed) {
  VPathString directory = computed.directoryPart();
  if (computed.fileNamePart() == computed) {
    std::string all;
    {
      TVToolkitBracket bracket(context);
      QueryConfigurationItem(kItemArchiveDirs, &all);
    }
    std::string_view dirs(all.c_str());
    if (dirs.empty()) return refuse(context, kFolderNoArchiveDirectories, kResultFailed);
    if (dirs.starts_with(';')) dirs.remove_prefix(1);
    directory = dirs.substr(0, dirs.find(';'));
  }
  setArchivePath(directory);
  return kResultDone;
}

// An archive that is there already becomes the member's own, without a check-in.
int TVArchiveMember52::createArchive(TVHandle& context, const TVPutOptions& options) {
  TVReferenceHold hold(this);
  const TVMemberNames before = names();
  if (const int result = computeArchiveName(context)) return result;
  if (!names().areStorable(context)) return kResultFailed;
  int result = kResultDone;
  if (!qualArchiveName().exists()) {
    result = makeArchive(context, options.description);
    if (result != kResultDone) return result;
    result = putRevision(context, options);
  }
  const int stored = storeInOwner(context, before);
  return result != kResultDone ? result : stored;
}

int TVArchiveMember52::makeArchive(TVHandle& context, const VString& description) {
  const VPathString path = qualArchiveName();
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsCreateArchive(path.text(), fullWorkName().text(), nullIfEmpty(description),
                               nullptr, 0, 0);
  }
  return reportToolkitStatus(context, status, path.text());
}

// A transient member is stored as one of its own. A cached one has got its archive's name
// meanwhile: its record goes, also if the folder was read again and brought it back under its
// former name.
int TVArchiveMember52::storeInOwner(TVHandle& context, const TVMemberNames& before) {
  TVObject* const folder = owner();
  if (folder == nullptr) return kResultDone;
  const TVMemberNames present = names();
  const bool renamed = !isTransient() && !(before == present);
  TVHandle folderHandle(&context.sink(), folder);
  TVHandle stored(&context.sink(), nullptr);
  // The caller may hold the folder already, and then writes it at the end of its own edit.
  auto held = std::make_unique<TVLockScope>(folderHandle, folder->storageLock() == nullptr);
  if (folder->storageLock() == nullptr) return kResultNotWritten;
  if (renamed) {
    TVArchiveMember52 former(before, folder, false);
    auto* record = static_cast<TVObject*>(folder->children().find(&former));
    if (record != nullptr) record->destroyObject(folderHandle, true);
    folder->setDirty(true);
  }
  VBool known;
  TVObject* member = mergeIntoCache(new TVArchiveMember52(present, folder, false), &known);
  if (!known && !folder->isDirty() && member->writeInOwner(folderHandle)) {
    folder->dropWrites();
    member->destroyObject(folderHandle, false);
    return kResultNotWritten;
  }
  // What could not be stored is gone when the edit ends.
  stored.attach(member);
  held.reset();
  return stored.isNull() ? kResultNotWritten : kResultDone;
}

}  // namespace foldapi
