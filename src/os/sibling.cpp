// os/sibling.cpp: files that take another's name; what of it is the same on all systems.
#include "os/sibling.h"

#include <algorithm>
#include <utility>

#include "os/calls.h"

namespace os {
namespace {

constexpr size_t kWideWrite = 64 << 10;   // Up to it pieces are collected.
constexpr uint64_t kWideCopy = 32 << 10;  // From here on the system copies, and shares if it can.
constexpr int kNames = 10;                // Of which all but one are other users' leftovers.

// Writes `bytes` over the content of `file`, and syncs it. What comes after the old end is written
// first, so a full disk leaves the content as it was.
bool overwriteInPlace(const File& file, std::string_view bytes) {
  const std::string_view start =
      bytes.substr(0, static_cast<size_t>(std::min<uint64_t>(file.size(), bytes.size())));
  const std::string_view growth = bytes.substr(start.size());
  if (!growth.empty() && !(file.writeAt(file.size(), growth) && file.sync())) {
    file.setSize(file.size());
    return false;
  }
  return file.writeAt(0, start) && (start.size() == file.size() || file.setSize(start.size())) &&
         file.sync();
}

}  // namespace

std::string nameBeside(const std::string& name, std::string_view mark, int number) {
  constexpr size_t kLongestName = 255;
  const std::string suffix = std::string(mark) + (number == 0 ? "" : std::to_string(number));
  return name.substr(0, kLongestName - suffix.size()) + suffix;
}

bool SiblingFile::hasName(std::string_view name) {
  name = name.substr(0, name.find_last_not_of("0123456789") + 1);
  return name.ends_with(kSiblingMark) || name.ends_with(kCutMark) || name.ends_with(".trvs-old") ||
         name.ends_with(".trvs-gone");
}

void SiblingFile::giveUp() {
  if (!file_.isOpen()) return;
  // While it is locked nobody else can have taken the name.
  if (isLocked_ || isStill(ownPlace_)) static_cast<void>(removeAt(ownPlace_));
  file_.close();
}

FileResult SiblingFile::open(const std::string& path, Others others) {
  Place place;
  const FileResult result = Place::of(path, &place);
  return result == FileResult::kDone ? open(place, others) : result;
}

FileResult SiblingFile::open(const Place& place, Others others) {
  giveUp();
  place_ = place;
  others_ = others;
  model_.reset();
  pending_.clear();
  written_ = 0;
  for (int number = 0; number < kNames; ++number) {
    ownPlace_ = place.beside(nameBeside(place.name(), kSiblingMark, number));
    const FileResult result = openThere();
    if (result != FileResult::kExists) return result;
  }
  return FileResult::kRefused;
}

// kExists if what has the name can be neither judged nor removed, and another name will do.
FileResult SiblingFile::openThere() {
  for (int tries = 0; tries < kTries; ++tries) {
    FileResult result = create();
    if (result == FileResult::kExists) {
      result = removeLeftover();
      const bool isUnknown = result == FileResult::kNoLocks && others_ == Others::kWelcome;
      if (result == FileResult::kRefused || isUnknown) return FileResult::kExists;
    }
    if (result != FileResult::kDone || file_.isOpen()) return result;
  }
  return FileResult::kBusy;
}

// Makes and locks the file. kDone without a file: another took it for a leftover before it was
// locked.
FileResult SiblingFile::create() {
  File made;
  const int descriptor = makeForOwner(ownPlace_);
  FileResult result = made.take(descriptor);
  if (result != FileResult::kDone) {
    if (descriptor >= 0) static_cast<void>(removeAt(ownPlace_));
    return result;
  }
  result = made.tryLock(File::Lock::kExclusive);
  if (result == FileResult::kBusy) return FileResult::kDone;
  isLocked_ = result == FileResult::kDone;
  const bool mayBeUnlocked = result == FileResult::kNoLocks && others_ != Others::kPossible;
  if (!isLocked_ && !mayBeUnlocked) {
    static_cast<void>(removeAt(ownPlace_));
    return result;
  }
  made.place_ = ownPlace_;
  if (made.confirm()) file_ = std::move(made);
  return FileResult::kDone;
}

// Only a lock shows that no living writer has it. Network mounts give exclusive locks to those only
// who may write.
FileResult SiblingFile::removeLeftover() const {
  File leftover;
  FileResult result = FileResult::kDone;
  if (others_ != Others::kExcluded) {
    result = leftover.openToLock(ownPlace_, File::Access::kUpdate);
    if (result == FileResult::kRefused) {
      result = leftover.openToLock(ownPlace_, File::Access::kRead);
    }
  }
  if (result == FileResult::kDone && leftover.isOpen() && !leftover.confirm()) return result;
  if (result == FileResult::kDone) result = removeAt(ownPlace_);
  return result == FileResult::kMissing ? FileResult::kDone : result;
}

FileResult SiblingFile::write(std::string_view bytes) {
  if (pending_.size() + bytes.size() <= kWideWrite) {
    pending_ += bytes;
    return FileResult::kDone;
  }
  const FileResult result = flush();
  return result == FileResult::kDone ? writeOut(bytes) : result;
}

FileResult SiblingFile::flush() {
  const FileResult result = writeOut(pending_);
  std::string().swap(pending_);  // Many siblings may wait for one sync.
  return result;
}

FileResult SiblingFile::rewrite(uint64_t offset, std::string_view bytes) {
  if (offset >= written_) {
    pending_.replace(static_cast<size_t>(offset - written_), bytes.size(), bytes);
    return FileResult::kDone;
  }
  const FileResult result = flush();
  if (result != FileResult::kDone) return result;
  return file_.writeAt(offset, bytes) ? FileResult::kDone : FileResult::kFailed;
}

FileResult SiblingFile::writeOut(std::string_view bytes) {
  if (!file_.writeAt(written_, bytes)) return FileResult::kFailed;
  written_ += bytes.size();
  return FileResult::kDone;
}

FileResult SiblingFile::giveRights(const File* model, Writing writing, Running running) {
  if (const FileResult result = flush(); result != FileResult::kDone) return result;
  if (model != nullptr) {
    if (!isAt(place_, model->status().identity, nullptr)) return FileResult::kBusy;
    if (others_ != Others::kWelcome) model_ = model->status().identity;
  }
  return takeRights(model, writing, running);
}

FileResult SiblingFile::setModificationTime(int64_t seconds) const {
  return file_.setModificationTime(seconds);
}

FileResult SiblingFile::copy(const File& from, uint64_t offset, uint64_t size) {
  if (size >= kWideCopy) {
    FileResult result = flush();
    if (result == FileResult::kDone) result = copyInSystem(from, &offset, &size);
    if (result != FileResult::kDone) return result;
  }
  // By hand: little pieces, and where the system could not.
  while (size > 0) {
    const auto count = static_cast<size_t>(std::min<uint64_t>(size, kWideWrite));
    std::string piece(count, '\0');
    if (!from.readAt(offset, piece.data(), count)) return FileResult::kFailed;
    if (const FileResult result = write(piece); result != FileResult::kDone) return result;
    offset += count;
    size -= count;
  }
  return FileResult::kDone;
}

bool SiblingFile::isStill(const Place& place) const {
  return isAt(place, file_.status().identity, nullptr);
}

// A network mount may call it a failure although it was done, and so may a signal.
FileResult SiblingFile::takeName(Naming naming) {
  if (!isLocked_ && !isStill(ownPlace_)) return FileResult::kBusy;
  if (model_ && !isAt(place_, *model_, nullptr)) return FileResult::kBusy;
  const FileResult result = rename(naming);
  return result == FileResult::kDone || !isStill(place_) ? result : FileResult::kDone;
}

// Nothing may fail once the file has the name.
FileResult SiblingFile::finish(Naming naming, Safety safety, File* finished) {
  FileResult result = flush();
  const bool isOnDisk = safety == Safety::kOnDisk;
  if (result == FileResult::kDone && isOnDisk && !file_.sync()) result = FileResult::kFailed;
  const bool isWanted = finished != nullptr;
  if (result == FileResult::kDone && isWanted && !file_.refresh()) result = FileResult::kFailed;
  if (result == FileResult::kDone) file_.place_ = place_;
  if (result == FileResult::kDone) result = takeName(naming);
  if (result != FileResult::kDone) return result;
  if (isOnDisk) place_.sync(file_.descriptor_);
  File done = std::move(file_);
  if (isWanted) *finished = std::move(done);
  return FileResult::kDone;
}

FileResult SiblingFile::replaceBeside(const File* old, std::string_view bytes, File* placed) {
  FileResult result = file_.isOpen() ? FileResult::kDone : FileResult::kRefused;
  if (result == FileResult::kDone) result = write(bytes);
  if (result == FileResult::kDone) result = giveRights(old);
  const Naming naming = old == nullptr ? Naming::kNew : Naming::kReplace;
  return result == FileResult::kDone ? finish(naming, Safety::kOnDisk, placed) : result;
}

FileResult SiblingFile::replace(const File* old, std::string_view bytes, File* placed) {
  if (placed != nullptr) placed->close();
  const FileResult result = replaceBeside(old, bytes, placed);
  if (result != FileResult::kRefused || old == nullptr) return result;
  return overwriteInPlace(*old, bytes) ? FileResult::kDone : FileResult::kFailed;
}

FileResult replaceFile(const Place& place, const File* old, std::string_view bytes, File* placed) {
  SiblingFile sibling;
  const FileResult opened = sibling.open(place);
  const bool canGoOn = opened == FileResult::kDone || opened == FileResult::kRefused;
  return canGoOn ? sibling.replace(old, bytes, placed) : opened;
}

}  // namespace os
