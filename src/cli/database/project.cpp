// cli/database/project.cpp: a project, its files and its folders by way of the library's classes.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "btkf520/btkf520.h"
#include "cli/database/database.h"
#include "cli/database/handles.h"
#include "cli/database/messages.h"
#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/shellword.h"
#include "cli/text/text.h"
#include "core/lockscope.h"
#include "domain/archivemember.h"
#include "os/clock.h"
#include "os/directory.h"
#include "store/52arfld.h"
#include "store/52proj.h"
#include "toolkit/bracket.h"
#include "toolkit/configfiles.h"

namespace cli {
namespace {

using foldapi::TVArchiveFolder;
using foldapi::TVArchiveFolderHandle;
using foldapi::TVArchiveMember;
using foldapi::TVArchiveMemberHandle;
using foldapi::TVHandle;
using foldapi::TVProjectFolder;
using foldapi::TVProjectFolderHandle;
using foldapi::VPathString;
using foldapi::VString;

// native() for many paths: it looks whether each is there by that very name, and for those of one
// directory one list of that tells it.
// Names that would all be one of the files `shared` are left as they are: letter case tells them
// apart.
class Natives {
 public:
  explicit Natives(std::unordered_set<std::string> shared = {}) : shared_(std::move(shared)) {}

  std::string operator()(const VString& text) {
    std::string found = find(text);
    areAsTold_ = areAsTold_ && found == text.view() && absolutePath("", found) == found;
    return shared_.contains(found) && text.view().starts_with('/') ? text.str() : found;
  }
  // Whether each was asked for by the very name that it has, from the root of all files.
  bool areAsTold() const { return areAsTold_; }

 private:
  static constexpr size_t kFew = 8;

  struct Directory {
    size_t asked = 0;
    std::string path;
    std::unordered_set<std::string> names;
  };

  std::string find(const VString& text) {
    const std::string_view path = text.view();
    const size_t end = path.rfind('/');
    const bool isPlain = end != std::string_view::npos && end > 0 && end + 1 < path.size() &&
                         path[end - 1] != ':' && !path.starts_with("//") &&
                         path.find('\\') == std::string_view::npos;
    if (!isPlain) return native(text);
    Directory& directory = directories_[std::string(path.substr(0, end))];
    if (++directory.asked < kFew) return native(text);
    if (directory.path.empty()) list(path.substr(0, end), &directory);
    const std::string name(path.substr(end + 1));
    return directory.names.contains(name) ? joined(directory.path, name) : native(text);
  }

  static void list(std::string_view text, Directory* to) {
    to->path = native(VString(std::string(text)));
    os::forEachEntry(to->path.c_str(), [&](const char* name) { to->names.insert(name); });
  }

