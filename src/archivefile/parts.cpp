// archivefile/parts.cpp: writes and reads what is around the contents of a part. No number is
// believed before it is checked against the file.
#include "archivefile/parts.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "archivefile/bytecodec.h"
#include "archivefile/checksum.h"

namespace archivefile {
namespace {

constexpr uint8_t kTrailerTag = 4;
constexpr char kEndTag = '@';
constexpr char kRecordTag = 'Z';
constexpr size_t kRecordPayload = 64;
constexpr size_t kAfterProof = 1 + kTrailerSize;
constexpr size_t kProofSize = 8;
static_assert(kEndSize == 3 + kRecordPayload + kAfterProof);
// A device writes that much, from a multiple of it on, or nothing of it.
constexpr uint64_t kSector = 512;
// So many bytes are searched for ends where no header leads to them, from there on and at the end
// of the file: as much as many narrow parts take.
constexpr uint64_t kSearched = 64 << 10;
// Of no more parts is it found out that they are not whole.
constexpr int kMostUnproven = 8;

uint32_t headerChecksum(uint64_t offset, uint64_t partSize) {
  ByteWriter bytes;
  bytes.putFixed(offset, 8);
  bytes.putFixed(partSize, 8);
  return static_cast<uint32_t>(checksumOf(bytes.bytes()));
}

void putPlace(ByteWriter* to, const IndexPlace& place) {
  to->putFixed(place.storedSize, 4);
  to->putFixed(place.size, 4);
  to->putFixed(place.checksum, 8);
}

void getPlace(ByteReader* from, IndexPlace* place) {
  place->storedSize = static_cast<uint32_t>(from->fixed(4));
  place->size = static_cast<uint32_t>(from->fixed(4));
  place->checksum = from->fixed(8);
}

// `end` is the last kEndSize bytes of a part.
bool parseEnd(std::string_view end, EndRecord* record, uint64_t* sizeOfTail) {
  const auto size = tailSize(end.substr(kEndSize - kTrailerSize));
  ByteReader from(end);
  const bool isRecord = from.fixed(1) == kRecordTag && from.fixed(2) == kRecordPayload;
  record->partSize = from.fixed(8);
  record->part = static_cast<uint32_t>(from.fixed(4));
  getPlace(&from, &record->index);
  record->full.offset = from.fixed(8);
  getPlace(&from, &record->full);
  record->proofSize = static_cast<uint32_t>(from.fixed(4));
  record->proof = from.fixed(8);
  const bool isLast = from.fixed(1) == static_cast<uint8_t>(kEndTag);
  *sizeOfTail = size.value_or(0);
  return size && isRecord && isLast;
}

// Whether all that an end tells lies in the file, and in its own part what has to.
bool liesInFile(const End& end) {
  const EndRecord& record = end.record;
  if (record.part >= kMostParts) return false;
  const uint64_t room = end.offset - kHeader.size();
  if (record.partSize > room || record.partSize < kPartHeaderSize + kEndSize) return false;
  const uint64_t body = record.partSize - kPartHeaderSize;
  if (end.tailSize < kEndSize || end.tailSize > body) return false;
  if (record.index.storedSize > body - end.tailSize) return false;
  const uint64_t indexBegin = end.blockBegin() - record.index.storedSize;
  if (record.full.offset > indexBegin) return false;
  if (record.full.offset != 0 && record.full.storedSize > indexBegin - record.full.offset) {
    return false;
  }
  if (record.proofSize > room - kAfterProof - kProofSize) return false;
  const bool isWide = end.offset - end.proofBegin() > kNarrow;
  return isWide ? end.proofBegin() == end.blockBegin() : end.proofBegin() <= end.blockBegin();
}

// Whether what stands before `offset` has the form of an end. Nothing is proved with that.
bool parseEndAt(const LastBytes& file, uint64_t offset, End* end) {
  char last[kEndSize];
  const size_t least = kHeader.size() + kPartHeaderSize + kEndSize;
  if (offset < least || !file.copy(offset - kEndSize, last, sizeof last)) return false;
  end->offset = offset;
  return parseEnd(std::string_view(last, sizeof last), &end->record, &end->tailSize) &&
         liesInFile(*end);
}

uint64_t partSizeAt(const LastBytes& file, uint64_t offset) {
  char header[kPartHeaderSize];
  if (offset > file.fileSize() || file.fileSize() - offset < sizeof header ||
      !file.copy(offset, header, sizeof header)) {
    return 0;
  }
  ByteReader from(std::string_view(header, sizeof header));
  const uint64_t size = from.fixed(8);
  return from.fixed(4) == headerChecksum(offset, size) ? size : 0;
}

bool isZero(const LastBytes& file, uint64_t begin, uint64_t end) {
  char bytes[kSector];
  const auto size = static_cast<size_t>(end - begin);
  return file.copy(begin, bytes, size) &&
         std::all_of(bytes, bytes + size, [](char each) { return each == 0; });
}

// Whether in some sector all that lies between `begin` and `end` is zeros, and so may never have
// been written. Sectors from `stop` on don't count.
bool hasLostSector(const LastBytes& file, uint64_t begin, uint64_t stop, uint64_t end) {
  for (uint64_t next = 0; begin < stop; begin = next) {
    next = std::min(end, (begin / kSector + 1) * kSector);
    if (isZero(file, begin, next)) return true;
  }
  return false;
}

// With as many zeros begins the header of a part, in any case: of a narrow one if nobody knows how
// long it is.
uint64_t headerZeros(uint64_t partSize) {
  return static_cast<uint64_t>(std::countl_zero(partSize == 0 ? kNarrow : partSize)) / 8;
}

// Where the block of a part that has lost its proof begins: by the trailer, else by what the proof
// covers; the begin of all that it may be if neither says anything possible.
uint64_t likelyBlock(const LastBytes& file, uint64_t begin, uint64_t end) {
  char last[kEndSize];
  EndRecord record;
  uint64_t tail = 0;
  if (!file.copy(end - kEndSize, last, sizeof last)) return begin;
  static_cast<void>(parseEnd(std::string_view(last, sizeof last), &record, &tail));
  if (tail == 0) tail = record.proofSize + kProofSize + kAfterProof;
  const bool isPossible = tail >= kEndSize && tail <= end - begin - kPartHeaderSize;
  return isPossible ? end - tail : begin + kPartHeaderSize;
}

// Of a part from `begin` to `end` that has no proof: whether the power may have been cut when it
// was written. Nothing from `unproven` on is known to have been synced before a narrow one.
bool mayBeTorn(const LastBytes& file, uint64_t unproven, uint64_t begin, uint64_t end) {
  const bool isWide = end - begin > kNarrow;
  if (isWide && partSizeAt(file, begin) != end - begin) return false;
  char trailer[kTrailerSize];
  if (!file.copy(end - sizeof trailer, trailer, sizeof trailer)) return true;
  const bool hasTrailer = tailSize(std::string_view(trailer, sizeof trailer)).has_value();
  const uint64_t first = begin == unproven ? end - begin : partSizeAt(file, unproven);
  return hasLostSector(file, isWide ? likelyBlock(file, begin, end) : unproven + headerZeros(first),
                       hasTrailer ? end - sizeof trailer : end, end);
}

// Whether a header may stand at `offset`, and what does is none.
bool isHeaderless(const LastBytes& file, uint64_t offset) {
  return file.fileSize() - offset >= kPartHeaderSize && partSizeAt(file, offset) == 0;
}

bool isProven(const LastBytes& file, const End& end) {
  Checksum sum;
  const auto add = [&](uint64_t begin, uint64_t stop) {
    char piece[kNarrow];
    for (uint64_t size = 0; begin < stop; begin += size) {
      std::string_view bytes = file.known(begin, stop);
      if (bytes.empty()) {
        size = std::min<uint64_t>(stop - begin, sizeof piece);
        if (!file.copy(begin, piece, static_cast<size_t>(size))) return false;
        bytes = {piece, static_cast<size_t>(size)};
      }
      sum.add(bytes);
      size = bytes.size();
    }
    return true;
  };
  return add(end.proofBegin(), end.proofBegin() + end.record.proofSize) &&
         add(end.offset - kAfterProof, end.offset) && sum.value() == end.record.proof;
}

// Whether `isSought` says so of some end that stands between `begin` and `stop`, by its form.
bool hasEnd(const LastBytes& file, uint64_t begin, uint64_t stop,
            const std::function<bool(const End&)>& isSought) {
  constexpr char kFirst[] = {kRecordTag, 0, kRecordPayload};
  std::string piece;
  for (; begin + kEndSize <= stop; begin += piece.size() - kEndSize + 1) {
    piece.resize(static_cast<size_t>(std::min(stop - begin, kSearched)));
    if (!file.copy(begin, piece.data(), piece.size())) return false;
    const std::string_view first(kFirst, sizeof kFirst);
    for (size_t at = 0; (at = piece.find(first, at)) != std::string::npos; ++at) {
      End end;
      const bool fits =
          at + kEndSize <= piece.size() && piece[at + kEndSize - kAfterProof] == kEndTag;
      if (fits && parseEndAt(file, begin + at + kEndSize, &end) && isSought(end)) return true;
    }
  }
  return false;
}

// Tells whether an end is of a whole part that begins at `offset` or later. No writer adds one
// before it has cut off what was torn, and so there is hardly ever more than one part with a header
// that is not whole. No writer makes many, and each may take as long as to read the file: the last
// one that is looked at counts as whole.
class WholePartFrom {
 public:
  WholePartFrom(const LastBytes& file, uint64_t offset) : file_(file), offset_(offset) {}

