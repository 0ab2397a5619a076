// domain/archivemember.cpp: the name forms of a member, and how members sort.
#include "domain/archivemember.h"

#include "core/optionarray.h"
#include "core/result.h"
#include "domain/archivefolder.h"
#include "domain/branch.h"
#include "domain/projectroot.h"
#include "os/fingerprint.h"
#include "runtime/paths.h"

namespace foldapi {

const VClassRecord TVArchiveMember::theClass = {
    "TVArchiveMember", &TVObject::theClass, 14,
    []() -> VObject* { return new TVArchiveMemberHandle; }};

namespace {

constexpr int kMemberKeys = 4;

using NameField = VPathString TVMemberNames::*;

// The names of each sort type in the order in which they decide.
const NameField* memberKeys(TVSortType sortType) {
  static constexpr NameField kByWorkPath[] = {&TVMemberNames::workPath, &TVMemberNames::workName,
                                              &TVMemberNames::archivePath,
                                              &TVMemberNames::archiveName};
  static constexpr NameField kByWorkName[] = {&TVMemberNames::workName, &TVMemberNames::workPath,
                                              &TVMemberNames::archivePath,
                                              &TVMemberNames::archiveName};
  static constexpr NameField kByArchivePath[] = {
      &TVMemberNames::archivePath, &TVMemberNames::archiveName, &TVMemberNames::workName,
      &TVMemberNames::workPath};
  static constexpr NameField kByArchiveName[] = {
      &TVMemberNames::archiveName, &TVMemberNames::archivePath, &TVMemberNames::workName,
      &TVMemberNames::workPath};
  switch (sortType) {
    case TVSortType::kWorkName:
      return kByWorkName;
    case TVSortType::kArchivePath:
      return kByArchivePath;
    case TVSortType::kArchiveName:
      return kByArchiveName;
    default:
      return kByWorkPath;
  }
}

// The one name that a whole key is compared with; null where more than one decides.
NameField wholeKeyField(TVSortType sortType) {
  switch (sortType) {
    case TVSortType::kWorkName:
      return &TVMemberNames::workName;
    case TVSortType::kArchiveName:
      return &TVMemberNames::archiveName;
    case TVSortType::kWorkDirOfPath:
      return &TVMemberNames::workPath;
    case TVSortType::kArchiveDirOfPath:
      return &TVMemberNames::archivePath;
    default:
      return nullptr;
  }
}

// Whether a key is a path: a directory and a name.
bool isQualifiedSort(TVSortType sortType) {
  return sortType == TVSortType::kDefault || sortType == TVSortType::kFullWorkPath ||
         sortType == TVSortType::kWorkPath || sortType == TVSortType::kArchivePath;
}

}  // namespace

bool TVMemberNames::areStorable(TVHandle& context) const {
  for (const VPathString* field : {&archivePath, &archiveName, &workPath}) {
    if (!isStorableText(context, field->view(), kEndsSectionField)) return false;
  }
  return isStorableText(context, workName.view(), kEndsSectionName);
}

TVArchiveMember::TVArchiveMember(TVMemberNames names, TVObject* owner, TVCaching caching)
    : TVObject(owner, caching), names_(std::move(names)) {}

bool TVArchiveMember::isEqual(const VObject* other) const {
  return TVObject::isEqual(other) && static_cast<const TVArchiveMember*>(other)->names_ == names_;
}

int32_t TVArchiveMember::computeHash() const {
  return static_cast<int32_t>(static_cast<uint32_t>(names_.archiveName.hash()) +
                              static_cast<uint32_t>(names_.archivePath.hash()));
}

uint64_t TVArchiveMember::computeFingerprint() const {
  uint64_t state = os::fingerprintText(names_.workName.view(), 4);
  state = os::fingerprintText(names_.workPath.view(), state);
  state = os::fingerprintText(names_.archiveName.view(), state);
  return os::fingerprintText(names_.archivePath.view(), state);
}

// Sorting -----------------------------------------------------------------------------------------

std::string_view TVArchiveMember::sortKey(int* index, TVSortType sortType,
                                          std::string* scratch) const {
  const int position = *index;
  *index -= kMemberKeys;
  if (*index >= 0) return TVObject::sortKey(index, sortType, scratch);
  if (sortType == TVSortType::kFullWorkPath && position == 0) {
    *scratch = fullWorkDir().str();
    return *scratch;
  }
  return (names_.*memberKeys(sortType)[position]).view();
}

int TVArchiveMember::compareKey(std::string_view key, TVSortType sortType, VCase letterCase) const {
  if (const NameField field = wholeKeyField(sortType); field != nullptr) {
    return compareText(key, (names_.*field).view(), letterCase);
  }
  if (!isQualifiedSort(sortType)) return TVObject::compareKey(key, sortType, letterCase);
  std::string scratch;
  int index = 0;
  const int order = compareText(VPathString::directoryPartOf(key),
                                sortKey(&index, sortType, &scratch), letterCase);
  if (order != 0) return order;
  const VPathString& name =
      sortType == TVSortType::kArchivePath ? names_.archiveName : names_.workName;
  return compareText(VPathString::fileNamePartOf(key), name.view(), letterCase);
}

TVObject::KeyParts TVArchiveMember::keyParts(std::string_view key, TVSortType sortType) const {
  if (isQualifiedSort(sortType)) {
    return {{VPathString::directoryPartOf(key), VPathString::fileNamePartOf(key)}, 2};
  }
  if (wholeKeyField(sortType) == nullptr) return {};
  return {{key}, 1};
}

// Names -------------------------------------------------------------------------------------------

// A text that shows which separator the paths around this member use: a workfile "pid.c" in
// "control" is joined as its archive and its folders are written.
std::string_view TVArchiveMember::pathModel() const {
  const auto hasSeparator = [](const VString& text) {
    return text.contains('\\') || text.contains('/');
  };
  for (const VPathString* text : {&names_.workPath, &names_.archivePath}) {
    if (hasSeparator(*text)) return text->view();
  }
  for (const TVObject* object = owner(); object != nullptr; object = object->owner()) {
    const VString* directory = nullptr;
    if (object->isKindOf(&TVArchiveFolder::theClass)) {
      directory = &static_cast<const TVArchiveFolder*>(object)->privateWorkDir();
    } else if (object->isKindOf(&TVProjectRoot::theClass)) {
      directory = &static_cast<const TVProjectRoot*>(object)->publicDir();
    }
    if (directory != nullptr && hasSeparator(*directory)) return directory->view();
  }
  return {};
}

std::string TVArchiveMember::joinedWorkDir() const {
  const std::string_view like = pathModel();
  std::string directory = names_.workPath.str();
  for (const TVObject* object = owner(); object != nullptr; object = object->owner()) {
    if (!object->isKindOf(&TVArchiveFolder::theClass)) continue;
    directory = joinPath(static_cast<const TVArchiveFolder*>(object)->privateWorkDir().view(),
                         directory, like);
  }
  return directory;
}

VPathString TVArchiveMember::fullWorkDir() const { return normalisePath(joinedWorkDir()); }

VPathString TVArchiveMember::fullWorkName() const {
  const std::string joined = joinedWorkDir();
  if (joined.empty()) return names_.workName;
  const std::string directory = normalisePath(joined);
  if (directory.empty()) return {};
  return buildPath(directory, names_.workName.view(), pathModel());
}

VPathString TVArchiveMember::qualWorkName() const {
  return VPathString(joinPath(names_.workPath.view(), names_.workName.view(), pathModel()));
}

VPathString TVArchiveMember::qualArchiveName() const {
  return VPathString(joinPath(names_.archivePath.view(), names_.archiveName.view(), pathModel()));
}

VString TVArchiveMember::pairedName() const {
  return qualWorkName() + "(" + qualArchiveName() + ")";
}

VString TVArchiveMember::toolkitName() const {
  if (names_.archiveName.isEmpty()) return fullWorkName();
  if (isNowhere()) return qualArchiveName();
  return qualArchiveName() + "(" + fullWorkName() + ")";
}

VString TVArchiveMember::name(const TVOptionArray& options) const {
  if (!options.wantsLongForm(&theClass)) return names_.workName;
  return qualWorkName() + "\t(" + qualArchiveName() + ")";
}

// What an archive that nobody can read knows ------------------------------------------------------

namespace {

template <typename Value>
int answerNothing(Value* out) {
  *out = Value();
  return 0;
}

}  // namespace

int TVArchiveMember::GetCreationTime(TVHandle&, uint32_t* out) { return answerNothing(out); }
int TVArchiveMember::GetFileTime(TVHandle&, uint32_t* out) { return answerNothing(out); }
int TVArchiveMember::GetRevisionCount(TVHandle&, int32_t* out) { return answerNothing(out); }
int TVArchiveMember::GetLockCount(TVHandle&, int32_t* out) { return answerNothing(out); }
int TVArchiveMember::GetAccessList(TVHandle&, VString* out) { return answerNothing(out); }
int TVArchiveMember::GetDescription(TVHandle&, VString* out) { return answerNothing(out); }
int TVArchiveMember::GetHeaderText(TVHandle&, VString* out) { return answerNothing(out); }
int TVArchiveMember::GetLockers(TVHandle&, VString* out) { return answerNothing(out); }

void TVArchiveMember::setWorkPath(const VPathString& path) {
  changeKey([&] { names_.workPath = path; });
}
void TVArchiveMember::setWorkName(const VPathString& name) {
  changeKey([&] { names_.workName = name; });
}
void TVArchiveMember::setArchivePath(const VPathString& path) {
  changeHashedKey([&] { names_.archivePath = path; });
}
void TVArchiveMember::setArchiveName(const VPathString& name) {
  changeHashedKey([&] { names_.archiveName = name; });
}
void TVArchiveMember::setNames(const TVMemberNames& names) {
  TVMemberNames all = names;  // All of them or none.
  changeHashedKey([&] { names_ = std::move(all); });
}

TVArchiveMemberOptions::TVArchiveMemberOptions(int version)
    : TVFolderOptions(&TVArchiveMember::theClass, version, TVSortType::kWorkPath,
                      {&TVBranch::theClass}) {}

std::unique_ptr<TVObject> TVArchiveMemberOptions::makeObject(const TVMemberNames& names, TVHandle&,
                                                             TVObject* owner, TVCaching caching) {
  return std::make_unique<TVArchiveMember>(names, owner, caching);
}

// The handle --------------------------------------------------------------------------------------

VPathString TVArchiveMemberHandle::workName() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : member->names().workName;
}
VPathString TVArchiveMemberHandle::workPath() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : member->names().workPath;
}
VPathString TVArchiveMemberHandle::archiveName() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : member->names().archiveName;
}
VPathString TVArchiveMemberHandle::archivePath() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : member->names().archivePath;
}
VPathString TVArchiveMemberHandle::fullWorkName() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : member->fullWorkName();
}
VPathString TVArchiveMemberHandle::qualWorkName() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : member->qualWorkName();
}
VPathString TVArchiveMemberHandle::qualArchiveName() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : member->qualArchiveName();
}
VString TVArchiveMemberHandle::pairedName() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VString() : member->pairedName();
}
VString TVArchiveMemberHandle::toolkitName() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VString() : member->toolkitName();
}

