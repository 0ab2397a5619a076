// btkf520/archive/archive.cpp: an archive that is open, and how a changed one is written.
//
// A commit plans how every content is to be stored, keeps the frames that are stored like that
// already, makes the others, and writes all of it to a new file: kept frames, new ones, index,
// tail. Each new frame is unpacked and checked before it is written, because for an older revision
// it takes the place of the only other copy.
#include "btkf520/archive/archive.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "btkf520/archive/archivechange.h"
#include "btkf520/archive/archivereader.h"
#include "btkf520/archive/checksum.h"
#include "btkf520/archive/contentframes.h"
#include "btkf520/archive/index.h"
#include "btkf520/archive/plan.h"
#include "btkf520/archive/tail.h"
#include "os/sibling.h"

namespace btkf {
namespace {

using os::FileResult;

constexpr int kReadTries = 3;

TrvsStatus openStatus(FileResult result) {
  switch (result) {
    case FileResult::kDone:
      return TRVS_DONE;
    case FileResult::kMissing:
      return TRVS_NO_ARCHIVE;
    case FileResult::kBusy:
      return TRVS_IN_USE;
    default:
      return TRVS_CANNOT_OPEN;
  }
}

bool isReadable(const std::string& path) {
  os::File file;
  return file.open(path.c_str(), os::File::Access::kRead) == FileResult::kDone;
}

}  // namespace

class Archive::Impl {
 public:
  enum class Purpose { kRead, kUpdate, kMake };

  Impl(Purpose purpose, std::string path, std::unique_ptr<ArchiveReader> reader)
      : purpose_(purpose),
        path_(std::move(path)),
        reader_(std::move(reader)),
        lastContent_(reader_->index().lastContent) {}

  static TrvsStatus open(Purpose purpose, const std::string& path, os::File file,
                         std::unique_ptr<Archive>* archive);

  ArchiveReader& reader() { return *reader_; }

  // The status of `read`, which reads from the file; once more from the one that another machine
  // has put in its place if it can't be read. Contents keep their numbers for good.
  template <typename Read>
  TrvsStatus readAgain(const Read& read) {
    const TrvsStatus status = read(later_ ? *later_ : *reader_);
    return status == TRVS_CANNOT_OPEN && lookAgain() ? read(*later_) : status;
  }

  void boundContents(uint64_t bytes);
  Content put(std::string_view bytes);
  TrvsStatus read(const Content& content, Bytes* bytes);
  TrvsStatus read(const Content& content, const BytesSink& sink);
  TrvsStatus begin(ArchiveModel model, std::unique_ptr<ArchiveChange>* change);
  TrvsStatus commit(ArchiveModel model);

 private:
  // A content that is not in the file yet. The bytes are the caller's.
  struct Pending {
    Content content;
    std::string_view bytes;
  };
  // The bytes of any content, held as long as this is.
  struct Held {
    SharedBytes rebuilt;
    std::string_view view;
  };

  bool lookAgain();
  const Content* known(uint32_t id) const;
  bool knowsAllOf(const ArchiveModel& model) const;
  std::vector<Frame> plannedFrames(const ArchiveModel& model) const;
  void planBranch(const Branch& branch, std::vector<Frame>* frames) const;
  const Frame* storedLike(const Frame& planned) const;
  TrvsStatus copyKept(const std::vector<Frame>& kept, os::SiblingFile* to) const;
  TrvsStatus hold(uint32_t id, Held* held);
  TrvsStatus pack(Frame* frame, Bytes* packed);
  TrvsStatus writeFrames(Index* index, os::SiblingFile* to);
  TrvsStatus writeEnd(const Index& index, os::SiblingFile* to);
  TrvsStatus write(Index* index, ArchiveChange* change);

