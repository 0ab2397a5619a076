// btkf520/archive/archivereader.cpp: from the end of a file to its index, and from frames to
// contents.
//
// Rebuilding a content needs its parents, theirs, and so on up to a content that is stored whole.
// All of them are listed first, parents ahead of children, and then unpacked in that order; each is
// let go when the last that needs it is done. So only a few are in memory at a time.
#include "btkf520/archive/archivereader.h"

#include <algorithm>

#include "btkf520/archive/tail.h"
#include "os/sibling.h"

namespace btkf {

using os::FileResult;

namespace {

// Usually the last end lies in as many bytes, and is read at once.
constexpr size_t kFirstRead = 32 << 10;
// Of frames as much is read at once as stays near to the processor.
constexpr uint64_t kPiece = 128 << 10;
// zstd unpacks a block of four bytes or more to 128 KiB at most.
constexpr int kLargestRatioLog = 15;
// So many files may have what was cut off one archive.
constexpr int kCutFiles = 1000;
// What a writer makes needs less than a hundred frames for any content, however many there are.
constexpr size_t kMostFrames = 256;

// A part of a file, piece by piece, with the checksum of what was given.
class FilePieces {
 public:
  // `known` are its first bytes, or none: if it is all of them, nothing is read.
  FilePieces(const os::File& file, uint64_t offset, uint64_t size, std::string_view known = {})
      : file_(file),
        offset_(offset),
        left_(size),
        known_(known.size() < size ? std::string_view() : known),
        buffer_(known_.empty() ? std::min(size, kPiece) : 0) {}

  // Empty at the end, or if no more can be read.
  std::string_view next() {
    std::string_view piece = known_;
    if (left_ == 0) return {};
    if (piece.empty()) {
      const auto size = static_cast<size_t>(std::min<uint64_t>(left_, buffer_.size()));
      if (!file_.readAt(offset_, buffer_.data(), size)) return {};
      piece = buffer_.view().substr(0, size);
    }
    checksum_.add(piece);
    offset_ += piece.size();
    left_ -= piece.size();
    return piece;
  }

  bool areAllGiven() const { return left_ == 0; }
  uint64_t checksum() const { return checksum_.value(); }

 private:
  const os::File& file_;
  uint64_t offset_;
  uint64_t left_;
  std::string_view known_;
  Bytes buffer_;
  Checksum checksum_;
};

// Of a frame no more is believed than a writer makes of an index, before memory is taken for it.
bool isPossible(const archivefile::IndexPlace& place, size_t storedSize) {
  return place.size <= largestIndex(storedSize) &&
         place.storedSize <= FrameCodec::mostPacked(place.size);
}

// Of both frames, if an index has two.
size_t storedSize(const archivefile::EndRecord& record) {
  const size_t full = record.full.offset == 0 ? 0 : record.full.storedSize;
  return full + record.index.storedSize;
}

// What is in memory during a rebuild: each content from when it is unpacked until the last of the
// frames that needs it is done.
class HeldContents {
 public:
  // `frames` are all that will be unpacked. Their other parents are among the recent contents.
  HeldContents(const std::vector<const ArchiveReader::Stored*>& frames,
               const RecentContents& recent) {
    for (const ArchiveReader::Stored* stored : frames) {
      for (const uint32_t parent : stored->frame.parents()) {
        Held& held = contents_[parent];
        if (held.uses++ == 0) held.bytes = recent.find(parent);
      }
    }
  }

  // Good until the frame's parents are replaced.
  Prefix prefixOf(const Frame& frame) const {
    return Prefix(viewOf(frame.olderParent), viewOf(frame.newerParent));
  }

  // A frame is done: takes in its content, if a later frame needs that, and lets go of those of its
  // parents that none needs any more.
  void replaceParents(const Frame& frame, const SharedBytes& bytes) {
    const auto own = contents_.find(frame.content);
    if (own != contents_.end()) own->second.bytes = bytes;
    for (const uint32_t parent : frame.parents()) {
      const auto found = contents_.find(parent);
      if (--found->second.uses == 0) contents_.erase(found);
    }
  }