template <typename Value>
int TVArchiveMemberHandle::query(int (TVArchiveMember::*get)(TVHandle&, Value*), Value* out) {
  auto* member = as<TVArchiveMember>();
  return member == nullptr ? kResultMissing : (member->*get)(*this, out);
}

int TVArchiveMemberHandle::status(uint32_t* out) {
  auto* member = as<TVArchiveMember>();
  return member == nullptr ? kResultMissing : member->describe(*this, out);
}
int TVArchiveMemberHandle::creationTime(uint32_t* out) {
  return query(&TVArchiveMember::GetCreationTime, out);
}
int TVArchiveMemberHandle::modificationTime(uint32_t* out) {
  return query(&TVArchiveMember::GetFileTime, out);
}
int TVArchiveMemberHandle::revisionCount(int32_t* out) {
  return query(&TVArchiveMember::GetRevisionCount, out);
}
int TVArchiveMemberHandle::lockCount(int32_t* out) {
  return query(&TVArchiveMember::GetLockCount, out);
}
int TVArchiveMemberHandle::accessList(VString* out) {
  return query(&TVArchiveMember::GetAccessList, out);
}
int TVArchiveMemberHandle::description(VString* out) {
  return query(&TVArchiveMember::GetDescription, out);
}
int TVArchiveMemberHandle::headerText(VString* out) {
  return query(&TVArchiveMember::GetHeaderText, out);
}
int TVArchiveMemberHandle::lockers(VString* out) {
  return query(&TVArchiveMember::GetLockers, out);
}

