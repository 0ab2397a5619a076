// store/fileowner.h: TVFileOwner52, the common half of root, project and folder: an object that
// keeps its children's records in a pair of files, and has a record of its own in those of its
// owner.
//
// A class says which of the two files it has and how they are read, and which records it has where.
// What an edit and a write do with that is the same for all of them, and stands here.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "core/optionarray.h"
#include "core/result.h"
#include "store/52data.h"
#include "store/archivebatch.h"
#include "toolkit/messages.h"

namespace foldapi {

// `Base` is the class of the domain.
template <typename Base>
class TVFileOwner52 : public Base {
 public:
  int version() const override { return kFormat52; }

  // The owner's files may tell by now that this object is gone, or that it is kept elsewhere: what
  // went to its old files nobody would read.
  std::unique_ptr<TVStorageLock> lockStorage(TVHandle& context) override {
    TVObject* const owner = this->owner();
    if (owner != nullptr) static_cast<void>(owner->bringUpToDate(context));
    if (!this->isDeleted()) return files_.beginWrite(context, sides());
    context.sink().notice(context, GoneMessage(this->name(TVOptionArray::none()).text()));
    return nullptr;
  }
  int writeData(TVHandle& context, TVStorageLock& lock) override {
    TVDataFileWriter& writer = writerOf(lock);
    for (const Side side : sides()) writer.truncate(side);
    files_.dropStraysOf(*this);
    return files_.writeStrays(writer, context) ? kResultDone : kResultNotWritten;
  }
  bool unlockStorage(TVHandle& context, std::unique_ptr<TVStorageLock> lock, bool keep) override {
    files_.dropStraysOf(*this);
    return files_.endWrite(writerOf(*lock), context, keep);
  }
  int readData(TVHandle& context, TVStorageLock* lock) override {
    return readFiles(context, lock == nullptr ? nullptr : &writerOf(*lock));
  }
  bool readWasComplete() const override { return files_.isComplete(); }
  VPathString pathOfCut() const { return files_.pathOfCut(); }
  bool mayUpdate(TVHandle& context, TVStorageLock& lock) override {
    return files_.mayUpdate(writerOf(lock), context);
  }
  VBool isStale(TVHandle&) override {
    TVStorageLock* const lock = this->storageLock();
    for (const Side side : sides()) {
      if (files_.hasChanged(side, lock == nullptr ? nullptr : &writerOf(*lock))) return true;
    }
    return false;
  }
  // A broadcast is one batch.
  int archiveAction1(TVHandle& context, TVGetOptions& options) override {
    return inArchiveBatch(context, [&] { return Base::archiveAction1(context, options); });
  }
  int archiveAction2(TVHandle& context, TVPutOptions& options) override {
    return inArchiveBatch(context, [&] { return Base::archiveAction2(context, options); });
  }
  int archiveAction3(TVHandle& context, TVUnlockOptions& options) override {
    return inArchiveBatch(context, [&] { return Base::archiveAction3(context, options); });
  }
  int archiveAction4(TVHandle& context, TVPutOptions& options) override {
    return inArchiveBatch(context, [&] { return Base::archiveAction4(context, options); });
  }
  // Writes the records into the owner's files. kResultDone or kResultNotWritten, after a report.
  int writeChild(TVHandle& context, TVStorageLock& ownerLock) override {
    TVDataFileWriter& writer = writerOf(ownerLock);
    int result = kResultDone;
    for (const Side side : recordSides()) {
      if (writer.path(side).isEmpty()) continue;
      if (!writer.writeRecord(side, {record(side)}, context)) result = kResultNotWritten;
    }
    return result;
  }
  // The same; kResultNotWritten also where one of the files could not be opened.
  int writeNewChild(TVHandle& context, TVStorageLock& ownerLock) override {
    return canBeStored(ownerLock) ? writeChild(context, ownerLock) : kResultNotWritten;
  }

  // The files that it is read from, which need not be there.
  std::vector<VPathString> dataFiles() const {
    std::vector<VPathString> paths;
    for (const Side side : sides()) {
      if (!files_.directory(side).isEmpty()) paths.push_back(files_.path(side));
    }
    return paths;
  }
  // The directories in which the object has its own files, and those below it theirs.
  const VString& storageDir(Side side) const { return files_.directory(side); }
  void setStorageDir(Side side, VString directory) {
    files_.setDirectory(side, std::move(directory));
    this->recordChanged();
  }

 protected:
  template <typename... Fields>
  explicit TVFileOwner52(TVDataFilePair files, Fields&&... fields)
      : Base(std::forward<Fields>(fields)...), files_(std::move(files)) {}

  // Whether each file of the owner that is to have a record is open. A private one that the owner
  // doesn't have is not missed.
  bool canBeStored(const TVStorageLock& ownerLock) const {
    const TVDataFileWriter& writer = writerOf(ownerLock);
    for (const Side side : recordSides()) {
      if (side == Side::kPrivate && writer.path(side).isEmpty()) continue;
      if (writer.stream(side) == nullptr) return false;
    }
    return true;
  }
  // The same before anything is made for a new object. True without an edit of the owner.
  bool canBeStored() const {
    const TVObject* const owner = this->owner();
    return owner == nullptr || owner->storageLock() == nullptr ||
           canBeStored(*owner->storageLock());
  }
  // Makes a directory of the object's own below its owner's, if it has none and the owner has one.
  // False, after a report, where that fails.
  bool makeStorageDir(Side side, const VString& ownerDir, std::string_view suffix,
                      TVHandle& context) {
    if (!storageDir(side).isEmpty() || ownerDir.isEmpty()) return true;
    setStorageDir(side, makeUniqueDirectory(ownerDir, this->folderName(), suffix, context));
    return !storageDir(side).isEmpty();
  }

  TVDataFilePair files_;

 private:
  // The files that the object has.
  virtual std::span<const Side> sides() const { return kBothSides; }
  // Reads them into the children; what `writer` holds, if there is one, from there. An operation
  // result.
  virtual int readFiles(TVHandle& context, const TVDataFileWriter* writer) = 0;
  // The files of the owner that have a record of the object, and that record.
  virtual std::span<const Side> recordSides() const { return {}; }
  virtual std::string record(Side) const { return {}; }
};

}  // namespace foldapi