 private:
  struct Held {
    SharedBytes bytes;
    int uses = 0;
  };

  std::string_view viewOf(uint32_t content) const {
    const SharedBytes& bytes = contents_.at(content).bytes;
    return bytes == nullptr ? std::string_view() : bytes->view();
  }

  std::unordered_map<uint32_t, Held> contents_;  // Also 0, which is no parent: without bytes.
};

}  // namespace

Prefix::Prefix(std::string_view older, std::string_view newer) {
  if (older.empty() || newer.empty()) {
    view_ = older.empty() ? newer : older;
    return;
  }
  joined_ = Bytes(older.size() + newer.size());
  std::copy(older.begin(), older.end(), joined_.data());
  std::copy(newer.begin(), newer.end(), joined_.data() + older.size());
  view_ = joined_.view();
}

SharedBytes RecentContents::find(uint32_t content) const {
  for (const auto& [id, bytes] : entries_) {
    if (id == content) return bytes;
  }
  return nullptr;
}

void RecentContents::add(uint32_t content, const SharedBytes& bytes) {
  if (bytes->size() > kMostBytes) return;
  entries_.emplace_front(content, bytes);
  size_ += bytes->size();
  while (size_ > kMostBytes || entries_.size() > kMostContents) {
    size_ -= entries_.back().second->size();
    entries_.pop_back();
  }
}

void RecentContents::clear() {
  entries_.clear();
  size_ = 0;
}

ArchiveReader::ArchiveReader(Index index, const archivefile::End& end,
                             std::unique_ptr<FrameCodec> codec)
    : index_(std::move(index)), end_(end), codec_(std::move(codec)) {}

bool ArchiveReader::readIndex(const os::File& file, const archivefile::IndexPlace& place,
                              std::string_view known, std::string_view full, FrameCodec* codec,
                              SharedBytes* bytes) {
  FilePieces pieces(file, place.offset, place.storedSize, known);
  const auto unpacked = std::make_shared<Bytes>();
  if (!codec->unpack([&] { return pieces.next(); }, full, place.size, unpacked.get(), nullptr) ||
      !pieces.areAllGiven() || pieces.checksum() != place.checksum) {
    return false;
  }
  *bytes = unpacked;
  return true;
}

TrvsStatus ArchiveReader::open(os::File file, std::unique_ptr<ArchiveReader>* reader) {
  Bytes room(kFirstRead);
  const archivefile::LastBytes last(file, room.data(), room.size());
  const os::FileStatus before = file.status();
  const auto failure = [&] {
    // A writer may just have taken a part back.
    const bool isSame = file.refresh() && file.status() == before && !file.hasFailed();
    return isSame ? TRVS_NOT_AN_ARCHIVE : TRVS_CANNOT_OPEN;
  };
  archivefile::End end;
  const bool isWhole = archivefile::hasHeader(last) &&
                       archivefile::findEnd(last, &end) == archivefile::Found::kWhole;
  if (!isWhole) return failure();
  const archivefile::EndRecord& record = end.record;
  const bool isAlone = record.full.offset == 0;
  if (!isPossible(record.index, storedSize(record))) return failure();
  if (!isAlone && !isPossible(record.full, record.full.storedSize)) return failure();

  auto codec = std::make_unique<FrameCodec>();
  SharedBytes full;
  SharedBytes bytes;
  const auto read = [&](const archivefile::IndexPlace& place, SharedBytes* to) {
    const std::string_view known = last.known(place.offset, place.offset + place.storedSize);
    const std::string_view prefix = full == nullptr ? std::string_view() : full->view();
    return readIndex(file, place, known, prefix, codec.get(), to);
  };
  if (!isAlone && !read(record.full, &full)) return failure();
  if (!read(record.index, &bytes)) return failure();
  std::optional<Index> index = decodeIndex(bytes, storedSize(record));
  const bool fits = index && (index->frames.empty() || index->frames.back().end() <= end.offset);
  if (!fits) return failure();
  auto result = std::make_unique<ArchiveReader>(std::move(*index), end, std::move(codec));
  result->full_ = isAlone ? bytes : std::move(full);
  result->last_ = std::move(bytes);
  result->file_ = std::move(file);
  *reader = std::move(result);
  return TRVS_DONE;
}

bool ArchiveReader::hasTornEnd(bool isToRead) {
  if (file_.size() <= end_.offset) return false;
  const os::FileStatus before = file_.status();
  const bool isAtWork = isToRead && file_.tryLock(os::File::Lock::kShared) == FileResult::kBusy;
  return !isAtWork && file_.refresh() && file_.status() == before;
}

// Under the first name that is free: what was cut off before stays.
FileResult ArchiveReader::keepTornEnd(std::string* name) const {
  os::SiblingFile kept;
  FileResult result = FileResult::kExists;
  for (int number = 0; number < kCutFiles && result == FileResult::kExists; ++number) {
    *name = os::nameBeside(file_.place().name(), os::kCutMark, number);
    const os::Place place = file_.place().beside(*name);
    os::File other;
    if (other.open(place, os::File::Access::kRead) != FileResult::kMissing) continue;
    result = kept.open(place, os::SiblingFile::Others::kExcluded);
    if (result != FileResult::kDone) break;
    result = kept.copy(file_, end_.offset, file_.size() - end_.offset);
    if (result != FileResult::kDone) break;
    result = kept.finish(os::SiblingFile::Naming::kNew, os::SiblingFile::Safety::kOnDisk, nullptr);
  }
  return result;
}

// The cut is on the disk before anything else is written there: what a power cut leaves of that
// must not stand among other bytes.
TrvsStatus ArchiveReader::cutTornEnd(Cut* cut) {
  *cut = {};
  if (file_.size() <= end_.offset) return TRVS_DONE;
  const archivefile::LastBytes bytes(file_, nullptr, 0);
  cut->isKept = archivefile::isCutOff(bytes, end_) || keepTornEnd(&cut->name) == FileResult::kDone;
  if (!cut->isKept) return TRVS_CANNOT_WRITE;
  const bool isCut = file_.setSize(end_.offset) && file_.syncContent() && file_.refresh();
  return isCut ? TRVS_DONE : TRVS_CANNOT_WRITE;
}

archivefile::IndexPlace ArchiveReader::fullIndex() const {
  return end_.record.full.offset == 0 ? end_.record.index : end_.record.full;
}

TrvsStatus ArchiveReader::readFullIndex(std::string_view* bytes) {
  if (full_ == nullptr && !readIndex(file_, fullIndex(), {}, {}, codec_.get(), &full_)) {
    return file_.hasFailed() ? TRVS_CANNOT_OPEN : TRVS_NOT_AN_ARCHIVE;
  }
  *bytes = full_->view();
  return TRVS_DONE;
}

const std::vector<ArchiveReader::Line>& ArchiveReader::lines() const {
  if (!lines_.empty()) return lines_;
  lines_.reserve(index_.model.branches.size());
  for (const Branch& branch : index_.model.branches) {
    lines_.push_back({branch.number, branch.revisions.contents()});
  }
  return lines_;
}

ArchiveModel ArchiveReader::takeModel() {
  static_cast<void>(lines());
  return std::exchange(index_.model, {});
}

const ArchiveReader::Stored* ArchiveReader::find(uint32_t content) const {
  if (contents_.empty()) {
    places_ = FramePlaces(index_.frames);
    contents_.reserve(index_.frames.size());
    for (const Frame& frame : index_.frames) contents_.push_back({{}, frame});
    for (const Line& line : lines()) {
      for (const Content& each : *line.contents) contents_[*places_.find(each.id)].content = each;
    }
  }
  const std::optional<Place> place = places_.find(content);
  return place ? &contents_[*place] : nullptr;
}

// All that rebuilding `target` needs, parents ahead of children and `target` last, but for what is
// at hand and what only that needs.
std::vector<const ArchiveReader::Stored*> ArchiveReader::framesFor(const Stored& target) const {
  std::vector<const Stored*> result;
  std::unordered_map<uint32_t, bool> seen;  // True: listed.
  std::vector<const Stored*> open{&target};
  while (!open.empty()) {
    const Stored* const top = open.back();
    bool& isListed = seen[top->frame.content];
    size_t before = open.size();
    for (const uint32_t parent : top->frame.parents()) {
      if (!isListed && parent != 0 && !seen.contains(parent) && recent_.find(parent) == nullptr) {
        open.push_back(find(parent));
      }
    }
    if (open.size() > before) continue;
    open.pop_back();
    if (!std::exchange(seen[top->frame.content], true)) result.push_back(top);
  }
  return result;
}

// Whether rebuilding `target` takes more frames than any writer lets it take, whatever is at hand.
bool ArchiveReader::needsTooMany(const Stored& target) const {
  std::vector<uint32_t> needed{target.frame.content};
  for (size_t i = 0; i < needed.size() && needed.size() <= kMostFrames; ++i) {  // It grows.
    for (const uint32_t parent : find(needed[i])->frame.parents()) {
      const bool isNew = std::find(needed.begin(), needed.end(), parent) == needed.end();
      if (parent != 0 && isNew) needed.push_back(parent);
    }
  }
  return needed.size() > kMostFrames;
}

bool ArchiveReader::isTooLarge(const std::vector<const Stored*>& frames) const {
  return std::any_of(frames.begin(), frames.end(), [this](const Stored* stored) {
    return stored->content.length > largestContent_;
  });
}

TrvsStatus ArchiveReader::checkSize(uint32_t content) const {
  const Stored* const target = find(content);
  return target != nullptr && isTooLarge(framesFor(*target)) ? TRVS_TOO_LARGE : TRVS_DONE;
}

bool ArchiveReader::withFrame(const Stored& stored,
                              const std::function<bool(const FramePieces&)>& work) const {
  if (stored.content.length >> kLargestRatioLog > stored.frame.size) return false;
  FilePieces pieces(file_, stored.frame.offset, stored.frame.size);
  return work([&] { return pieces.next(); }) && pieces.areAllGiven() &&
         static_cast<uint32_t>(pieces.checksum()) == stored.frame.checksum;
}

bool ArchiveReader::unpack(const Stored& stored, std::string_view prefix, Bytes* content,
                           Checksum* checksum) {
  if (stored.content.length == 0 || stored.frame.size == 0) {
    *content = Bytes(0);
    return stored.content.length == stored.frame.size;
  }
  return withFrame(stored, [&](const FramePieces& pieces) {
    return codec_->unpack(pieces, prefix, stored.content.length, content, checksum);
  });
}

// Rebuilds a content that was not kept, and checks it.
TrvsStatus ArchiveReader::rebuild(const Stored& target, bool keeps, std::shared_ptr<Bytes>* bytes) {
  if (needsTooMany(target)) return TRVS_NOT_AN_ARCHIVE;
  const std::vector<const Stored*> frames = framesFor(target);
  if (isTooLarge(frames)) return TRVS_TOO_LARGE;
  HeldContents held(frames, recent_);
  for (const Stored* stored : frames) {
    const bool isTarget = stored == &target;
    const Prefix prefix = held.prefixOf(stored->frame);
    const auto content = std::make_shared<Bytes>();
    Checksum checksum;
    if (!unpack(*stored, prefix.view(), content.get(), isTarget ? &checksum : nullptr)) {
      return file_.hasFailed() ? TRVS_CANNOT_OPEN : TRVS_NOT_AN_ARCHIVE;
    }
    if (isTarget && checksum.value() != target.content.checksum) return TRVS_NOT_AN_ARCHIVE;
    if (keeps) recent_.add(stored->frame.content, content);
    held.replaceParents(stored->frame, content);
    if (isTarget) *bytes = content;
  }
  return TRVS_DONE;
}

TrvsStatus ArchiveReader::read(uint32_t content, SharedBytes* bytes) {
  const Stored* const target = find(content);
  if (target == nullptr) return TRVS_NO_REVISION;
  if (SharedBytes recent = recent_.find(content)) {
    if (checksumOf(recent->view()) != target->content.checksum) return TRVS_NOT_AN_ARCHIVE;
    *bytes = std::move(recent);
    return TRVS_DONE;
  }
  std::shared_ptr<Bytes> rebuilt;
  if (const TrvsStatus status = rebuild(*target, true, &rebuilt)) return status;
  *bytes = std::move(rebuilt);
  return TRVS_DONE;
}

TrvsStatus ArchiveReader::take(const Content& content, Bytes* bytes) {
  const Stored* const target = find(content.id);
  if (target == nullptr || target->content != content) return TRVS_NO_REVISION;
  std::shared_ptr<Bytes> result;
  if (const TrvsStatus status = rebuild(*target, false, &result)) return status;
  *bytes = std::move(*result);
  return TRVS_DONE;
}

// Contents with parents have to be in memory as a whole, and those that fit there easily may be.
TrvsStatus ArchiveReader::give(const Content& content, const BytesSink& sink) {
  const Stored* const target = find(content.id);
  if (target == nullptr || target->content != content) return TRVS_NO_REVISION;
  const uint64_t length = target->content.length;
  if (length > largestContent_) return TRVS_TOO_LARGE;
  const bool isAlone = target->frame.olderParent == 0 && target->frame.newerParent == 0;
  if (!isAlone || length < kPiece) {
    Bytes bytes;
    if (const TrvsStatus status = take(content, &bytes)) return status;
    return sink(bytes.view()) ? TRVS_DONE : TRVS_CANNOT_WRITE;
  }
  Checksum checksum;
  bool isTaken = true;
  const auto watched = [&](std::string_view bytes) { return isTaken = sink(bytes); };
  const bool isUnpacked = withFrame(*target, [&](const FramePieces& pieces) {
    return codec_->unpackAlone(pieces, length, watched, &checksum);
  });
  if (!isTaken) return TRVS_CANNOT_WRITE;
  if (!isUnpacked && file_.hasFailed()) return TRVS_CANNOT_OPEN;
  return isUnpacked && checksum.value() == target->content.checksum ? TRVS_DONE
                                                                    : TRVS_NOT_AN_ARCHIVE;
}

// Whether the index that is open is right, and so are all ends and indexes before it, to which a
// reader would go back.
bool ArchiveReader::partsAreWhole() {
  Bytes room(kFirstRead);
  const archivefile::LastBytes last(file_, room.data(), room.size());
  bool areWhole = true;
  uint32_t count = 0;
  archivefile::End end;
  archivefile::forEachPart(last, [&](uint64_t offset) {
    if (!areWhole || offset > end_.offset) return;
    areWhole = archivefile::readEnd(last, offset, &end) && end.record.part == count++;
    FilePieces index(file_, end.record.index.offset, end.record.index.storedSize);
    while (areWhole && !index.next().empty()) {
    }
    areWhole = areWhole && index.areAllGiven() && index.checksum() == end.record.index.checksum;
  });
  if (!areWhole || end.offset != end_.offset) return false;
  const std::string expected = encodeRecords(index_.model);
  std::string records(static_cast<size_t>(end.tailSize) - archivefile::kEndSize, '\0');
  return last.copy(end.blockBegin(), records.data(), records.size()) && records == expected;
}

TrvsStatus ArchiveReader::verify(std::vector<Content>* damaged) {
  if (damaged != nullptr) damaged->clear();
  const bool isWhole = partsAreWhole() && index_.model.isConnected();
  TrvsStatus result = isWhole ? TRVS_DONE : TRVS_NOT_AN_ARCHIVE;
  recent_.clear();
  for (const Branch& branch : index_.model.branches) {
    // From the tip on, near which the parents are.
    for (size_t place = branch.revisions.size(); place-- > 0;) {
      const Content& content = branch.revisions.content(place);
      SharedBytes bytes;
      const TrvsStatus status = read(content.id, &bytes);
      if (status == TRVS_DONE) continue;
      if (status == TRVS_TOO_LARGE) return status;
      result = TRVS_NOT_AN_ARCHIVE;
      if (damaged != nullptr) damaged->push_back(content);
    }
  }
  if (!file_.hasFailed()) return result;
  if (damaged != nullptr) damaged->clear();
  return TRVS_CANNOT_OPEN;
}

}  // namespace btkf
