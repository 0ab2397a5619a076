// store/52root.cpp: how the root reads and writes its pair of files.
//
// The files are opened for update even to read them, so a read excludes every other process for as
// long as it lasts, and makes files that are missing. Only the read after an update that failed
// does neither.
#include "store/52root.h"

#include <utility>

#include "store/profile.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr KeyTableEntry kRootSections[] = {
    {"Format", kSectionSkipped}, {"Project", kSectionProject}, {nullptr, 0}};

constexpr int kReadNoMemory = 1;
constexpr int kReadFailed = 4;

}  // namespace

TVProjectRoot52::TVProjectRoot52(const VString& publicDir, const VString& privateDir,
                                 TVHandle& context, TVObject* owner, TVCaching caching)
    : TVProjectRoot(publicDir, privateDir, owner, caching), files_("trvsproj.pub", "trvsproj.prv") {
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
                              const TextFile* stream) {
  if (files_.directory(side).isEmpty()) {
    const int code = side == Side::kPublic ? kFolderNoPublicRoot : kFolderNoPrivateRoot;
    context.sink().error(context, FolderMessage(code));
    return kReadFailed;
  }
  const int code = files_.read(side, this, context, kRootSections, access, stream);
  if (code == 0) return 0;
  return code == kFolderNoMemory ? kReadNoMemory : kReadFailed;
}

int TVProjectRoot52::readData(TVHandle& context, TVStorageLock* lock) {
  auto* writer = static_cast<TVDataFileWriter*>(lock);
  const auto stream = [writer](Side side) {
    return writer == nullptr ? nullptr : writer->stream(side);
  };
  const auto access =
      std::exchange(onlyReads_, false) ? TVDataFile::Access::kRead : TVDataFile::Access::kUpdate;
  const int code = readSide(Side::kPublic, context, access, stream(Side::kPublic));
  if (code == 0) return readSide(Side::kPrivate, context, access, stream(Side::kPrivate));
  files_.skip(Side::kPrivate);
  return code;
}

VBool TVProjectRoot52::isStale(TVHandle&) {
  return files_.hasChanged(Side::kPublic) || files_.hasChanged(Side::kPrivate);
}

TVStorageLock* TVProjectRoot52::lockStorage(TVHandle& context) {
  return files_.beginWrite(this, context, true, true);
}

bool TVProjectRoot52::mayUpdate(TVHandle& context, TVStorageLock* lock) {
  return files_.mayUpdate(*static_cast<TVDataFileWriter*>(lock), context);
}

int TVProjectRoot52::writeData(TVHandle&, TVStorageLock* lock) {
  auto* writer = static_cast<TVDataFileWriter*>(lock);
  writer->truncate(Side::kPublic);
  writer->truncate(Side::kPrivate);
  return 0;
}

// Files that could not be had for an update a moment ago are only read to see what they hold.
bool TVProjectRoot52::unlockStorage(TVHandle& context, TVStorageLock* lock, bool keep) {
  onlyReads_ = true;  // Also where this throws.
  const bool stored = files_.endWrite(static_cast<TVDataFileWriter*>(lock), context, keep);
  onlyReads_ = !stored;
  return stored;
}

TVObject* TVProjectRoot52Options::makeObject(const VString& publicDir, const VString& privateDir,
                                             TVHandle& context, TVObject* owner,
                                             TVCaching caching) {
  return new TVProjectRoot52(publicDir, privateDir, context, owner, caching);
}

}  // namespace foldapi
