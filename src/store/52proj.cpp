// store/52proj.cpp: a project's record, its own pair of files, and how a new project gets its
// directories and its configuration file.
#include "store/52proj.h"

#include "base/vfile.h"
#include "btkf520/btkf520.h"
#include "core/result.h"
#include "domain/projectroot.h"
#include "os/environment.h"
#include "runtime/assertion.h"
#include "runtime/files.h"
#include "runtime/mbstring.h"
#include "runtime/paths.h"
#include "store/52arfld.h"
#include "store/52promo.h"
#include "toolkit/bracket.h"
#include "toolkit/configfiles.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr int kSpareCacheEntries = 50;
constexpr const char* kNewConfigLine = "# VERSION TRVS Trevault_5.2.00\r\n";

// The last component of a directory with another extension, inside that directory.
VPathString fileNamedAfter(const VString& directory, const char* extension) {
  const VPathString last = VPathString(directory).fileNamePart();
  const size_t dot = mbFindLastByte(last.view(), '.');
  return VPathString(joinPath(directory.view(), last.str().substr(0, dot) + extension));
}

}  // namespace

TVProjectFolder52::TVProjectFolder52(VString name, TVProjectConfig config, VString privateWorkDir,
                                     VString publicWorkDir, TVObject* owner, TVCaching caching)
    : TVFileOwner52(TVDataFilePair("trvsfold.pub", "trvsfold.prv"), std::move(name),
                    std::move(config), std::move(privateWorkDir), std::move(publicWorkDir), owner,
                    caching) {}

TVProjectFolder52::~TVProjectFolder52() {
  try {
    if (cache_ != nullptr) cache_->save();
  } catch (...) {  // It is only an accelerator.
  }
}

// The record in the root's files ------------------------------------------------------------------

std::string TVProjectFolder52::record(Side side) const {
  const bool isPublic = side == Side::kPublic;
  const auto* root = static_cast<const TVProjectRoot*>(owner());
  const VString& directory = files_.directory(side);
  if (directory.isEmpty()) assertFail("52proj.cpp", isPublic ? 421 : 455);
  const VString& rootDir = isPublic ? root->publicDir() : root->privateDir();
  std::string text = "[Project=" + folderName().str() + "]\n";
  text += "CFG=" + config().path.str() + "\n";
  text += "DIR=" + recordDirectory(rootDir, directory) + "\n";
  text += "WKDIR=" + (isPublic ? publicWorkDir() : privateWorkDir()).str() + "\n";
  return text + (isPublic ? "\n" : "OWNERSHIP=PUBLIC\n\n");
}

// The project's own pair --------------------------------------------------------------------------

int TVProjectFolder52::readSide(Side side, TVHandle& context, const TVDataFileWriter* writer) {
  if (files_.directory(side).isEmpty()) {
    if (side == Side::kPublic) assertFail("52proj.cpp", 219);
    files_.passOver(side);
    return 0;
  }
  return files_.read(side, this, context, folderSections(), TVDataFile::Access::kRead, writer);
}

int TVProjectFolder52::readFiles(TVHandle& context, const TVDataFileWriter* writer) {
  const int publicCode = readSide(Side::kPublic, context, writer);
  int privateCode = 0;
  if (publicCode != kFolderNoMemory) privateCode = readSide(Side::kPrivate, context, writer);
  // Records that overlay public ones found nothing there, and must not be lost by a rewrite.
  if (publicCode != 0) files_.skip(Side::kPrivate);
  readPromotionGroups(context);
  loadCache(context);
  const bool noMemory = publicCode == kFolderNoMemory || privateCode == kFolderNoMemory;
  return noMemory ? kResultNoMemory : kResultDone;
}

// The top of the promotion model becomes a child; the groups below it grow as they are opened.
void TVProjectFolder52::readPromotionGroups(TVHandle& context) {
  std::string names;
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = QueryConfigurationItem(TRVS_ITEM_PROMOTION_GROUPS, &names);
  }
  if (reportToolkitStatus(context, status, nullptr) != kResultDone) return;
  mergePromotionModel(*this, std::move(names));
}

TVProjectConfig TVProjectFolder52::effectiveConfig(TVHandle& context) {
  TVProjectConfig result = config();
  TVToolkitBracket bracket(context);
  result.archiveDirs = configurationText(TRVS_ITEM_ARCHIVE_DIRECTORIES);
  return result;
}

