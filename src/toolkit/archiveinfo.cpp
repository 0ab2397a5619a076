// toolkit/archiveinfo.cpp: reads the tail of an archive file.
//
// The last kilobyte is read at once, since it usually holds the trailer and the whole block: one
// open, one status, one read. Only a larger block costs a second read. All numbers are big-endian.
// The bytes are another program's, so no number is believed before it is checked against what was
// read.
#include "toolkit/archiveinfo.h"

#include <algorithm>
#include <new>
#include <string>

#include "base/varchiver.h"
#include "dates/packedtime.h"
#include "os/clock.h"
#include "os/file.h"
#include "os/fingerprint.h"
#include "toolkit/messages.h"

namespace foldapi {
namespace {

constexpr size_t kFirstRead = 1024;
constexpr size_t kTrailerSize = 9;
constexpr uint32_t kTrailerTag = 4;
constexpr int64_t kTrailerDifference = 9;
constexpr char kEndTag = '@';
constexpr uint32_t kLongLength = 0x8000;
// One tick of packed times, and as much for a file server's clock that is not quite this one.
constexpr int64_t kFreshNanoseconds = 4'000'000'000;

uint32_t byteAt(const char* bytes, size_t index) { return static_cast<uint8_t>(bytes[index]); }

uint32_t read16(const char* bytes) { return byteAt(bytes, 0) << 8 | byteAt(bytes, 1); }

uint32_t read32(const char* bytes) { return read16(bytes) << 16 | read16(bytes + 2); }

// How far the block begins ahead of the trailer; -1 for no trailer.
int64_t blockSize(const char* trailer) {
  const int64_t first = static_cast<int32_t>(read32(trailer + 1));
  const int64_t second = static_cast<int32_t>(read32(trailer + 5));
  if (byteAt(trailer, 0) != kTrailerTag || second - first != kTrailerDifference || second > 0) {
    return -1;
  }
  return -second;
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
  if (stamp_.isSet()) {
    return status.nanoseconds == stamp_.nanoseconds && status.size == stamp_.size &&
           status.identity.inode == stamp_.inode && status.identity.device == stamp_.device;
  }
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
  os::File file;
  if (openFile(path_.view(), os::File::Access::kRead, &file) != os::FileResult::kDone) return false;
  // From before the first byte is read: a change from now on shows as another stamp.
  const FileStamp stamp = stampOf(file.status());
  if (!readTailOf(&file, stamp.size)) return false;
  stamp_ = stamp;
  summary_.fileTime = stamp.packed;
  isFresh_ = os::wallClockNanoseconds() - stamp.nanoseconds < kFreshNanoseconds;
  return true;
}

// Closes the file before anything of it is believed.
bool TVArchiveInfo52::readTailOf(os::File* file, uint64_t fileSize) {
  char buffer[kFirstRead];
  const auto tailSize = static_cast<size_t>(std::min<uint64_t>(fileSize, kFirstRead));
  if (tailSize < kTrailerSize || !file->readAt(fileSize - tailSize, buffer, tailSize)) return false;
  const std::string_view tail(buffer, tailSize - kTrailerSize);
  const int64_t wanted = blockSize(buffer + tail.size());
  if (wanted < 0 || static_cast<uint64_t>(wanted) > fileSize - kTrailerSize) return false;
  const auto size = static_cast<size_t>(wanted);
  if (size <= tail.size()) {
    if (!file->close()) return false;
    readBlock(tail.substr(tail.size() - size));
    return true;
  }
  std::string block(size, '\0');
  const size_t missing = size - tail.size();
  if (!file->readAt(fileSize - kTrailerSize - size, block.data(), missing) || !file->close()) {
    return false;
  }
  tail.copy(block.data() + missing, tail.size());
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
