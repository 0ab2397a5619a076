// domain/archivemember.cpp: the name forms of a member, and how members sort.
#include "domain/archivemember.h"

#include "core/optionarray.h"
#include "core/result.h"
#include "domain/archivefolder.h"
#include "domain/branch.h"
#include "domain/projectroot.h"
#include "runtime/paths.h"

namespace foldapi {

const VClassRecord TVArchiveMember::theClass = {
    "TVArchiveMember", &TVObject::theClass, 14,
    []() -> VObject* { return new TVArchiveMemberHandle; }};

namespace {

constexpr int kMemberKeys = 4;

using Field = TVNameBlock::Field;

// The names of each sort type in the order in which they decide.
const Field* memberKeys(TVSortType sortType) {
  using enum TVNameBlock::Field;
  static constexpr Field kByWorkPath[] = {kWorkPath, kWorkName, kArchivePath, kArchiveName};
  static constexpr Field kByWorkName[] = {kWorkName, kWorkPath, kArchivePath, kArchiveName};
  static constexpr Field kByArchivePath[] = {kArchivePath, kArchiveName, kWorkName, kWorkPath};
  static constexpr Field kByArchiveName[] = {kArchiveName, kArchivePath, kWorkName, kWorkPath};
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

// Whether a key is one name or one directory.
bool isWholeSort(TVSortType sortType) {
  return sortType == TVSortType::kWorkName || sortType == TVSortType::kArchiveName ||
         sortType == TVSortType::kWorkDirOfPath || sortType == TVSortType::kArchiveDirOfPath;
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

TVArchiveMember::TVArchiveMember(const TVNameViews& names, TVObject* owner, TVCaching caching)
    : TVObject(owner, caching), names_(names) {}

bool TVArchiveMember::isEqual(const VObject* other) const {
  return TVObject::isEqual(other) && static_cast<const TVArchiveMember*>(other)->names_ == names_;
}

int32_t TVArchiveMember::computeHash() const {
  return static_cast<int32_t>(static_cast<uint32_t>(VString::hashText(names().archiveName)) +
                              static_cast<uint32_t>(VString::hashText(names().archivePath)));
}

uint64_t TVArchiveMember::computeFingerprint() const { return names_.fingerprint(); }

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
  return names_[memberKeys(sortType)[position]];
}

TVObject::KeyParts TVArchiveMember::keyParts(std::string_view key, TVSortType sortType) const {
  if (isQualifiedSort(sortType)) {
    return {{VPathString::directoryPartOf(key), VPathString::fileNamePartOf(key)}, 2};
  }
  if (!isWholeSort(sortType)) return {};
  return {{key}, 1};
}

// Names -------------------------------------------------------------------------------------------

// A text that shows which separator the paths around this member use: a workfile "pid.c" in
// "control" is joined as its archive and its folders are written.
std::string_view TVArchiveMember::pathModel() const {
  const auto hasSeparator = [](std::string_view text) {
    return text.find_first_of("\\/") != std::string_view::npos;
  };
  for (const std::string_view text : {names().workPath, names().archivePath}) {
    if (hasSeparator(text)) return text;
  }
  for (const TVObject* object = owner(); object != nullptr; object = object->owner()) {
    const VString* directory = nullptr;
    if (object->isKindOf(&TVArchiveFolder::theClass)) {
      directory = &static_cast<const TVArchiveFolder*>(object)->privateWorkDir();
    } else if (object->isKindOf(&TVProjectRoot::theClass)) {
      directory = &static_cast<const TVProjectRoot*>(object)->publicDir();
    }
    if (directory != nullptr && hasSeparator(directory->view())) return directory->view();
  }
  return {};
}

std::string TVArchiveMember::joinedWorkDir() const {
  const std::string_view like = pathModel();
  std::string directory(names().workPath);
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
  if (joined.empty()) return names().workName;
  const std::string directory = normalisePath(joined);
  if (directory.empty()) return {};
  return buildPath(directory, names().workName, pathModel());
}

VPathString TVArchiveMember::qualWorkName() const {
  return VPathString(joinPath(names().workPath, names().workName, pathModel()));
}

VPathString TVArchiveMember::qualArchiveName() const {
  return VPathString(joinPath(names().archivePath, names().archiveName, pathModel()));
}

VString TVArchiveMember::pairedName() const {
  return qualWorkName() + "(" + qualArchiveName() + ")";
}

VString TVArchiveMember::toolkitName() const {
  if (names().archiveName.empty()) return fullWorkName();
  if (isNowhere()) return qualArchiveName();
  return qualArchiveName() + "(" + fullWorkName() + ")";
}

VString TVArchiveMember::name(const TVOptionArray& options) const {
  if (!options.wantsLongForm(&theClass)) return names().workName;
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

void TVArchiveMember::setName(VPathString TVMemberNames::*field, const VPathString& name) {
  TVMemberNames all = TVMemberNames::of(names());
  all.*field = name;
  const bool isHashed =
      field == &TVMemberNames::archivePath || field == &TVMemberNames::archiveName;
  if (isHashed) return setNames(all);
  TVNameBlock changed(all);
  changeKey([&] { names_ = std::move(changed); });
}

void TVArchiveMember::setNames(const TVNameViews& names) {
  TVNameBlock changed(names);
  changeHashedKey([&] { names_ = std::move(changed); });
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
  return member == nullptr ? VPathString() : VPathString(member->names().workName);
}
VPathString TVArchiveMemberHandle::workPath() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : VPathString(member->names().workPath);
}
VPathString TVArchiveMemberHandle::archiveName() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : VPathString(member->names().archiveName);
}
VPathString TVArchiveMemberHandle::archivePath() const {
  const auto* member = as<TVArchiveMember>();
  return member == nullptr ? VPathString() : VPathString(member->names().archivePath);
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
bool isTaken(const TVArchiveMember& member, const TVNameViews& names) {
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

void TVArchiveMemberHandle::setName(VPathString TVMemberNames::*field, const VPathString& name,
                                    std::string_view refused) {
  auto* member = as<TVArchiveMember>();
  if (member == nullptr || !isStorableText(*this, name.view(), refused)) return;
  TVMemberNames wanted = TVMemberNames::of(member->names());
  wanted.*field = name;
  editObject(*this, [&] {
    if (isTaken(*member, wanted)) {
      sink().notice(*this, "A file of these names is in the folder already.");
    } else {
      member->setName(field, name);
    }
  });
}

void TVArchiveMemberHandle::setWorkName(const VPathString& name) {
  setName(&TVMemberNames::workName, name, kEndsSectionName);
}
void TVArchiveMemberHandle::setWorkPath(const VPathString& path) {
  setName(&TVMemberNames::workPath, path, kEndsSectionField);
}
void TVArchiveMemberHandle::setArchiveName(const VPathString& name) {
  setName(&TVMemberNames::archiveName, name, kEndsSectionField);
}
void TVArchiveMemberHandle::setArchivePath(const VPathString& path) {
  setName(&TVMemberNames::archivePath, path, kEndsSectionField);
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
