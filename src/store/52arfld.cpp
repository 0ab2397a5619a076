// store/52arfld.cpp: folders and documents on disk, and what an archive's tail says of a document.
#include "store/52arfld.h"

#include <algorithm>
#include <new>

#include "core/result.h"
#include "runtime/assertion.h"
#include "store/52branch.h"
#include "store/52proj.h"
#include "store/archivecache.h"
#include "toolkit/bracket.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr KeyTableEntry kFolderSections[] = {{"Format", kSectionSkipped},
                                             {"Folder", kSectionFolder},
                                             {"Document", kSectionDocument},
                                             {nullptr, kSectionSkipped}};

constexpr int32_t kTrunkNumber = 1;

}  // namespace

const KeyTableEntry* folderSections() { return kFolderSections; }

const VString& storageDirOf(const TVObject* owner, Side side) {
  static const VString none;
  if (owner == nullptr || owner->version() != kFormat52) return none;
  if (owner->isA() == &TVProjectFolder::theClass) {
    return static_cast<const TVProjectFolder52*>(owner)->storageDir(side);
  }
  if (owner->isA() == &TVArchiveFolder::theClass) {
    return static_cast<const TVArchiveFolder52*>(owner)->storageDir(side);
  }
  return none;
}

// Folders -----------------------------------------------------------------------------------------

TVArchiveFolder52::TVArchiveFolder52(VString name, VString privateWorkDir, TVPrivacy privacy,
                                     TVObject* owner, TVCaching caching)
    : TVFileOwner52(TVDataFilePair("trvsfold.pub", "trvsfold.prv"), std::move(name),
                    std::move(privateWorkDir), privacy, owner, caching) {}

std::span<const Side> TVArchiveFolder52::sides() const {
  const std::span both(kBothSides);
  return isPrivate() ? both.last(1) : both.first(1);
}

std::span<const Side> TVArchiveFolder52::recordSides() const {
  return isPrivate() ? sides() : kBothSides;
}

std::string TVArchiveFolder52::record(Side side) const {
  std::string text = "[FOLDER=" + folderName().str() + "]\n";
  text += "DIR=" + recordDirectory(storageDirOf(owner(), side), files_.directory(side)) + "\n";
  text += "WKDIR=" + privateWorkDir().str() + "\n";
  if (side == Side::kPrivate && !isPrivate()) text += "OWNERSHIP=PUBLIC\n";
  return text + "\n";
}

int TVArchiveFolder52::readFiles(TVHandle& context, const TVDataFileWriter* writer) {
  if (files_.directory(ownSide()).isEmpty()) {
    assertFail("52arfld.cpp", 162);
    files_.passOver(ownSide());
    return kResultDone;
  }
  const int code =
      files_.read(ownSide(), this, context, kFolderSections, TVDataFile::Access::kRead, writer);
  return code == kFolderNoMemory ? kResultNoMemory : kResultDone;
}

bool TVArchiveFolder52::createStorage(TVHandle& context) {
  if (!canBeStored()) return false;
  for (const Side side : recordSides()) {
    if (!makeStorageDir(side, storageDirOf(owner(), side), "", context)) return false;
  }
  return true;
}

std::unique_ptr<TVObject> TVArchiveFolder52Options::makeObject(const VString& name,
                                                               const VString& privateWorkDir,
                                                               TVPrivacy privacy, TVHandle&,
                                                               TVObject* owner, TVCaching caching) {
  return std::make_unique<TVArchiveFolder52>(name, privateWorkDir, privacy, owner, caching);
}

// Members -----------------------------------------------------------------------------------------

// What a document of a large project takes, beside the text of its names.
static_assert(sizeof(TVArchiveMember52) <= 104);

// The record lies in the owner's public file if it has one, else in the private one: never in both.
int TVArchiveMember52::writeChild(TVHandle& context, TVStorageLock& ownerLock) {
  if (notes_ != nullptr) notes_->recordNames.reset();
  TVDataFileWriter& writer = writerOf(ownerLock);
  const Side side = writer.path(Side::kPublic).isEmpty() ? Side::kPrivate : Side::kPublic;
  if (writer.stream(side) == nullptr) return kResultNotWritten;
  const TVNameViews record = names();
  const bool isWritten =
      writer.writeRecord(side,
                         {"[DOCUMENT=", record.archivePath, ";", record.archiveName, ";",
                          record.workPath, ";", record.workName, "]\n"},
                         context);
  return isWritten ? kResultDone : kResultNotWritten;
}

// The revision tree. The branches point into the list: they move over to the new one, or lose it,
// before the old one is given back.
int TVArchiveMember52::readData(TVHandle& context, TVStorageLock*) {
  TrvsRevTree* const old = tree_;
  tree_ = nullptr;
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsRevTreeInfo(TRVS_CONTEXT, toolkitName().text(), &tree_, TRVS_TREE_FETCH);
  }
  if (status == TRVS_DONE) {
    mergeBranch(*this, "Trunk", kTrunkLevel, kTrunkNumber, tree_);
  } else {
    forgetTrunk();
  }
  if (old != nullptr) giveBack(old);
  return reportToolkitStatus(context, status, qualArchiveName().text());
}

TVArchiveMember52::~TVArchiveMember52() {
  if (tree_ != nullptr) giveBack(tree_);
}

void TVArchiveMember52::forgetTrunk() {
  for (TVObject* child : childrenInOrder()) static_cast<TVBranch52*>(child)->clear();
}

// Without a bracket: it is the same in any state, and needs no configuration to be read.
void TVArchiveMember52::giveBack(TrvsRevTree* tree) {
  static_cast<void>(TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &tree, TRVS_TREE_RETURN));
}