  bool isAt(const End& end) {
    if (end.begin() < offset_ || partSizeAt(file_, end.begin()) != end.record.partSize) {
      return false;
    }
    End found;
    return readEnd(file_, end.offset, &found) || ++unproven_ == kMostUnproven;
  }

 private:
  const LastBytes& file_;
  uint64_t offset_;
  int unproven_ = 0;
};

// Whether what follows the last whole part was whole once. `ends` are those of the parts after it,
// by their headers.
bool isDamagedAfter(const LastBytes& file, const End& whole, const std::vector<uint64_t>& ends) {
  uint64_t begin = whole.offset;
  for (const uint64_t end : ends) {
    if (!mayBeTorn(file, whole.offset, begin, end)) return true;
    begin = end;
  }
  const uint64_t size = file.fileSize();
  const auto isDamaged = [&](const End& end) {
    return end.begin() >= whole.offset && !mayBeTorn(file, whole.offset, end.begin(), end.offset);
  };
  // The last one tells where it begins, too.
  End last;
  if (parseEndAt(file, size, &last) && isDamaged(last)) return true;
  if (!isHeaderless(file, begin)) return false;
  const uint64_t headerEnd = begin + kPartHeaderSize;
  if (!hasLostSector(file, begin, headerEnd, headerEnd)) return true;
  WholePartFrom part(file, begin);
  const auto isProof = [&](const End& end) {
    return part.isAt(end) || (end.begin() == begin && isDamaged(end));
  };
  const uint64_t searched = std::min(size, begin + kSearched);
  return hasEnd(file, begin, searched, isProof) ||
         hasEnd(file, std::max(searched - kEndSize, size - std::min(size, kSearched)), size,
                isProof);
}

}  // namespace

uint64_t End::proofBegin() const { return offset - kAfterProof - kProofSize - record.proofSize; }

std::string encodePartHeader(uint64_t offset, uint64_t partSize) {
  ByteWriter to;
  to.putFixed(partSize, 8);
  to.putFixed(headerChecksum(offset, partSize), 4);
  return to.take();
}

std::string encodeTail(std::string_view records, std::string_view before, EndRecord* record) {
  ByteWriter to;
  to.putRaw(records);
  to.putFixed(static_cast<uint8_t>(kRecordTag), 1);
  to.putFixed(kRecordPayload, 2);
  to.putFixed(record->partSize, 8);
  to.putFixed(record->part, 4);
  putPlace(&to, record->index);
  to.putFixed(record->full.offset, 8);
  putPlace(&to, record->full);
  record->proofSize = static_cast<uint32_t>(before.size() + to.bytes().size() + 4);
  to.putFixed(record->proofSize, 4);

  ByteWriter after;
  const auto blockSize = static_cast<uint32_t>(records.size() + kEndSize - kTrailerSize);
  after.putFixed(static_cast<uint8_t>(kEndTag), 1);
  after.putFixed(kTrailerTag, 1);
  after.putFixed(0 - (blockSize + kTrailerSize), 4);
  after.putFixed(0 - blockSize, 4);

  Checksum proof;
  for (const std::string_view bytes : {before, to.bytes(), after.bytes()}) {
    proof.add(bytes);
  }
  record->proof = proof.value();
  to.putFixed(record->proof, kProofSize);
  to.putRaw(after.bytes());
  return to.take();
}

std::optional<uint32_t> tailSize(std::string_view trailer) {
  ByteReader from(trailer);
  const auto tag = static_cast<uint8_t>(from.fixed(1));
  const auto first = static_cast<uint32_t>(from.fixed(4));
  const auto second = static_cast<uint32_t>(from.fixed(4));
  if (!from.isGood() || tag != kTrailerTag || second - first != kTrailerSize) return {};
  if (static_cast<int32_t>(first) >= 0 || static_cast<int32_t>(second) > 0) return {};
  return 0 - first;
}

LastBytes::LastBytes(const os::File& file, char* room, size_t size)
    : file_(file), fileSize_(file.size()) {
  size = static_cast<size_t>(std::min<uint64_t>(size, fileSize_));
  if (size > 0 && file.readAt(fileSize_ - size, room, size)) last_ = {room, size};
}

bool LastBytes::copy(uint64_t offset, char* to, size_t size) const {
  const std::string_view bytes = known(offset, offset + size);
  if (bytes.size() < size) return file_.readAt(offset, to, size);
  bytes.copy(to, size);
  return true;
}

std::string_view LastBytes::known(uint64_t begin, uint64_t end) const {
  const uint64_t lastBegin = fileSize_ - last_.size();
  if (begin < lastBegin || begin >= fileSize_) return {};
  return last_.substr(static_cast<size_t>(begin - lastBegin), static_cast<size_t>(end - begin));
}

bool hasHeader(const LastBytes& file) {
  char header[kHeader.size()];
  return file.fileSize() >= sizeof header && file.copy(0, header, sizeof header) &&
         std::string_view(header, sizeof header) == kHeader;
}

// The first part is in no doubt as a whole: a file gets its name when all of it is on the disk. Of
// any other one the header shows that it was written in its place and not taken back since.
bool readEnd(const LastBytes& file, uint64_t offset, End* end) {
  End found;
  if (!parseEndAt(file, offset, &found) || !isProven(file, found)) return false;
  found.record.index.offset = found.blockBegin() - found.record.index.storedSize;
  const bool isFirst = found.begin() == kHeader.size();
  if (!isFirst && partSizeAt(file, found.begin()) != found.record.partSize) return false;
  *end = found;
  return true;
}

void forEachPart(const LastBytes& file, const std::function<void(uint64_t end)>& take) {
  if (!hasHeader(file)) return;
  uint64_t offset = kHeader.size();
  for (uint32_t count = 0; count < kMostParts; ++count) {
    const uint64_t size = partSizeAt(file, offset);
    if (size == 0 || size > file.fileSize() - offset) return;
    offset += size;
    take(offset);
  }
}

// Usually the first look tells, and that the file has its header isn't asked.
Found findEnd(const LastBytes& file, End* end) {
  if (readEnd(file, file.fileSize(), end)) return Found::kWhole;
  std::vector<uint64_t> ends;
  forEachPart(file, [&](uint64_t offset) { ends.push_back(offset); });
  const auto whole = std::find_if(ends.rbegin(), ends.rend(),
                                  [&](uint64_t offset) { return readEnd(file, offset, end); });
  if (whole == ends.rend()) return Found::kNone;
  const bool isDamaged = isDamagedAfter(file, *end, {whole.base(), ends.end()});
  if (file.hasFailed()) return Found::kNone;
  return isDamaged ? Found::kDamaged : Found::kWhole;
}

bool isCutOff(const LastBytes& file, const End& end) {
  const uint64_t size = file.fileSize() - end.offset;
  if (size < kPartHeaderSize || partSizeAt(file, end.offset) > size) return true;
  End last;
  WholePartFrom part(file, end.offset);
  return isZero(file, end.offset, end.offset + kPartHeaderSize) &&
         !parseEndAt(file, file.fileSize(), &last) &&
         !hasEnd(file, end.offset, file.fileSize(),
                 [&part](const End& each) { return part.isAt(each); });
}

}  // namespace archivefile