namespace {

// Asks each of them: a lookup in the table would count, and change its order in time.
bool isTaken(const TVArchiveMember& member, const TVMemberNames& names) {
  if (member.isTransient() || member.owner() == nullptr) return false;
  for (const TVObject* sibling : member.owner()->childrenInOrder()) {
    if (sibling != &member && sibling->isA() == member.isA() &&
        static_cast<const TVArchiveMember*>(sibling)->names() == names) {
      return true;
    }
  }
  return false;
}

}  // namespace

void TVArchiveMemberHandle::setName(NameField field,
                                    void (TVArchiveMember::*setter)(const VPathString&),
                                    const VPathString& name, std::string_view refused) {
  auto* member = as<TVArchiveMember>();
  if (member == nullptr || !isStorableText(*this, name.view(), refused)) return;
  TVMemberNames wanted = member->names();
  wanted.*field = name;
  editObject(*this, [&] {
    if (isTaken(*member, wanted)) {
      sink().notice(*this, "A file of these names is in the folder already.");
    } else {
      (member->*setter)(name);
    }
  });
}

void TVArchiveMemberHandle::setWorkName(const VPathString& name) {
  setName(&TVMemberNames::workName, &TVArchiveMember::setWorkName, name, kEndsSectionName);
}
void TVArchiveMemberHandle::setWorkPath(const VPathString& path) {
  setName(&TVMemberNames::workPath, &TVArchiveMember::setWorkPath, path, kEndsSectionField);
}
void TVArchiveMemberHandle::setArchiveName(const VPathString& name) {
  setName(&TVMemberNames::archiveName, &TVArchiveMember::setArchiveName, name, kEndsSectionField);
}
void TVArchiveMemberHandle::setArchivePath(const VPathString& path) {
  setName(&TVMemberNames::archivePath, &TVArchiveMember::setArchivePath, path, kEndsSectionField);
}

