// btkf520/archive/archivechange.cpp: the bytes of a part around its frames and its index, and the
// order in which they reach the disk.
//
// A narrow part is written at once and proved as a whole. Nobody knows whether the narrow part
// before it was ever synced, since its writer may have been killed: so the proof begins where that
// one's begins, or, when that would make it too long, the file is synced first. Of a wide part all
// but block and trailer are synced before these are written.
#include "btkf520/archive/archivechange.h"

#include <utility>

namespace btkf {

using archivefile::End;
using archivefile::EndRecord;
using os::FileResult;
using os::SiblingFile;

namespace {

constexpr size_t kWideWrite = 64 << 10;

FileResult resultOf(bool isDone) { return isDone ? FileResult::kDone : FileResult::kFailed; }

std::string headerOf(const End& end) {
  return archivefile::encodePartHeader(end.begin(), end.record.partSize);
}

// Room for the header, of which nothing is known before the part is complete.
std::string noHeader() { return std::string(archivefile::kPartHeaderSize, '\0'); }

}  // namespace

ArchiveChange::~ArchiveChange() {
  if (!isConcluded_) giveUp();
}

const os::File& ArchiveChange::file() const {
  if (isAppended()) return *appended_;
  return done_.isOpen() ? done_ : sibling_.file();
}

// Of a file that has another size than it is thought to have nothing more may be changed.
os::File ArchiveChange::takeFile() {
  os::File file = std::move(done_.isOpen() ? done_ : held_);
  if (file.isOpen() && !file.refresh()) file.close();
  return file;
}

void ArchiveChange::hold(os::File old) {
  held_ = std::move(old);
  if (isAppended()) appended_ = &held_;
}

// Who has the old file locked excludes all others.
FileResult ArchiveChange::beginFile(const os::File* old) {
  FileResult result = old == nullptr ? sibling_.open(path_, SiblingFile::Others::kPossible)
                                     : sibling_.open(old->place(), SiblingFile::Others::kExcluded);
  if (result == FileResult::kDone) result = sibling_.write(archivefile::kHeader);
  return result == FileResult::kDone ? sibling_.write(noHeader()) : result;
}

void ArchiveChange::beginPart(const os::File& file, const End& end) {
  pending_ = noHeader();
  before_ = end;
  written_ = end.offset;
  appended_ = &file;
}

void ArchiveChange::leaveAsItIs() {
  pending_.clear();
  end_ = before_;
  addsNothing_ = true;
}

uint64_t ArchiveChange::size() const {
  return isAppended() ? written_ + pending_.size() : sibling_.size();
}

FileResult ArchiveChange::write(std::string_view bytes) {
  if (!isAppended()) return sibling_.write(bytes);
  if (pending_.size() + bytes.size() <= kWideWrite) {
    pending_ += bytes;
    return FileResult::kDone;
  }
  if (const FileResult result = flush(); result != FileResult::kDone) return result;
  const bool isWritten = appended_->writeAt(written_, bytes);
  written_ += bytes.size();
  return resultOf(isWritten);
}

FileResult ArchiveChange::flush() {
  const bool isWritten = appended_->writeAt(written_, pending_);
  written_ += pending_.size();
  std::string().swap(pending_);  // Many changes may wait for one sync.
  return resultOf(isWritten);
}

FileResult ArchiveChange::copy(const os::File& from, uint64_t offset, uint64_t size) {
  return sibling_.copy(from, offset, size);
}

FileResult ArchiveChange::end(std::string_view records, const EndRecord& indexes) {
  const uint64_t begin = isAppended() ? before_.offset : archivefile::kHeader.size();
  end_.tailSize = records.size() + archivefile::kEndSize;
  end_.offset = size() + end_.tailSize;
  end_.record = indexes;
  end_.record.index.offset = size() - indexes.index.storedSize;
  end_.record.part = isAppended() ? before_.record.part + 1 : 0;
  end_.record.partSize = end_.offset - begin;
  if (isAppended()) return endPart(records);
  FileResult result = sibling_.write(archivefile::encodeTail(records, {}, &end_.record));
  if (result == FileResult::kDone) result = sibling_.rewrite(begin, headerOf(end_));
  return result;
}

FileResult ArchiveChange::endPart(std::string_view records) {
  if (end_.record.partSize > archivefile::kNarrow) {
    tail_ = archivefile::encodeTail(records, {}, &end_.record);
    const FileResult result = flush();
    if (result != FileResult::kDone) return result;
    return resultOf(appended_->writeAt(end_.begin(), headerOf(end_)));
  }
  pending_.replace(0, archivefile::kPartHeaderSize, headerOf(end_));
  std::string proven;
  if (const FileResult result = readUnproven(&proven); result != FileResult::kDone) return result;
  proven += pending_;
  pending_ += archivefile::encodeTail(records, proven, &end_.record);
  return flush();
}

// What before this part may be on the disk no earlier than it. After a sync that is nothing.
FileResult ArchiveChange::readUnproven(std::string* bytes) const {
  if (before_.record.part == 0) return FileResult::kDone;
  const uint64_t begin = before_.proofBegin();
  if (end_.offset - begin > archivefile::kNarrow) return resultOf(appended_->syncContent());
  bytes->resize(static_cast<size_t>(before_.offset - begin));
  return resultOf(appended_->readAt(begin, bytes->data(), bytes->size()));
}

TrvsStatus ArchiveChange::conclude() {
  FileResult result = FileResult::kDone;
  if (!isAppended()) {
    const auto naming = held_.isOpen() ? SiblingFile::Naming::kReplace : SiblingFile::Naming::kNew;
    result = sibling_.finish(naming, SiblingFile::Safety::kSoon, &done_);
  } else if (!tail_.empty()) {
    result = resultOf(appended_->writeAt(written_, tail_));
  }
  isConcluded_ = result == FileResult::kDone;
  return writeStatus(result);
}

ArchiveChange::Rest ArchiveChange::rest() const {
  if (!isAppended()) return Rest::kName;
  return tail_.empty() ? Rest::kNothing : Rest::kFile;
}

void ArchiveChange::giveUp() {
  isConcluded_ = true;
  sibling_.giveUp();
  // On the disk before others write there: see ArchiveReader::cutTornEnd().
  if (isAppended() && !addsNothing_ && appended_->setSize(before_.offset)) {
    static_cast<void>(appended_->syncContent());
  }
}

TrvsStatus ArchiveChange::finish() {
  const auto sync = [this] { return isAppended() ? file().syncContent() : file().sync(); };
  TrvsStatus status = sync() ? conclude() : TRVS_CANNOT_WRITE;
  if (status == TRVS_DONE && rest() == Rest::kFile && !sync()) status = TRVS_CANNOT_WRITE;
  if (status != TRVS_DONE) giveUp();
  if (status == TRVS_DONE && rest() == Rest::kName) isNameSafe_ = done_.syncName();
  return status;
}

TrvsStatus writeStatus(FileResult result) {
  switch (result) {
    case FileResult::kDone:
      return TRVS_DONE;
    case FileResult::kExists:
      return TRVS_ARCHIVE_EXISTS;
    case FileResult::kBusy:
      return TRVS_IN_USE;
    case FileResult::kNoLocks:
      return TRVS_CANNOT_OPEN;
    default:
      return TRVS_CANNOT_WRITE;
  }
}

}  // namespace btkf
