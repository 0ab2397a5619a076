// domain/archivefolder.cpp: what makes a folder, and how folders sort.
#include "domain/archivefolder.h"

#include "core/optionarray.h"
#include "domain/archivemember.h"
#include "domain/attribute.h"
#include "os/fingerprint.h"

namespace foldapi {

const VClassRecord TVArchiveFolder::theClass = {
    "TVArchiveFolder", &TVObject::theClass, 11,
    []() -> VObject* { return new TVArchiveFolderHandle; }};

namespace {

constexpr int kFolderKeys = 3;

enum class FolderKey { kPrivacy, kName, kWorkDir };

// The keys of each sort type in their order.
const FolderKey* folderKeys(TVSortType sortType) {
  static constexpr FolderKey kByPrivacy[] = {FolderKey::kPrivacy, FolderKey::kName,
                                             FolderKey::kWorkDir};
  static constexpr FolderKey kByName[] = {FolderKey::kName, FolderKey::kPrivacy,
                                          FolderKey::kWorkDir};
  static constexpr FolderKey kByWorkDir[] = {FolderKey::kWorkDir, FolderKey::kPrivacy,
                                             FolderKey::kName};
  switch (sortType) {
    case TVSortType::kName:
      return kByName;
    case TVSortType::kWorkDir:
      return kByWorkDir;
    default:
      return kByPrivacy;
  }
}

}  // namespace

TVArchiveFolder::TVArchiveFolder(VString name, VString privateWorkDir, TVPrivacy privacy,
                                 TVObject* owner, TVCaching caching)
    : TVObject(owner, caching),
      folderName_(std::move(name)),
      privateWorkDir_(std::move(privateWorkDir)),
      isPrivate_(privacy == TVPrivacy::kPrivate) {}

bool TVArchiveFolder::isEqual(const VObject* other) const {
  if (!TVObject::isEqual(other)) return false;
  const auto* folder = static_cast<const TVArchiveFolder*>(other);
  return folder->folderName_ == folderName_ && folder->isPrivate_ == isPrivate_;
}

uint64_t TVArchiveFolder::computeFingerprint() const {
  return os::fingerprintText(folderName_.view(), isPrivate_ ? 3 : 2);
}

std::string_view TVArchiveFolder::sortKey(int* index, TVSortType sortType,
                                          std::string* scratch) const {
  const int position = *index;
  *index -= kFolderKeys;
  if (*index >= 0) return TVObject::sortKey(index, sortType, scratch);
  switch (folderKeys(sortType)[position]) {
    case FolderKey::kPrivacy:
      return isPrivate_ ? "1" : "0";
    case FolderKey::kName:
      return folderName_.view();
    case FolderKey::kWorkDir:
      break;
  }
  return privateWorkDir_.view();
}

TVObject::KeyParts TVArchiveFolder::keyParts(std::string_view key, TVSortType sortType) const {
  const bool known = sortType == TVSortType::kDefault || sortType == TVSortType::kName ||
                     sortType == TVSortType::kWorkDir || sortType == TVSortType::kPrivacy;
  if (!known) return {};
  return {{key}, 1};
}

VString TVArchiveFolder::nameFor(const VClassRecord* record, const TVOptionArray& options) const {
  if (!options.wantsLongForm(record)) return folderName_;
  return folderName_ + "\t" + privateWorkDir_;
}

VString TVArchiveFolder::name(const TVOptionArray& options) const {
  return nameFor(&theClass, options);
}

int TVArchiveFolder::attribute(const TVOptionArray&) const {
  return isPrivate_ ? TVAttribute::kPrivateFolder : TVAttribute::kPublicFolder;
}

void TVArchiveFolder::setFolderName(const VString& name) {
  changeHashedKey([&] { folderName_ = name; });
}

// A sort key of the folder, and with the full work directory one of all members below it.
void TVArchiveFolder::setPrivateWorkDir(const VString& dir) {
  if (dir == privateWorkDir_) return;
  privateWorkDir_ = dir;
  countKeyChange();
  recordChanged();
}

void TVArchiveFolder::setIsPrivate(VBool isPrivate) {
  changeKey([&] { isPrivate_ = isPrivate; });
}

// At version 1 a folder may hold folders; format 5.2 keeps members only.
TVArchiveFolderOptions::TVArchiveFolderOptions(int version)
    : TVArchiveFolderOptions(
          version, version == kAbstractVersion
                       ? std::vector{&TVArchiveFolder::theClass, &TVArchiveMember::theClass}
                       : std::vector{&TVArchiveMember::theClass}) {}

TVArchiveFolderOptions::TVArchiveFolderOptions(int version,
                                               std::vector<const VClassRecord*> childClasses)
    : TVFolderOptions(&TVArchiveFolder::theClass, version, TVSortType::kName,
                      std::move(childClasses)) {}

std::unique_ptr<TVObject> TVArchiveFolderOptions::makeObject(const VString& name,
                                                             const VString& privateWorkDir,
                                                             TVPrivacy privacy, TVHandle&,
                                                             TVObject* owner, TVCaching caching) {
  return std::make_unique<TVArchiveFolder>(name, privateWorkDir, privacy, owner, caching);
}

VString TVArchiveFolderHandle::folderName() const {
  const auto* folder = as<TVArchiveFolder>();
  return folder == nullptr ? VString() : folder->folderName();
}

VString TVArchiveFolderHandle::privateDir() const {
  const auto* folder = as<TVArchiveFolder>();
  return folder == nullptr ? VString() : folder->privateWorkDir();
}

VBool TVArchiveFolderHandle::isPrivate() const {
  const auto* folder = as<TVArchiveFolder>();
  return folder != nullptr && folder->isPrivate();
}

void TVArchiveFolderHandle::setName(const VString& name) {
  auto* folder = as<TVArchiveFolder>();
  if (folder == nullptr || !isStorableValue(*this, name.view(), kEndsSectionName)) return;
  editObject(*this, [&] { folder->setFolderName(name); });
}

void TVArchiveFolderHandle::setIsPrivate(VBool isPrivate) {
  auto* folder = as<TVArchiveFolder>();
  editObject(*this, [&] {
    if (folder != nullptr) folder->setIsPrivate(isPrivate);
  });
}

void TVArchiveFolderHandle::setPrivateDir(const VString& dir) {
  auto* folder = as<TVArchiveFolder>();
  if (folder == nullptr || !isStorableValue(*this, dir.view())) return;
  editObject(*this, [&] { folder->setPrivateWorkDir(dir); });
}

TVArchiveFolderHandle TVArchiveFolderHandle::create(const VString& name, const VString& privateDir,
                                                    TVPrivacy privacy, const TVHandle& parent,
                                                    const TVCreateOptions& options) {
  TVHandle context = options.context(parent);
  if (!isStorableValue(context, name.view(), kEndsSectionName) ||
      !isStorableValue(context, privateDir.view())) {
    return TVArchiveFolderHandle();
  }
  return TVArchiveFolderHandle(createObject(
      &TVArchiveFolder::theClass, parent, options,
      [&](TVFolderOptions& rules, TVHandle& result, TVObject* owner, TVCaching caching) {
        return static_cast<TVArchiveFolderOptions&>(rules).makeObject(name, privateDir, privacy,
                                                                      result, owner, caching);
      }));
}

}  // namespace foldapi