  bool areAsTold_ = true;
  std::unordered_set<std::string> shared_;
  std::unordered_map<std::string, Directory> directories_;
};

// Where a file is, from the top of the project's work directory.
std::string fromTop(const std::string& whole, const std::string& top) {
  if (top.empty() || !isBelow(top, whole)) return whole;
  return relativePath(top, whole);
}

std::string pathOf(const TVArchiveMember& member, const std::string& top) {
  return fromTop(native(member.fullWorkName()), top);
}

void takeMembers(TVHandle& parent, const std::string& top, const std::string& folder,
                 Natives& natives, std::vector<FileRecord>* to) {
  forEach<TVArchiveMember>(parent, [&](TVHandle& child) {
    const auto& member = *child.as<TVArchiveMember>();
    to->push_back(
        {fromTop(natives(member.fullWorkName()), top), natives(member.qualArchiveName()), folder});
  });
}

bool isMissing(const std::string& path) {
  os::FileStatus status;
  return os::readStatus(path.c_str(), &status) == os::FileResult::kMissing;
}

}  // namespace

Project::Project() = default;
Project::Project(Project&&) noexcept = default;
Project& Project::operator=(Project&&) noexcept = default;
Project::~Project() = default;

foldapi::TVProjectFolderHandle& Project::Impl::opened() {
  if (isOpen) return handle;
  refuseLost();
  isOpen = true;
  readAt = os::wallClockNanoseconds();
  Messages::instance().forget();
  handle.open();
  noteDamage();
  return handle;
}

void Project::Impl::noteDamage() {
  if (Messages::instance().areNone() || !damage.empty()) return;
  damage = withMessages("can't read its list of files");
}

void Project::Impl::refuseLost() const {
  const auto* const project = dynamic_cast<const foldapi::TVProjectFolder52*>(handle.object());
  if (project == nullptr || project->storageDir(foldapi::Side::kPublic).isEmpty()) return;
  const std::string& name = project->folderName().str();
  const auto refuse = [&name](const char* what, const VString& text, const std::string& todo) {
    const std::string path = native(text);
    if (path.empty() || !isMissing(path)) return;
    throw Problem{name, fmt::format("its {} {} is gone", what, shown(path)), todo};
  };
  const std::string remove = fmt::format("'trevault project remove {}'", shellWord(name));
  refuse("directory", project->storageDir(foldapi::Side::kPublic),
         fmt::format("is its share mounted? else restore it from a back-up, or {}", remove));
  refuse("list of files", project->dataFiles().front().text(), "restore it from a back-up");
  refuse("configuration", project->projectConfig().path.text(), "restore it from a back-up");
}

// What was not read must not look like what a colleague took off the project. A folder gets its
// directory when it is made, and its list with its first file.
void Project::Impl::refuseDamage() {
  const std::string& name = handle.as<TVProjectFolder>()->folderName().str();
  if (!damage.empty()) throw Problem{name, damage, "try again, or restore it from a back-up"};
  forEach<TVArchiveFolder>(handle, [&](TVHandle& child) {
    const auto* const folder = dynamic_cast<foldapi::TVArchiveFolder52*>(child.object());
    const std::string path =
        folder == nullptr ? "" : native(folder->storageDir(foldapi::Side::kPublic));
    if (path.empty() || !isMissing(path)) return;
    throw Problem{
        name,
        fmt::format("the directory {} of its folder {} is gone", shown(path),
                    shown(folder->folderName().str())),
        "restore it from a back-up, or make an empty one and 'trevault import' its files"};
  });
}

const std::string& Project::name() const {
  return impl_->handle.as<TVProjectFolder>()->folderName().str();
}
std::string Project::workDirectory() const { return native(impl_->handle.privateDir()); }
std::string Project::teamWorkDirectory() const { return native(impl_->handle.publicDir()); }

void Project::setWorkDirectory(const std::string& directory) {
  Messages::instance().forget();
  impl_->opened().setPrivateDir(directory);
  if (workDirectory() != directory) {
    throw Problem{name(), withMessages("its work directory could not be stored"), "try again"};
  }
}

void Project::setTeamWorkDirectory(const std::string& directory) {
  Messages::instance().forget();
  impl_->opened().setPublicDir(directory);
  if (teamWorkDirectory() != directory) {
    throw Problem{name(), withMessages("the team's work directory could not be stored"),
                  "try again"};
  }
}

std::string Project::configurationFile() const {
  return native(impl_->handle.effectiveConfig().path);
}

std::string Project::publicDirectory() const {
  const auto* const project =
      dynamic_cast<const foldapi::TVProjectFolder52*>(impl_->handle.object());
  return project == nullptr ? "" : native(project->storageDir(foldapi::Side::kPublic));
}

std::string Project::configurationText() const {
  return impl_->handle.effectiveConfig().path.str();
}

std::vector<std::string> Project::archiveDirectoryTexts() const {
  return split(impl_->handle.effectiveConfig().archiveDirs.view(), ';');
}

std::vector<std::string> Project::archiveDirectories() const {
  std::vector<std::string> result;
  for (const std::string& each : archiveDirectoryTexts()) result.push_back(native(VString(each)));
  return result;
}

void Project::setArchiveDirectories(const std::string& directories) {
  TVProjectFolderHandle& handle = impl_->opened();
  Messages::instance().forget();
  foldapi::TVProjectConfig config = handle.effectiveConfig();
  foldapi::appendArchiveDirs(&config, VString(directories), handle);
  handle.setConfig(config, foldapi::theNoLock());
  if (handle.effectiveConfig().archiveDirs.str() != directories) {
    throw Problem{name(), withMessages("its archive directories could not be stored"),
                  "see who owns its configuration"};
  }
}

foldapi::SetResult Project::setDirective(const std::string& name,
                                         const std::vector<std::string>& values,
                                         foldapi::Trial trial) {
  return foldapi::SetDirective(impl_->opened(), name, values, trial);
}

namespace {

std::vector<FileRecord> takeAll(TVHandle& project, const std::string& top, Natives natives,
                                bool* isPlain) {
  std::vector<FileRecord> result;
  takeMembers(project, top, "", natives, &result);
  forEach<TVArchiveFolder>(project, [&](TVHandle& child) {
    takeMembers(child, top, child.as<TVArchiveFolder>()->folderName().str(), natives, &result);
  });
  std::sort(result.begin(), result.end(),
            [](const FileRecord& left, const FileRecord& right) { return left.path < right.path; });
  const auto same = std::adjacent_find(
      result.begin(), result.end(),
      [](const FileRecord& left, const FileRecord& right) { return left.path == right.path; });
  *isPlain = natives.areAsTold() && same == result.end();
  return result;
}

// The paths that several records have, with an archive each.
std::unordered_set<std::string> sharedPaths(const std::vector<FileRecord>& files,
                                            const std::string& top) {
  std::unordered_set<std::string> shared;
  for (size_t i = 1; i < files.size(); ++i) {
    const bool isShared =
        files[i].path == files[i - 1].path && files[i].archive != files[i - 1].archive;
    if (isShared) shared.insert(absolutePath(top, files[i].path));
  }
  return shared;
}

}  // namespace

std::vector<FileRecord> Project::files() const {
  TVHandle& handle = impl_->opened();
  impl_->refuseDamage();
  const std::string top = workDirectory();
  std::vector<FileRecord> files = takeAll(handle, top, Natives(), &impl_->isPlain);
  auto shared = sharedPaths(files, top);
  if (shared.empty()) return files;
  return takeAll(handle, top, Natives(std::move(shared)), &impl_->isPlain);
}

void Project::refuseCut() const {
  const auto cutOf = [](const auto* owner) {
    return owner == nullptr ? "" : native(owner->pathOfCut());
  };
  TVHandle& handle = impl_->opened();
  std::string cut = cutOf(dynamic_cast<foldapi::TVProjectFolder52*>(handle.object()));
  forEach<TVArchiveFolder>(handle, [&](TVHandle& child) {
    const Opened open(child);
    if (cut.empty()) cut = cutOf(dynamic_cast<foldapi::TVArchiveFolder52*>(child.object()));
  });
  if (cut.empty()) return;
  throw Problem{shown(cut), "is cut off, and may have named files that the project seems to lack",
                "restore it from a back-up, or 'trevault import' them"};
}

void Project::refuseLostList(const std::string& folder) const {
  forEach<TVArchiveFolder>(impl_->opened(), [&](TVHandle& child) {
    const auto* const owner = dynamic_cast<foldapi::TVArchiveFolder52*>(child.object());
    if (owner == nullptr || owner->folderName().str() != folder) return;
    const std::string list = native(owner->dataFiles().front());
    if (!isMissing(list)) return;
    throw Problem{shown(list), "is gone, and has named files that the project seems to lack",
                  "restore it from a back-up, or 'trevault import' them"};
  });
}

namespace {

// The place of a folder from the top of the project's work directory.
std::string directoryOf(const TVArchiveFolder& folder, const std::string& top) {
  const std::string native = cli::native(folder.privateWorkDir());
  if (native.empty()) return "";
  const std::string whole = absolutePath(top, native);
  return isBelow(top, whole) && whole != top ? relativePath(top, whole)
                                             : (whole == top ? "" : whole);
}

TVArchiveFolderHandle findFolder(TVHandle& project, const std::string& name) {
  TVArchiveFolderHandle found;
  forEach<TVArchiveFolder>(project, [&](TVHandle& child) {
    if (child.as<TVArchiveFolder>()->folderName().str() == name) {
      found = TVArchiveFolderHandle(child);
    }
  });
  if (!found.isNull()) return found;
  throw misuse(name, "no such folder", "'trevault folder list' lists them");
}

// What a record below `parent` says of a file: its path counts from the folder's place.
foldapi::TVMemberNames namesOf(const FileRecord& file, const std::string& folderDirectory) {
  std::string path = file.path;
  if (!folderDirectory.empty()) {
    if (!isBelow(folderDirectory, path)) {
      throw Problem{file.path,
                    fmt::format("lies outside of folder {}, which is {}", file.folder,
                                shown(folderDirectory)),
                    "choose another place, or another folder"};
    }
    path = relativePath('/' + folderDirectory, '/' + path);
  }
  refuseUnstorable(file.path);
  refuseUnstorable(file.archive);
  return {VPathString(std::string(directoryPart(file.archive))),
          VPathString(std::string(namePart(file.archive))),
          VPathString(std::string(directoryPart(path))), VPathString(std::string(namePart(path)))};
}

// The record of a file; null if there is none any more.
TVArchiveMemberHandle findMember(TVHandle& parent, const std::string& top, const FileRecord& file) {
  TVArchiveMemberHandle found;
  forEach<TVArchiveMember>(parent, [&](TVHandle& child) {
    const auto& member = *child.as<TVArchiveMember>();
    const bool isNamed =
        pathOf(member, top) == file.path || fromTop(member.fullWorkName().str(), top) == file.path;
    const bool isIt = isNamed && native(member.qualArchiveName()) == file.archive;
    if (isIt) found = TVArchiveMemberHandle(child);
  });
  return found;
}

}  // namespace

void refuseUnstorable(const std::string& path) {
  const auto directories = split(directoryPart(path), '/');
  const bool endsInDot = std::any_of(directories.begin(), directories.end(),
                                     [](const std::string& each) { return each.ends_with('.'); });
  if (endsInDot) throw Problem{path, "a directory's name can't end in a dot", "rename it"};
  const std::string_view name = namePart(path);
  const bool hasControl = std::any_of(name.begin(), name.end(),
                                      [](char c) { return isControl(std::string_view(&c, 1)); });
  if (path.find_first_of("\\];\n") == std::string::npos && !hasControl) return;
  throw Problem{path, "a file's name can't hold '\\', ';', ']' or a control character",
                "rename it"};
}

namespace {

// Into one folder, or the project for "".
void addTo(TVProjectFolderHandle& project, const foldapi::TVLockScope& scope,
           const std::string& folderName, const std::vector<const FileRecord*>& files,
           const Project::Failed& failed) {
  TVArchiveFolderHandle folder;
  if (!folderName.empty()) folder = findFolder(project, folderName);
  TVHandle& parent = folder.isNull() ? static_cast<TVHandle&>(project) : folder;
  const std::string directory =
      folder.isNull() ? ""
                      : directoryOf(*folder.as<TVArchiveFolder>(), native(project.privateDir()));
  std::vector<const FileRecord*> told;
  std::vector<foldapi::TVMemberNames> names;
  for (const FileRecord* file : files) {
    try {
      names.push_back(namesOf(*file, directory));
      told.push_back(file);
    } catch (const Problem& problem) {
      failed(*file, problem);
    }
  }
  const Opened open(parent);
  const auto made = TVArchiveMemberHandle::createAll(
      names, parent, {.scope = const_cast<foldapi::TVLockScope&>(scope)});
  for (size_t i = 0; i < made.size(); ++i) {
    if (!made[i].isNull()) continue;
    failed(*told[i], {told[i]->path, withMessages("its record could not be stored"), "try again"});
  }
}

}  // namespace

void Project::addFiles(const std::vector<FileRecord>& files, const Failed& failed) {
  Messages::instance().forget();
  TVProjectFolderHandle& handle = impl_->opened();
  const foldapi::TVLockScope scope(handle);
  if (!scope.holds(handle)) {
    throw Problem{name(), withMessages("its list of files can't be changed now"), "try again"};
  }
  std::map<std::string, std::vector<const FileRecord*>> byFolder;
  for (const FileRecord& file : files) byFolder[file.folder].push_back(&file);
  for (const auto& [folder, chosen] : byFolder) {
    try {
      addTo(handle, scope, folder, chosen, failed);
    } catch (const Problem& problem) {
      for (const FileRecord* file : chosen) failed(*file, problem);
    }
  }
}

void Project::removeFile(const FileRecord& file) {
  Messages::instance().forget();
  TVArchiveFolderHandle folder;
  if (!file.folder.empty()) folder = findFolder(impl_->opened(), file.folder);
  TVHandle& parent = folder.isNull() ? static_cast<TVHandle&>(impl_->opened()) : folder;
  const Opened open(parent);
  TVArchiveMemberHandle member = findMember(parent, workDirectory(), file);
  const bool isThere = !member.isNull();
  if (isThere) member.destroy(foldapi::theNoLock());
  if (!isThere || !Messages::instance().areNone()) {
    throw Problem{file.path, withMessages("its record could not be removed"), "try again"};
  }
}

// The folder holds its records in its file: it is the folder that is edited.
void Project::renameFile(const FileRecord& file, const std::string& path) {
  Messages::instance().forget();
  const std::string top = workDirectory();
  TVArchiveFolderHandle folder;
  if (!file.folder.empty()) folder = findFolder(impl_->opened(), file.folder);
  TVHandle& parent = folder.isNull() ? static_cast<TVHandle&>(impl_->opened()) : folder;
  const std::string directory =
      folder.isNull() ? "" : directoryOf(*folder.as<TVArchiveFolder>(), top);
  FileRecord renamed = file;
  renamed.path = path;
  foldapi::TVMemberNames names = namesOf(renamed, directory);
  bool isDone = false;
  const Opened open(parent);  // What is not in memory would not be written again.
  {
    const foldapi::TVLockScope scope(parent);
    TVArchiveMemberHandle member =
        scope.holds(parent) ? findMember(parent, top, file) : TVArchiveMemberHandle();
    if (!member.isNull() && names.areStorable(member)) {
      // The archive stays as it is written: other systems may know it by that alone.
      const auto before = member.as<TVArchiveMember>()->names();
      names.archivePath = VPathString(before.archivePath);
      names.archiveName = VPathString(before.archiveName);
      member.as<TVArchiveMember>()->setNames(names);
      parent.object()->setDirty(true);
      isDone = true;
    }
  }
  if (!isDone || !Messages::instance().areNone()) {
    throw Problem{file.path, withMessages("its record could not be renamed"), "try again"};
  }
}

// Folders -----------------------------------------------------------------------------------------

std::vector<FolderRecord> Project::folders() const {
  std::vector<FolderRecord> result;
  const std::string top = workDirectory();
  TVHandle& handle = impl_->opened();
  impl_->refuseDamage();
  forEach<TVArchiveFolder>(handle, [&](TVHandle& child) {
    const auto& folder = *child.as<TVArchiveFolder>();
    FolderRecord record{folder.folderName().str(), directoryOf(folder, top),
                        static_cast<bool>(folder.isPrivate())};
    forEach<TVArchiveMember>(child, [&](TVHandle&) { ++record.files; });
    result.push_back(std::move(record));
  });
  return result;
}

FolderRecord Project::folder(const std::string& name) const {
  std::vector<std::string> known;
  for (FolderRecord& each : folders()) {
    if (each.name == name) return std::move(each);
    known.push_back(std::move(each.name));
  }
  throw misuse(name, "no such folder",
               offerNearest(name, known, "'trevault folder list' lists them"));
}

void Project::refuseKnownFolder(const std::string& name) const {
  for (const FolderRecord& each : folders()) {
    if (each.name == name) throw misuse(name, "there is such a folder already");
  }
}

void Project::addFolder(const FolderRecord& folder) {
  refuseKnownFolder(folder.name);
  Messages::instance().forget();
  const auto privacy = folder.isMine ? foldapi::TVPrivacy::kPrivate : foldapi::TVPrivacy::kPublic;
  const bool isMade =
      !TVArchiveFolderHandle::create(folder.name, folder.directory, privacy, impl_->opened())
           .isNull();
  if (!isMade || !Messages::instance().areNone()) {
    throw Problem{folder.name, withMessages("could not be stored"), "try again"};
  }
}

void Project::removeFolder(const std::string& name) {
  Messages::instance().forget();
  TVArchiveFolderHandle folder = findFolder(impl_->opened(), name);
  folder.destroy(foldapi::theNoLock());
  if (!Messages::instance().areNone()) {
    throw Problem{name, withMessages("could not be removed"), "try again"};
  }
}

namespace {

// A path of the system was looked up before, and letter case counts in it: a name that is missing
// is not another one in other letters. Only texts of data files and configurations are looked up.
int32_t resolvePath(const char* text, char* buffer, int32_t size) {
  const std::string_view given = text;
  const bool isFound =
      given.starts_with('/') && !given.starts_with("//") && given.find('\\') == given.npos;
  const std::string path = isFound ? text : foldapi::nativePath(text);
  if (path.empty()) return TRVS_BAD_NAME;
  if (path.size() >= static_cast<size_t>(size)) return TRVS_BUFFER_TOO_SMALL;
  buffer[path.copy(buffer, path.size())] = '\0';
  return TRVS_DONE;
}

}  // namespace

void Project::useConfiguration() const {
  impl_->refuseLost();
  Messages::instance().forget();
  if (!foldapi::useInClientState(impl_->handle)) {
    throw Problem{configurationFile(), withMessages("the configuration can't be read"),
                  "see who owns it"};
  }
  static_cast<void>(TrvsRegisterPathResolver(&resolvePath));
}

}  // namespace cli
