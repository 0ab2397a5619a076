// store/52root.cpp: how the root reads and writes its pair of files.
//
// The files are opened for update even to read them, so a read excludes every other process for as
// long as it lasts, and makes files that are missing. Only the read after an update that failed
// does neither.
#include "store/52root.h"

#include <utility>

#include "core/result.h"
#include "store/profile.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr KeyTableEntry kRootSections[] = {
    {"Format", kSectionSkipped}, {"Project", kSectionProject}, {nullptr, kSectionSkipped}};

constexpr int kReadFailed = 4;

}  // namespace

TVProjectRoot52::TVProjectRoot52(const VString& publicDir, const VString& privateDir,
                                 TVHandle& context, TVObject* owner, TVCaching caching)
    : TVFileOwner52(TVDataFilePair("trvsproj.pub", "trvsproj.prv"), publicDir, privateDir, owner,
                    caching) {
  if (publicDir.isEmpty() || privateDir.isEmpty()) {
    VPathString profilePublic;
    VPathString profilePrivate;
    findRootDirectories(&profilePublic, &profilePrivate, context);
    setDirectories(publicDir.isEmpty() ? profilePublic : publicDir,
                   privateDir.isEmpty() ? profilePrivate : privateDir);
  }
  files_.setDirectory(Side::kPublic, this->publicDir());
  files_.setDirectory(Side::kPrivate, this->privateDir());
}

int TVProjectRoot52::readSide(Side side, TVHandle& context, TVDataFile::Access access,
                              const TVDataFileWriter* writer) {
  if (files_.directory(side).isEmpty()) {
    const int code = side == Side::kPublic ? kFolderNoPublicRoot : kFolderNoPrivateRoot;
    context.sink().error(context, FolderMessage(code));
    return kReadFailed;
  }
  const int code = files_.read(side, this, context, kRootSections, access, writer);
  if (code == 0) return kResultDone;
  return code == kFolderNoMemory ? kResultNoMemory : kReadFailed;
}

int TVProjectRoot52::readFiles(TVHandle& context, const TVDataFileWriter* writer) {
  const auto access =
      std::exchange(onlyReads_, false) ? TVDataFile::Access::kRead : TVDataFile::Access::kUpdate;
  const int code = readSide(Side::kPublic, context, access, writer);
  if (code == 0) return readSide(Side::kPrivate, context, access, writer);
  files_.skip(Side::kPrivate);
  return code;
}

// Files that could not be taken for an update a moment ago are only read to see what they hold.
bool TVProjectRoot52::unlockStorage(TVHandle& context, std::unique_ptr<TVStorageLock> lock,
                                    bool keep) {
  onlyReads_ = true;  // Also where this throws.
  const bool stored = TVFileOwner52::unlockStorage(context, std::move(lock), keep);
  onlyReads_ = !stored;
  return stored;
}

std::unique_ptr<TVObject> TVProjectRoot52Options::makeObject(const VString& publicDir,
                                                             const VString& privateDir,
                                                             TVHandle& context, TVObject* owner,
                                                             TVCaching caching) {
  auto root = std::make_unique<TVProjectRoot52>(publicDir, privateDir, context, owner, caching);
  for (const std::string_view dir : {root->publicDir().view(), root->privateDir().view()}) {
    if (!isStorableValue(context, dir)) return nullptr;
  }
  return root;
}

}  // namespace foldapi