// The archive cache lies in the private directory and bears its name. A project that has no private
// directory yet gets one now.
void TVProjectFolder52::loadCache(TVHandle& context) {
  if (cache_ != nullptr || os::environmentVariable("TRVS_TVAPI_NOCACHE")) return;
  if (files_.directory(Side::kPrivate).isEmpty()) {
    // An edit of the root is begun before one of the project, never after.
    if (storageLock() != nullptr || !assignDirectories(context)) return;
  }
  const VPathString path = fileNamedAfter(files_.directory(Side::kPrivate), ".ack");
  cache_ = std::make_unique<TVArchiveCache>(path, childCount() + kSpareCacheEntries);
  cache_->loadIfCurrent();
}

// New projects ------------------------------------------------------------------------------------

bool TVProjectFolder52::nameDirectory(Side side, TVHandle& context) {
  const auto* root = static_cast<const TVProjectRoot*>(owner());
  if (root == nullptr) return true;
  const VString& base = side == Side::kPublic ? root->publicDir() : root->privateDir();
  return makeStorageDir(side, base, ".prj", context);
}

bool TVProjectFolder52::createStorage(TVHandle& context) {
  if (!canBeStored() || !nameDirectory(Side::kPublic, context) ||
      !nameDirectory(Side::kPrivate, context)) {
    return false;
  }
  if (config().path.isEmpty() && !files_.directory(Side::kPublic).isEmpty()) {
    setConfig(TVProjectConfig(fileNamedAfter(files_.directory(Side::kPublic), ".cfg")));
  }
  // What fails here has been reported. The project is recorded all the same, and its next update
  // makes the files that are missing.
  if (beginEdit(context)) {
    setDirty(true);
    static_cast<void>(endEdit(context));
  }
  createConfigFile(context);
  return true;
}

void TVProjectFolder52::createConfigFile(TVHandle& context) const {
  const VPathString& path = config().path;
  if (path.isEmpty() || path.exists()) return;
  VFile file(path);
  const bool written = makeDirectories(path.view()) == 0 && file.open(VFile::kCreate) &&
                       file.writeText(kNewConfigLine) > 0 && file.close();
  if (written) return;
  static_cast<void>(path.remove());  // An empty one would pass for the real one later.
  context.sink().error(context, FolderFileMessage(kFolderWriteFailed, path.text()));
}

// Names a directory for a project of old that has none, and has the root's files say so at once.
// The name is chosen under the root's lock: another process may have chosen one meanwhile. Where
// the root's file could not be read, or can't be written, nobody knows whether the project has one.
bool TVProjectFolder52::assignDirectories(TVHandle& context) {
  TVObject* root = owner();
  if (root == nullptr) return false;
  TVHandle rootHandle(&context.sink(), root);
  const bool locked = root->storageLock() != nullptr;
  if (!locked && !root->beginEdit(rootHandle)) return false;
  TVDataFileWriter& writer = writerOf(*root->storageLock());
  const bool known = !isDeleted() && root->readWasComplete() &&
                     writer.stream(Side::kPublic) != nullptr &&
                     writer.stream(Side::kPrivate) != nullptr;
  const auto isNamed = [&](Side side) { return !files_.directory(side).isEmpty(); };
  const bool hadPublic = isNamed(Side::kPublic);
  const bool hadPrivate = isNamed(Side::kPrivate);
  if (known && nameDirectory(Side::kPublic, context)) {
    static_cast<void>(nameDirectory(Side::kPrivate, context));
  }
  const bool privateNamed = !hadPrivate && isNamed(Side::kPrivate);
  if (!hadPublic && isNamed(Side::kPublic)) {
    root->setDirty(true);
  } else if (privateNamed &&
             !writer.writeRecord(Side::kPrivate, {record(Side::kPrivate)}, rootHandle)) {
    root->dropWrites();
  }
  // The public record, which the end reads again, tells its directory; the private one is missing.
  if (!locked && !root->endEdit(rootHandle) && privateNamed) {
    files_.setDirectory(Side::kPrivate, VString());
  }
  return isNamed(Side::kPrivate);
}

std::unique_ptr<TVObject> TVProjectFolder52Options::makeObject(
    const VString& name, const TVProjectConfig& config, const VString& privateWorkDir,
    const VString& publicWorkDir, TVHandle& context, TVObject* owner, TVCaching caching) {
  if (!name.isEmpty()) {
    return std::make_unique<TVProjectFolder52>(name, config, privateWorkDir, publicWorkDir, owner,
                                               caching);
  }
  context.sink().notice(context, FolderMessage(kFolderNoProjectName));
  return nullptr;
}

}  // namespace foldapi
