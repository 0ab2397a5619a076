// toolkit/archiveinfo.cpp: reads the tail of an archive file.
//
// The last bytes are read at once, since they usually hold the trailer, the whole block and all
// that proves it: one open, one status, one read. Only a larger block costs a second read. Where
// the end isn't whole, because a writer is at work or was cut off, the last one that is counts. All
// numbers are big-endian. The bytes are another program's, so no number is believed before it is
// checked against what was read.
#include "toolkit/archiveinfo.h"

#include <algorithm>
#include <new>
#include <string>

#include "archivefile/parts.h"
#include "base/varchiver.h"
#include "dates/packedtime.h"
#include "os/clock.h"
#include "os/file.h"
#include "os/fingerprint.h"
#include "toolkit/messages.h"

namespace foldapi {
namespace {

constexpr size_t kFirstRead = archivefile::kNarrow;
// While writers take back what they have just added, or other machines replace the file.
constexpr int kTries = 8;
constexpr char kEndTag = '@';
constexpr uint32_t kLongLength = 0x8000;
// One tick of packed times, and as much for a file server's clock that is not quite this one.
constexpr int64_t kFreshNanoseconds = 4'000'000'000;

uint32_t byteAt(const char* bytes, size_t index) { return static_cast<uint8_t>(bytes[index]); }

uint32_t read16(const char* bytes) { return byteAt(bytes, 0) << 8 | byteAt(bytes, 1); }

uint32_t read32(const char* bytes) { return read16(bytes) << 16 | read16(bytes + 2); }

// How many bytes a file's last trailer claims for itself and the block; 0 for no trailer.
uint64_t claimedSize(const archivefile::LastBytes& file) {
  const std::string_view last = file.last();
  if (last.size() < archivefile::kTrailerSize) return 0;
  return archivefile::tailSize(last.substr(last.size() - archivefile::kTrailerSize)).value_or(0);
}

// Block and trailer of what a file says. A file without our header has a trailer that nothing
// proves.
bool findTail(const archivefile::LastBytes& file, uint64_t* begin, uint64_t* end) {
  archivefile::End found;
  if (archivefile::findEnd(file, &found) == archivefile::Found::kWhole) {
    *begin = found.blockBegin();
    *end = found.offset;
    return true;
  }
  const uint64_t size = claimedSize(file);
  *begin = file.fileSize() - size;
  *end = file.fileSize();
  return size > 0 && size <= file.fileSize() && !archivefile::hasHeader(file);
}

std::string_view upToNul(std::string_view text) { return text.substr(0, text.find('\0')); }

// The C string after a record's first byte, which means nothing here.
std::string_view nameIn(std::string_view payload) {
  return payload.empty() ? payload : upToNul(payload.substr(1));
}

}  // namespace

const VClassRecord TVArchiveInfo52::theClass = {"TVArchiveInfo52", &VObject::theClass, 0,
                                                []() -> VObject* { return new TVArchiveInfo52; }};
const VClassRecord TVArchiveKey::theClass = {"TVArchiveKey", &VObject::theClass, 0, nullptr};

uint64_t TVArchiveKey::fingerprint() const { return os::fingerprintText(path_, 0); }

bool TVArchiveInfo52::isEqual(const VObject* other) const {
  if (other->isA() == &TVArchiveKey::theClass) {
    return path_.view() == static_cast<const TVArchiveKey*>(other)->path();
  }
  return other->isKindOf(&theClass) && path_ == static_cast<const TVArchiveInfo52*>(other)->path_;
}

uint64_t TVArchiveInfo52::fingerprint() const { return TVArchiveKey(path_.view()).fingerprint(); }

bool TVArchiveInfo52::IsCurrent() {
  if (summary_.fileTime == 0) return false;
  os::FileStatus status;
  if (!readStat(path_.view(), &status)) return false;
  if (stamp_.isSet()) return stamp_.isOf(status);
  const FileStamp present = stampOf(status);
  if (present.packed != summary_.fileTime) return false;
  stamp_ = present;
  return true;
}

void TVArchiveInfo52::ClearFileTime() {
  summary_.fileTime = 0;
  isFresh_ = false;
  stamp_ = FileStamp();
}

void TVArchiveInfo52::clear() {
  ClearFileTime();
  summary_ = {};
}

int32_t TVArchiveInfo52::Load() {
  clear();
  try {
    if (readTail()) return 0;
  } catch (const std::bad_alloc&) {
    // A block too large for the memory is as good as none.
  }
  clear();
  return kFolderNotAnArchive;
}

bool TVArchiveInfo52::readTail() {
  os::FileStatus before;
  for (int tries = 0; tries < kTries; ++tries) {
    os::File file;
    const os::FileResult result = openFile(path_.view(), os::File::Access::kRead, &file);
    if (result != os::FileResult::kDone || (tries > 0 && file.status() == before)) return false;
    before = file.status();
    // From before the first byte is read: a change from now on shows as another stamp.
    const FileStamp stamp = stampOf(before);
    if (!readTailOf(&file)) continue;
    stamp_ = stamp;
    summary_.fileTime = stamp.packed;
    isFresh_ = os::wallClockNanoseconds() - stamp.nanoseconds < kFreshNanoseconds;
    return true;
  }
  return false;
}

bool TVArchiveInfo52::readTailOf(os::File* file) {
  char buffer[kFirstRead];
  const archivefile::LastBytes bytes(*file, buffer, sizeof buffer);
  const uint64_t claimed = claimedSize(bytes);
  if (claimed <= bytes.last().size() || claimed > bytes.fileSize()) return readLast(bytes, file);
  std::string room(static_cast<size_t>(claimed), '\0');
  return readLast(archivefile::LastBytes(*file, room.data(), room.size()), file);
}

// Closes the file before anything of it is believed.
bool TVArchiveInfo52::readLast(const archivefile::LastBytes& bytes, os::File* file) {
  uint64_t begin = 0;
  uint64_t end = 0;
  if (!findTail(bytes, &begin, &end)) return false;
  const auto size = static_cast<size_t>(end - begin) - archivefile::kTrailerSize;
  const uint64_t lastBegin = bytes.fileSize() - bytes.last().size();
  if (begin >= lastBegin) {
    if (!file->close()) return false;
    readBlock(bytes.last().substr(static_cast<size_t>(begin - lastBegin), size));
    return true;
  }
  std::string block(size, '\0');
  if (!bytes.copy(begin, block.data(), block.size()) || !file->close()) return false;
  readBlock(block);
  return true;
}

// A record that does not lie in the block ends it, with what was read so far.
void TVArchiveInfo52::readBlock(std::string_view block) {
  while (block.size() >= 3 && block[0] != kEndTag) {
    const char tag = block[0];
    size_t length = read16(block.data() + 1);
    block.remove_prefix(3);
    if ((length & kLongLength) != 0) {
      if (block.size() < 2) return;
      length = (length & ~size_t{kLongLength}) << 16 | read16(block.data());
      block.remove_prefix(2);
    }
    if (length > block.size()) return;
    takeRecord(tag, block.substr(0, length));
    block.remove_prefix(length);
  }
}

void TVArchiveInfo52::takeRecord(char tag, std::string_view payload) {
  ArchiveSummary& to = summary_;
  switch (tag) {
    case 'H':
      to.headerText = nameIn(payload);
      break;
    case 'R':
      if (!to.lockers.isEmpty()) to.lockers.append(',');
      to.lockers.append(nameIn(payload));
      ++to.lockCount;
      break;
    case 'V':
      to.accessList = nameIn(payload);
      break;
    case 'I':
      to.description.append(upToNul(payload));
      break;
    case 'J':
      if (payload.size() >= 2) to.revisionCount = static_cast<int32_t>(read16(payload.data()));
      break;
    case 'P':
      if (payload.size() >= 2) to.attributes = static_cast<int32_t>(read16(payload.data()));
      break;
    case 'X':
      if (payload.size() >= 4) to.creationTime = dates::reversePackedTime(read32(payload.data()));
      break;
    default:
      break;
  }
}

void TVArchiveInfo52::putTo(VArchiver& archive) const {
  const ArchiveSummary& from = summary_;
  archive.putNumber(isFresh_ ? 0 : static_cast<int32_t>(from.fileTime));
  archive.putNumber(static_cast<int32_t>(from.creationTime));
  archive.putNumber(from.attributes);
  archive.putNumber(from.revisionCount);
  archive.putNumber(from.lockCount);
  for (const VString* text :
       {&from.accessList, &from.description, static_cast<const VString*>(&path_), &from.lockers,
        &from.headerText}) {
    archive.putString(text->view());
  }
}

bool TVArchiveInfo52::getFrom(VArchiver& archive) {
  clear();
  ArchiveSummary& to = summary_;
  return archive.getNumber(&to.fileTime) && archive.getNumber(&to.creationTime) &&
         archive.getNumber(&to.attributes) && archive.getNumber(&to.revisionCount) &&
         archive.getNumber(&to.lockCount) && archive.getString(&to.accessList) &&
         archive.getString(&to.description) && archive.getString(&path_) &&
         archive.getString(&to.lockers) && archive.getString(&to.headerText);
}

int32_t ReadArchiveInfo(const VPathString& path, ArchiveSummary* summary) {
  try {
    TVArchiveInfo52 info(path);
    const int32_t code = info.Load();
    if (code == 0) *summary = info.summary();
    return code;
  } catch (const std::bad_alloc&) {
    return kFolderNoMemory;
  }
}

}  // namespace foldapi