std::vector<TVArchiveMemberHandle> TVArchiveMemberHandle::createAll(
    const std::vector<TVMemberNames>& all, const TVHandle& parent, const TVCreateOptions& options) {
  TVHandle context = options.context(parent);
  std::vector<TVArchiveMemberHandle> results(all.size());
  std::vector<size_t> places;
  std::vector<TVMakeObject> makes;
  for (size_t i = 0; i < all.size(); ++i) {
    const TVMemberNames& names = all[i];
    if (!names.areStorable(context)) continue;
    places.push_back(i);
    makes.push_back([&names](TVFolderOptions& rules, TVHandle& result, TVObject* owner,
                             TVCaching caching) {
      return static_cast<TVArchiveMemberOptions&>(rules).makeObject(names, result, owner, caching);
    });
  }
  if (makes.empty()) return results;
  const auto made = createObjects(&TVArchiveMember::theClass, parent, options, makes);
  for (size_t i = 0; i < made.size(); ++i) results[places[i]] = TVArchiveMemberHandle(made[i]);
  return results;
}

TVArchiveMemberHandle TVArchiveMemberHandle::create(const TVMemberNames& names,
                                                    const TVHandle& parent,
                                                    const TVCreateOptions& options) {
  return createAll({names}, parent, options).front();
}

}  // namespace foldapi