TVArchiveCache* TVArchiveMember52::projectCache() {
  TVObject* project = findAncestor(&TVProjectFolder::theClass);
  if (project == nullptr || project->version() != kFormat52) return nullptr;
  return static_cast<TVProjectFolder52*>(project)->archiveCache();
}

namespace {

uint64_t changesOfSummaries() { return TVObject::keyChanges() + TVArchiveCache::losses(); }

}  // namespace

// What the last call found, if it is still that of the archive; else null.
const ArchiveSummary* TVArchiveMember52::rememberedSummary(TVArchiveCache* cache) {
  if (cache == nullptr || notes_ == nullptr || notes_->summary == nullptr) return nullptr;
  if (notes_->changesAtSummary != changesOfSummaries()) return nullptr;
  return cache->fetchAgain(notes_->summary) == 0 ? &notes_->summary->summary() : nullptr;
}

TVArchiveMember52::Notes& TVArchiveMember52::notes() {
  if (notes_ == nullptr) notes_ = std::make_unique<Notes>();
  return *notes_;
}

// Calls use(const ArchiveSummary&) with the archive's summary: the one that the project's cache has
// or, without a cache, one that is read for this call alone.
template <typename Use>
int TVArchiveMember52::LoadArchiveInfo(TVHandle& context, Use use) {
  TVArchiveCache* const cache = projectCache();
  if (const ArchiveSummary* const remembered = rememberedSummary(cache)) {
    use(*remembered);
    return kResultDone;
  }
  const VPathString path = qualArchiveName();
  if (path.isEmpty()) {
    context.sink().notice(context, FolderMessage(kFolderNoArchiveName));
    return kResultMissing;
  }
  ArchiveSummary own;
  TVArchiveInfo52* info = nullptr;
  const int32_t code = cache != nullptr ? cache->fetch(path, &info) : ReadArchiveInfo(path, &own);
  if (code != 0) info = nullptr;
  if (notes_ == nullptr && info != nullptr) notes_.reset(new (std::nothrow) Notes);
  if (notes_ != nullptr) {
    notes_->summary = info;
    notes_->changesAtSummary = changesOfSummaries();
  }
  if (code == kFolderNoMemory) {
    context.sink().error(context, FolderMessage(code));
    return kResultNoMemory;
  }
  if (code != 0) {
    context.sink().notice(context, FolderFileMessage(code, path.text()));
    return kResultFailed;
  }
  use(info != nullptr ? info->summary() : own);
  return kResultDone;
}

template <typename Value>
int TVArchiveMember52::infoField(TVHandle& context, Value ArchiveSummary::*field, Value* out) {
  return LoadArchiveInfo(context, [=](const ArchiveSummary& summary) { *out = summary.*field; });
}

int TVArchiveMember52::GetCreationTime(TVHandle& context, uint32_t* out) {
  *out = 0;
  return infoField(context, &ArchiveSummary::creationTime, out);
}
int TVArchiveMember52::GetFileTime(TVHandle& context, uint32_t* out) {
  return infoField(context, &ArchiveSummary::fileTime, out);
}
int TVArchiveMember52::GetRevisionCount(TVHandle& context, int32_t* out) {
  *out = 0;
  return infoField(context, &ArchiveSummary::revisionCount, out);
}
int TVArchiveMember52::GetLockCount(TVHandle& context, int32_t* out) {
  return infoField(context, &ArchiveSummary::lockCount, out);
}
int TVArchiveMember52::GetAccessList(TVHandle& context, VString* out) {
  return infoField(context, &ArchiveSummary::accessList, out);
}
int TVArchiveMember52::GetDescription(TVHandle& context, VString* out) {
  return infoField(context, &ArchiveSummary::description, out);
}
int TVArchiveMember52::GetHeaderText(TVHandle& context, VString* out) {
  return infoField(context, &ArchiveSummary::headerText, out);
}
int TVArchiveMember52::GetLockers(TVHandle& context, VString* out) {
  return infoField(context, &ArchiveSummary::lockers, out);
}

namespace {

// Splits the locker list at "," and tells whose locks are in it.
uint32_t lockerBits(std::string_view lockers, std::string_view user) {
  uint32_t bits = 0;
  while (!lockers.empty()) {
    const std::string_view name = lockers.substr(0, lockers.find(','));
    lockers.remove_prefix(std::min(name.size() + 1, lockers.size()));
    if (!name.empty()) bits |= name == user ? kStatusLockedByMe : kStatusLockedByOther;
  }
  return bits;
}

uint32_t statusBits(const ArchiveSummary& summary, std::string_view user) {
  uint32_t bits = kStatusReadable;
  if (summary.lockCount > 0) bits |= lockerBits(summary.lockers.view(), user);
  if (summary.lockCount > 1) bits |= kStatusLockedMultiple;
  if (summary.lockCount == 1 && (summary.attributes & TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS) != 0) {
    bits |= kStatusLockedExclusive;
  }
  if (summary.revisionCount > 0) bits |= kStatusHasRevisions;
  return bits;
}

}  // namespace

int TVArchiveMember52::describe(TVHandle& context, uint32_t* status) {
  *status = 0;
  VString user;
  if (const int result = fetchUser(context, &user)) return result;
  return LoadArchiveInfo(
      context, [&](const ArchiveSummary& summary) { *status = statusBits(summary, user.view()); });
}

std::unique_ptr<TVObject> TVArchiveMember52Options::makeObject(const TVMemberNames& names,
                                                               TVHandle& context, TVObject* owner,
                                                               TVCaching caching) {
  if (names.workName.isEmpty() && names.archiveName.isEmpty()) {
    context.sink().notice(context, FolderMessage(kFolderNoWorkfileName));
    return nullptr;
  }
  return std::make_unique<TVArchiveMember52>(names, owner, caching);
}

}  // namespace foldapi
