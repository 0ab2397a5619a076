// store/52root.cpp: how the root reads and writes its pair of files.
//
// The files are opened for update even to read them, so a read excludes every other process for as
// long as it lasts, and makes files that are missing.
#include "store/52root.h"

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
                                 TVHandle& context, TVObject* owner, VBool transient)
    : TVProjectRoot(publicDir, privateDir, owner, transient),
      files_("trvsproj.pub", "trvsproj.prv") {
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

int TVProjectRoot52::readSide(Side side, TVHandle& context, const TextFile* stream) {
  if (files_.directory(side).isEmpty()) {
    const int code = side == Side::kPublic ? kFolderNoPublicRoot : kFolderNoPrivateRoot;
    context.sink().error(context, FolderMessage(code));
    return kReadFailed;
  }
  const int code =
      files_.read(side, this, context, kRootSections, TVDataFile::Access::kUpdate, stream);
  if (code == 0) return 0;
  return code == kFolderNoMemory ? kReadNoMemory : kReadFailed;
}

int TVProjectRoot52::readData(TVHandle& context, TVStorageLock* lock) {
  auto* writer = static_cast<TVDataFileWriter*>(lock);
  const auto stream = [writer](Side side) {
    return writer == nullptr ? nullptr : writer->stream(side);
  };
  const int code = readSide(Side::kPublic, context, stream(Side::kPublic));
  if (code == 0) return readSide(Side::kPrivate, context, stream(Side::kPrivate));
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

void TVProjectRoot52::unlockStorage(TVHandle& context, TVStorageLock* lock, bool keep) {
  files_.endWrite(static_cast<TVDataFileWriter*>(lock), context, keep);
}

TVObject* TVProjectRoot52Options::makeObject(const VString& publicDir, const VString& privateDir,
                                             TVHandle& context, TVObject* owner, VBool transient) {
  return new TVProjectRoot52(publicDir, privateDir, context, owner, transient);
}

}  // namespace foldapi