  Purpose purpose_;
  std::string path_;
  std::unique_ptr<ArchiveReader> reader_;
  std::unique_ptr<ArchiveReader> later_;  // Of the file that has replaced reader_'s; may be null.
  std::unique_ptr<ArchiveReader> next_;   // Of the file as begin() has written it.
  uint32_t lastContent_;
  uint64_t largestContent_ = std::numeric_limits<uint64_t>::max();
  std::map<uint32_t, Pending> pending_;
  std::set<uint32_t> damaged_;  // Contents that could not be rebuilt when a commit needed them.
};

TrvsStatus Archive::Impl::open(Purpose purpose, const std::string& path, os::File file,
                               std::unique_ptr<Archive>* archive) {
  std::unique_ptr<ArchiveReader> reader;
  if (const TrvsStatus status = ArchiveReader::open(std::move(file), &reader)) return status;
  auto impl = std::make_unique<Impl>(purpose, path, std::move(reader));
  archive->reset(new Archive(std::move(impl)));
  return TRVS_DONE;
}

// Opens for reading what is in the file's place now.
bool Archive::Impl::lookAgain() {
  os::File file;
  if (purpose_ != Purpose::kRead ||
      file.open(path_.c_str(), os::File::Access::kRead) != FileResult::kDone ||
      ArchiveReader::open(std::move(file), &later_) != TRVS_DONE) {
    return false;
  }
  later_->boundContents(largestContent_);
  return true;
}

void Archive::Impl::boundContents(uint64_t bytes) {
  largestContent_ = bytes;
  reader_->boundContents(bytes);
}

Content Archive::Impl::put(std::string_view bytes) {
  const Content content{lastContent_ + 1, bytes.size(), checksumOf(bytes)};
  pending_[content.id] = {content, bytes};
  lastContent_ = content.id;
  return content;
}

TrvsStatus Archive::Impl::read(const Content& content, Bytes* bytes) {
  const Content* const found = known(content.id);
  if (found == nullptr || *found != content) return TRVS_NO_REVISION;
  const auto pending = pending_.find(content.id);
  if (pending == pending_.end()) {
    return readAgain([&](ArchiveReader& from) { return from.take(content, bytes); });
  }
  const std::string_view view = pending->second.bytes;
  Bytes copy(view.size());
  view.copy(copy.data(), view.size());
  *bytes = std::move(copy);
  return TRVS_DONE;
}

TrvsStatus Archive::Impl::read(const Content& content, const BytesSink& sink) {
  const Content* const found = known(content.id);
  if (found == nullptr || *found != content) return TRVS_NO_REVISION;
  const auto pending = pending_.find(content.id);
  if (pending == pending_.end()) {
    const TrvsStatus status = (later_ ? *later_ : *reader_).give(content, sink);
    if (status == TRVS_CANNOT_OPEN) lookAgain();  // For the caller, whose sink is spoilt.
    return status;
  }
  return sink(pending->second.bytes) ? TRVS_DONE : TRVS_CANNOT_WRITE;
}

const Content* Archive::Impl::known(uint32_t id) const {
  const auto pending = pending_.find(id);
  if (pending != pending_.end()) return &pending->second.content;
  const ArchiveReader::Stored* const stored = reader_->find(id);
  return stored == nullptr ? nullptr : &stored->content;
}

bool Archive::Impl::knowsAllOf(const ArchiveModel& model) const {
  bool result = true;
  model.forEachRevision([&](const Revision& revision) {
    const Content* const content = known(revision.content.id);
    result = result && content != nullptr && *content == revision.content;
  });
  return result;
}

// The frames that `branch` is to have, from the tip's on. What is damaged stays as it is and
// nobody's parent, so that it is no obstacle to others.
void Archive::Impl::planBranch(const Branch& branch, std::vector<Frame>* frames) const {
  std::vector<Content> contents;
  std::vector<uint32_t> positions;
  for (const Revision& revision : branch.revisions) {
    const ArchiveReader::Stored* const stored = reader_->find(revision.content.id);
    if (damaged_.contains(revision.content.id)) {
      frames->push_back(stored->frame);
      continue;
    }
    const uint32_t next = positions.empty() ? 0 : positions.back() + 1;
    contents.push_back(revision.content);
    positions.push_back(stored == nullptr ? next : std::max(next, stored->frame.position));
  }
  const std::vector<Parents> plan = planParents(positions);
  for (size_t place = contents.size(); place-- > 0;) {
    Frame frame;
    frame.content = contents[place].id;
    frame.position = positions[place];
    uint64_t span = contents[place].length;
    const auto join = [&](size_t parent, uint64_t widest, uint32_t* id) {
      if (parent == Parents::kNoParent || span == 0) return;
      const Content& content = contents[parent];
      if (content.length > widest || span + content.length > widest) return;
      span += content.length;
      *id = content.id;
    };
    join(plan[place].newer, kWidestSpan, &frame.newerParent);
    join(plan[place].older, kWidestPairSpan, &frame.olderParent);
    frames->push_back(frame);
  }
}

std::vector<Frame> Archive::Impl::plannedFrames(const ArchiveModel& model) const {
  std::vector<Frame> frames;
  for (const Branch& branch : model.branches) planBranch(branch, &frames);
  std::set<uint32_t> planned{0};
  for (const Frame& frame : frames) planned.insert(frame.content);
  for (Frame& frame : frames) {
    // Only a damaged content can still want a parent that has been deleted.
    if (!planned.contains(frame.olderParent)) frame.olderParent = 0;
    if (!planned.contains(frame.newerParent)) frame.newerParent = 0;
  }
  return frames;
}

// The frame in the file that can be kept for `planned`, null for none.
const Frame* Archive::Impl::storedLike(const Frame& planned) const {
  const ArchiveReader::Stored* const stored = reader_->find(planned.content);
  if (stored == nullptr) return nullptr;
  const bool isSame = stored->frame.olderParent == planned.olderParent &&
                      stored->frame.newerParent == planned.newerParent;
  return isSame || damaged_.contains(planned.content) ? &stored->frame : nullptr;
}

// Copies the header and frames that are in the file, in their order there.
TrvsStatus Archive::Impl::copyKept(const std::vector<Frame>& kept, os::SiblingFile* to) const {
  if (purpose_ == Purpose::kMake) return writeStatus(to->write(kArchiveHeader));
  uint64_t begin = 0;  // Of a run that is copied as one.
  uint64_t end = kArchiveHeader.size();
  for (const Frame& frame : kept) {
    const uint64_t offset = reader_->find(frame.content)->offset;
    if (offset != end) {
      const TrvsStatus status = writeStatus(to->copy(reader_->file(), begin, end - begin));
      if (status != TRVS_DONE) return status;
      begin = offset;
    }
    end = offset + frame.size;
  }
  return writeStatus(to->copy(reader_->file(), begin, end - begin));
}

TrvsStatus Archive::Impl::hold(uint32_t id, Held* held) {
  const auto pending = pending_.find(id);
  if (pending != pending_.end()) {
    held->view = pending->second.bytes;
    return TRVS_DONE;
  }
  const TrvsStatus status = reader_->read(id, &held->rebuilt);
  if (status == TRVS_DONE) held->view = held->rebuilt->view();
  if (status == TRVS_NOT_AN_ARCHIVE) damaged_.insert(id);
  return status;
}

// Makes the frame that *frame plans, and fills in the rest of it.
TrvsStatus Archive::Impl::pack(Frame* frame, Bytes* packed) {
  Held content;
  Held older;
  Held newer;
  for (const auto& [id, held] :
       {std::pair(frame->content, &content), std::pair(frame->olderParent, &older),
        std::pair(frame->newerParent, &newer)}) {
    const TrvsStatus status = id == 0 ? TRVS_DONE : hold(id, held);
    if (status != TRVS_DONE) return status;
  }
  if (!content.view.empty()) {
    const Prefix prefix(older.view, newer.view);
    const uint64_t checksum = known(frame->content)->checksum;
    std::optional<Bytes> made = reader_->codec().pack(content.view, prefix.view(), checksum);
    if (!made) return TRVS_IN_USE;
    *packed = std::move(*made);
  }
  frame->size = packed->size();
  frame->checksum = static_cast<uint32_t>(checksumOf(packed->view()));
  return TRVS_DONE;
}

// Writes all but the end, and puts the frames of *index in the order of the new file: those that
// are kept, then new ones, the tips last.
TrvsStatus Archive::Impl::writeFrames(Index* index, os::SiblingFile* to) {
  std::vector<Frame> kept;
  std::vector<Frame> made;
  for (Frame& planned : plannedFrames(index->model)) {
    if (const Frame* const stored = storedLike(planned)) {
      planned.size = stored->size;
      planned.checksum = stored->checksum;
      kept.push_back(planned);
    } else {
      made.push_back(planned);
    }
  }
  std::sort(kept.begin(), kept.end(), [this](const Frame& left, const Frame& right) {
    return reader_->find(left.content)->offset < reader_->find(right.content)->offset;
  });
  std::stable_partition(made.begin(), made.end(),
                        [](const Frame& frame) { return frame.newerParent != 0; });
  if (const TrvsStatus status = copyKept(kept, to)) return status;
  index->frames = std::move(kept);
  for (Frame& frame : made) {
    Bytes packed;
    if (const TrvsStatus status = pack(&frame, &packed)) return status;
    if (const TrvsStatus status = writeStatus(to->write(packed.view()))) return status;
    index->frames.push_back(frame);
  }
  return TRVS_DONE;
}

TrvsStatus Archive::Impl::writeEnd(const Index& index, os::SiblingFile* to) {
  const std::string bytes = encodeIndex(index);
  if (bytes.size() > kLargestIndex) return TRVS_NO_MEMORY;
  const std::optional<Bytes> packed = reader_->codec().pack(bytes, {}, checksumOf(bytes));
  if (!packed) return TRVS_INTERNAL_ERROR;
  // What packs better than any reader believes. A reader is asked only where that may be.
  const bool isDense = bytes.size() / packed->size() >= kThingsPerByte;
  if (isDense &&
      (bytes.size() > largestIndex(packed->size()) || !decodeIndex(bytes, packed->size()))) {
    return TRVS_NO_MEMORY;
  }
  const IndexPlace place{static_cast<uint32_t>(packed->size()), static_cast<uint32_t>(bytes.size()),
                         checksumOf(packed->view())};
  if (const TrvsStatus status = writeStatus(to->write(packed->view()))) return status;
  return writeStatus(to->write(encodeTail(index.model, place)));
}

TrvsStatus Archive::Impl::write(Index* index, ArchiveChange* change) {
  os::SiblingFile& file = change->sibling();
  const bool isUpdate = purpose_ == Purpose::kUpdate;  // And then the archive is locked.
  const auto others =
      isUpdate ? os::SiblingFile::Others::kExcluded : os::SiblingFile::Others::kPossible;
  const os::File* const old = isUpdate ? &reader_->file() : nullptr;
  const FileResult opened = isUpdate ? file.open(old->place(), others) : file.open(path_, others);
  if (const TrvsStatus status = writeStatus(opened)) return status;
  if (const TrvsStatus status = writeFrames(index, &file)) return status;
  if (const TrvsStatus status = writeEnd(*index, &file)) return status;
  return writeStatus(file.giveRights(old));
}

TrvsStatus Archive::Impl::begin(ArchiveModel model, std::unique_ptr<ArchiveChange>* change) {
  if (purpose_ == Purpose::kRead || !model.isSound() || !knowsAllOf(model)) return TRVS_MISUSE;
  Index index{std::move(model), {}, lastContent_};
  std::erase_if(index.model.branches, [](const Branch& branch) {
    return branch.revisions.empty() && !branch.number.isTrunk();
  });
  for (;;) {
    const size_t damaged = damaged_.size();
    auto begun = std::make_unique<ArchiveChange>(path_);
    const TrvsStatus status = write(&index, begun.get());
    if (status == TRVS_DONE) {
      next_ = std::make_unique<ArchiveReader>(std::move(index), std::make_unique<FrameCodec>());
      begun->hold(std::move(reader_->file()));
      *change = std::move(begun);
    }
    // A content turned out to be damaged: once more with a plan that leaves it alone.
    if (status == TRVS_DONE || damaged_.size() == damaged) return status;
  }
}

TrvsStatus Archive::Impl::commit(ArchiveModel model) {
  std::unique_ptr<ArchiveChange> change;
  if (const TrvsStatus status = begin(std::move(model), &change)) return status;
  const TrvsStatus status = change->finish();
  if (status == TRVS_DONE) {
    next_->boundContents(largestContent_);
    reader_ = std::move(next_);
    pending_.clear();
    purpose_ = Purpose::kUpdate;
  }
  reader_->file() = change->takeFile();
  return status;
}

Archive::Archive(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Archive::~Archive() = default;

// Looks again where reading fails: another machine may just have replaced the archive.
TrvsStatus Archive::openToRead(const std::string& path, std::unique_ptr<Archive>* archive) {
  TrvsStatus status = TRVS_CANNOT_OPEN;
  for (int tries = 0; tries < kReadTries && status == TRVS_CANNOT_OPEN; ++tries) {
    os::File file;
    status = openStatus(file.open(path.c_str(), os::File::Access::kRead));
    if (status != TRVS_DONE) break;
    status = Impl::open(Impl::Purpose::kRead, path, std::move(file), archive);
  }
  return status;
}

TrvsStatus Archive::openToUpdate(const std::string& path, std::unique_ptr<Archive>* archive) {
  os::File file;
  const FileResult result = file.openLocked(path.c_str());
  if (result == FileResult::kRefused && isReadable(path)) return TRVS_CANNOT_WRITE;
  if (const TrvsStatus status = openStatus(result)) return status;
  if (!file.status().ownerMayWrite) return TRVS_CANNOT_WRITE;  // Root could write it.
  return Impl::open(Impl::Purpose::kUpdate, path, std::move(file), archive);
}

std::unique_ptr<Archive> Archive::forNew(const std::string& path) {
  auto empty = std::make_unique<ArchiveReader>(Index(), std::make_unique<FrameCodec>());
  return std::unique_ptr<Archive>(
      new Archive(std::make_unique<Impl>(Impl::Purpose::kMake, path, std::move(empty))));
}

void Archive::boundContents(uint64_t bytes) { impl_->boundContents(bytes); }
TrvsStatus Archive::checkSize(const Content& content) const {
  return impl_->reader().checkSize(content.id);
}
const ArchiveModel& Archive::model() const { return impl_->reader().index().model; }
TrvsStatus Archive::read(const Content& content, Bytes* bytes) const {
  return impl_->read(content, bytes);
}
TrvsStatus Archive::read(const Content& content, const BytesSink& sink) const {
  return impl_->read(content, sink);
}
Content Archive::put(std::string_view bytes) { return impl_->put(bytes); }
TrvsStatus Archive::begin(ArchiveModel model, std::unique_ptr<ArchiveChange>* change) {
  return impl_->begin(std::move(model), change);
}
TrvsStatus Archive::commit(ArchiveModel model) { return impl_->commit(std::move(model)); }
TrvsStatus Archive::verify(std::vector<Content>* damaged) const {
  return impl_->readAgain([&](ArchiveReader& from) { return from.verify(damaged); });
}

}  // namespace btkf
