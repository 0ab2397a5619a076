// store/ownplace.cpp: compares the way to a workfile with the user's own directories.
#include "store/ownplace.h"

#include <string>
#include <string_view>

#include "domain/lockedbyfolder.h"
#include "domain/projectfolder.h"
#include "domain/projectroot.h"
#include "os/environment.h"
#include "runtime/nativepath.h"
#include "runtime/paths.h"

namespace foldapi {

namespace {

bool isOwnWord(const TVArchiveFolder& folder) {
  if (folder.isKindOf(&TVProjectFolder::theClass)) {
    return folder.privateWorkDir() != static_cast<const TVProjectFolder&>(folder).publicWorkDir();
  }
  return folder.isPrivate() && !folder.isKindOf(&TVLockedByFolder::theClass);
}

// The way to a workfile, as the records say it.
struct Way {
  std::string own;        // What the user's own records say, up to the first public one.
  bool isPublic = false;  // Whether a public one follows.
  std::string privateRoot;

  void goOn(std::string_view directory, bool isOwn) {
    if (isOwn && (!isPublic || hasPathPrefix(directory))) {
      own = joinPath(own, directory);
      isPublic = false;
    } else if (!directory.empty()) {
      isPublic = true;
    }
  }
  // Goes down to what `object` holds.
  void descend(const TVObject* object) {
    if (object == nullptr) return;
    descend(object->owner());
    if (object->isKindOf(&TVProjectRoot::theClass)) {
      privateRoot = static_cast<const TVProjectRoot*>(object)->privateDir().str();
    } else if (object->isKindOf(&TVArchiveFolder::theClass)) {
      const auto& folder = *static_cast<const TVArchiveFolder*>(object);
      goOn(folder.privateWorkDir().view(), isOwnWord(folder));
    }
  }
};

// What of `path` is below `directory`; both are the system's. "" if it isn't.
std::string_view partBelow(std::string_view directory, std::string_view path) {
  const bool isBelow = !directory.empty() && path.starts_with(directory) &&
                       path.substr(directory.size()).starts_with('/');
  return isBelow ? path.substr(directory.size()) : std::string_view();
}

}  // namespace

bool IsInOwnPlace(const TVArchiveMember& member) {
  const std::string native = nativePath(member.fullWorkName().view());
  if (native.empty()) return true;
  const std::string path = normalisePath(native);
  if (path.empty()) return false;
  if (!path.starts_with('/') && !hasDrive(path)) return true;
  Way way;
  way.descend(member.owner());
  const auto* folder = member.owner();
  const bool isOwn = folder != nullptr && folder->isKindOf(&TVArchiveFolder::theClass) &&
                     !folder->isKindOf(&TVProjectFolder::theClass) &&
                     isOwnWord(*static_cast<const TVArchiveFolder*>(folder));
  way.goOn(member.names().workPath, isOwn);
  for (const std::string& text : {way.own, way.privateRoot}) {
    if (!partBelow(normalisePath(nativePath(text)), path).empty()) return true;
  }
  if (!os::hidesSettingsByDots()) return false;
  const std::string_view inHome = partBelow(normalisePath(os::homeDirectory()), path);
  return !inHome.empty() && inHome.find("/.") == std::string_view::npos;
}

}  // namespace foldapi
