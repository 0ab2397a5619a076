// btkf520/archive/archive.cpp: an archive that is open, and how a changed one is written.
//
// A commit plans how every content is to be stored, keeps the frames that are stored like that
// already, and makes the others. Then it adds a part to the file: new frames, index, tail; or,
// where too much of the file would count no longer, it writes all of it to a new one: kept frames,
// new ones, index, tail. Each new frame is unpacked and checked before it is written, because for
// an older revision it takes the place of the only other copy.
#include "btkf520/archive/archive.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "archivefile/parts.h"
#include "btkf520/archive/archivechange.h"
#include "btkf520/archive/archivereader.h"
#include "btkf520/archive/contentframes.h"
#include "btkf520/archive/index.h"
#include "btkf520/archive/plan.h"
#include "btkf520/archive/tail.h"
#include "os/sibling.h"

namespace btkf {
namespace {

using archivefile::EndRecord;
using os::FileResult;

// A file may grow by a part as long as what counts no longer is at most this part of the rest, or,
// if the part holds no content, so few bytes.
constexpr uint64_t kDeadRatio = 4;
constexpr uint64_t kFewBytes = 4096;
// Where no new file can be made, it may grow as long as that is at most so many times the rest.
constexpr uint64_t kMostDead = 3;
// Below this a file with a new content is written anew, which takes hardly more time.
constexpr uint64_t kWideFile = 1 << 20;
// An index is packed against the last full one as long as that makes it shorter by this factor; and
// a wide one by a larger factor: else every change takes in again what changed since then.
constexpr size_t kDeltaRatio = 4;
constexpr size_t kWideDelta = 4 << 10;
constexpr size_t kWideDeltaRatio = 32;
// One that is packed against a full index that is narrower than that hardly ever pays.
constexpr uint32_t kNarrowIndex = 256;
// A full index as wide as that takes longer to pack than to copy into a new file.
constexpr uint32_t kWideIndex = 32 << 10;

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

// How wide an index may be that is packed against one of that size.
size_t mostDelta(size_t full) {
  return std::min(full / kDeltaRatio, std::max(kWideDelta, full / kWideDeltaRatio));
}

bool isReadable(const std::string& path) {
  os::File file;
  return file.open(path.c_str(), os::File::Access::kRead) == FileResult::kDone;
}

// How many bytes of a file count, and how many don't.
struct Use {
  uint64_t live = 0;
  uint64_t dead = 0;
};

Use useOf(const Frames& frames, uint64_t indexSize, uint64_t fileSize) {
  uint64_t live = archivefile::kHeader.size() + indexSize;
  for (const Frame& frame : frames) live += frame.size;
  return {live, fileSize > live ? fileSize - live : 0};
}

// Only a damaged content can still want a parent that has been deleted.
void dropLostParents(Frames* frames) {
  std::set<uint32_t> planned{0};
  for (const Frame& frame : *frames) planned.insert(frame.content);
  for (Frame& frame : *frames) {
    if (!planned.contains(frame.olderParent)) frame.olderParent = 0;
    if (!planned.contains(frame.newerParent)) frame.newerParent = 0;
  }
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
  static TrvsStatus openReader(const std::string& path, std::unique_ptr<ArchiveReader>* reader);

  ArchiveReader& reader() { return *reader_; }

  // The status of `read`, which reads from the file; again from the one that another machine has
  // put in its place if it can't be read. Contents keep their numbers for good.
  template <typename Read>
  TrvsStatus readAgain(const Read& read) {
    TrvsStatus status = read(latest());
    for (int tries = 1; tries < kReadTries && lookAgain(status); ++tries) status = read(*later_);
    return status;
  }

  void boundContents(uint64_t bytes);
  Content put(std::string_view bytes);
  TrvsStatus read(const Content& content, Bytes* bytes);
  TrvsStatus read(const Content& content, const BytesSink& sink);
  TrvsStatus begin(ArchiveModel model, std::unique_ptr<ArchiveChange>* change);
  TrvsStatus commit(ArchiveModel model);
  TrvsStatus verify(std::vector<Content>* damaged);
  const ArchiveReader::Cut& cut() const { return cut_; }

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

  // How the contents of a model are to be stored.
  struct Plan {
    Frames kept;           // In the order of their offsets, as all frames of an index.
    Frames made;           // The tips last.
    bool hasLost = false;  // Contents that are stored now.
  };

  ArchiveReader& latest() { return later_ ? *later_ : *reader_; }
  bool lookAgain(TrvsStatus status);
  const Content* known(uint32_t id) const;
  bool knowsAllOf(const Contents& contents, const ArchiveReader::Line* line) const;
  bool plan(const ArchiveModel& model, Plan* plan) const;
  void planBranch(const Contents& of, Frames* frames) const;
  bool isKept(const Frame& planned, const Frame& stored) const;
  bool isAppendable() const;
  bool isToBeAppended(const Plan& plan) const;
  TrvsStatus copyKept(Frames* kept, ArchiveChange* to) const;
  TrvsStatus hold(uint32_t id, Held* held);
  void findDamaged(const ArchiveModel& model);
  TrvsStatus pack(Frame* frame, Bytes* packed);
  TrvsStatus writeFrames(Plan plan, Index* index, ArchiveChange* to);
  TrvsStatus packIndex(std::string_view bytes, ArchiveChange* to, EndRecord* record, Bytes* packed);
  TrvsStatus writeEnd(const Index& index, ArchiveChange* to);
  TrvsStatus append(Plan plan, Index* index, ArchiveChange* to);
  TrvsStatus rewrite(const Plan& plan, Index* index, ArchiveChange* to, bool* isRefused);
  bool isUnchanged(const Plan& plan, Index* index) const;
  TrvsStatus write(Index* index, std::unique_ptr<ArchiveChange>* change);

  Purpose purpose_;
  std::string path_;
  std::unique_ptr<ArchiveReader> reader_;
  std::unique_ptr<ArchiveReader> later_;  // Of the file that has replaced reader_'s; may be null.
  std::unique_ptr<ArchiveReader> next_;   // Of the file as begin() has written it.
  ArchiveReader::Cut cut_;
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

// Looks again where reading fails: another machine may just have replaced the archive, or a writer
// have taken back what it had added.
TrvsStatus Archive::Impl::openReader(const std::string& path,
                                     std::unique_ptr<ArchiveReader>* reader) {
  TrvsStatus status = TRVS_CANNOT_OPEN;
  for (int tries = 0; tries < kReadTries && status == TRVS_CANNOT_OPEN; ++tries) {
    os::File file;
    status = openStatus(file.open(path.c_str(), os::File::Access::kRead));
    if (status != TRVS_DONE) break;
    status = ArchiveReader::open(std::move(file), reader);
  }
  return status;
}

// After a reading failed: opens what is in the file's place now. A damage is believed if nothing
// was changed since the file was opened: a part that another writer took back may have been read.
bool Archive::Impl::lookAgain(TrvsStatus status) {
  const bool mayHelp = status == TRVS_CANNOT_OPEN || status == TRVS_NOT_AN_ARCHIVE;
  std::unique_ptr<ArchiveReader> now;
  if (purpose_ != Purpose::kRead || !mayHelp || openReader(path_, &now) != TRVS_DONE) return false;
  if (status == TRVS_NOT_AN_ARCHIVE && now->file().status() == latest().file().status()) {
    return false;
  }
  later_ = std::move(now);
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
    const TrvsStatus status = latest().give(content, sink);
    return lookAgain(status) ? TRVS_CANNOT_OPEN : status;  // The caller's sink is spoilt.
  }
  return sink(pending->second.bytes) ? TRVS_DONE : TRVS_CANNOT_WRITE;
}

const Content* Archive::Impl::known(uint32_t id) const {
  const auto pending = pending_.find(id);
  if (pending != pending_.end()) return &pending->second.content;
  const ArchiveReader::Stored* const stored = reader_->find(id);
  return stored == nullptr ? nullptr : &stored->content;
}

// `line` is of the same branch, or null. What it has at the beginning it most likely still has.
bool Archive::Impl::knowsAllOf(const Contents& contents, const ArchiveReader::Line* line) const {
  auto begin = contents.begin();
  if (line != nullptr) {
    begin =
        std::mismatch(begin, contents.end(), line->contents->begin(), line->contents->end()).first;
  }
  return std::all_of(begin, contents.end(), [&](const Content& each) {
    const Content* const content = known(each.id);
    return content != nullptr && *content == each;
  });
}

// The frames that a branch of these contents is to have, from the tip's on. What is damaged stays
// as it is and nobody's parent, so that it is no obstacle to others.
void Archive::Impl::planBranch(const Contents& of, Frames* frames) const {
  std::vector<Content> contents;
  std::vector<uint32_t> positions;
  for (const Content& content : of) {
    const ArchiveReader::Stored* const stored = reader_->find(content.id);
    if (damaged_.contains(content.id)) {
      frames->push_back(stored->frame);
      continue;
    }
    const uint32_t next = positions.empty() ? 0 : positions.back() + 1;
    contents.push_back(content);
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

// False if `model` uses a content that is not there. Only branches with other contents than before
// are planned anew.
bool Archive::Impl::plan(const ArchiveModel& model, Plan* plan) const {
  const Frames& old = reader_->index().frames;
  const std::vector<ArchiveReader::Line>& lines = reader_->lines();
  Frames planned;
  std::vector<const Branch*> same;
  auto line = lines.begin();  // Branches and lines ascend by number.
  for (const Branch& branch : model.branches) {
    while (line != lines.end() && line->branch < branch.number) ++line;
    const bool isOld = line != lines.end() && line->branch == branch.number;
    if (isOld && branch.revisions.hasContents(line->contents)) {
      same.push_back(&branch);
      continue;
    }
    const SharedContents contents = branch.revisions.contents();
    if (!knowsAllOf(*contents, isOld ? &*line : nullptr)) return false;
    planBranch(*contents, &planned);
  }
  if (planned.empty() && same.size() == lines.size()) {
    plan->kept = old;
    return true;
  }
  if (!damaged_.empty()) dropLostParents(&planned);
  size_t count = 0;         // Of those that are stored now.
  Frames kept(old.size());  // All in their places. One that isn't kept has no content.
  for (const Branch* branch : same) {
    count += branch->revisions.size();
    for (size_t place = 0; place < branch->revisions.size(); ++place) {
      const ArchiveReader::Stored& stored = *reader_->find(branch->revisions.content(place).id);
      kept[reader_->placeOf(stored)] = stored.frame;
    }
  }
  for (Frame& frame : planned) {
    const ArchiveReader::Stored* const stored = reader_->find(frame.content);
    count += stored != nullptr;
    if (stored == nullptr || !isKept(frame, stored->frame)) {
      plan->made.push_back(frame);
      continue;
    }
    frame.offset = stored->frame.offset;
    frame.size = stored->frame.size;
    frame.checksum = stored->frame.checksum;
    kept[reader_->placeOf(*stored)] = frame;
  }
  plan->hasLost = count != old.size();
  std::erase_if(kept, [](const Frame& frame) { return frame.content == 0; });
  plan->kept = std::move(kept);
  std::stable_partition(plan->made.begin(), plan->made.end(),
                        [](const Frame& frame) { return frame.newerParent != 0; });
  return true;
}

// Whether the frame in the file will do for `planned`.
bool Archive::Impl::isKept(const Frame& planned, const Frame& stored) const {
  const bool isSame =
      stored.olderParent == planned.olderParent && stored.newerParent == planned.newerParent;
  return isSame || damaged_.contains(planned.content);
}

bool Archive::Impl::isAppendable() const {
  return purpose_ == Purpose::kUpdate && reader_->end().record.part + 1 < archivefile::kMostParts;
}

// Whether so little of the file would count no longer that it may grow. What was deleted is to be
// gone.
bool Archive::Impl::isToBeAppended(const Plan& plan) const {
  if (!isAppendable() || plan.hasLost) return false;
  const auto [live, dead] =
      useOf(plan.kept, reader_->fullIndex().storedSize, reader_->end().offset);
  if (plan.made.empty()) return dead <= std::max(live / kDeadRatio, kFewBytes);
  return live >= kWideFile && dead <= live / kDeadRatio;
}

// Copies frames that are in the file, runs of them at once, and tells where they are then.
TrvsStatus Archive::Impl::copyKept(Frames* kept, ArchiveChange* to) const {
  uint64_t begin = 0;  // Of a run.
  uint64_t end = 0;
  const auto copyRun = [&] { return writeStatus(to->copy(reader_->file(), begin, end - begin)); };
  for (Frame& frame : *kept) {
    if (frame.offset != end) {
      if (const TrvsStatus status = copyRun()) return status;
      begin = frame.offset;
    }
    end = frame.end();
    frame.offset = to->size() + (frame.offset - begin);
  }
  return copyRun();
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

void Archive::Impl::findDamaged(const ArchiveModel& model) {
  model.forEachRevision([this](const Revision& revision) {
    const uint32_t id = revision.content.id;
    if (pending_.contains(id) || damaged_.contains(id)) return;
    Held held;
    static_cast<void>(hold(id, &held));
  });
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

// Writes the frames of *index in the order of the file: those that are kept, then new ones.
TrvsStatus Archive::Impl::writeFrames(Plan plan, Index* index, ArchiveChange* to) {
  if (!to->isAppended()) {
    if (const TrvsStatus status = copyKept(&plan.kept, to)) return status;
  }
  index->frames = std::move(plan.kept);
  for (Frame& frame : plan.made) {
    Bytes packed;
    if (const TrvsStatus status = pack(&frame, &packed)) return status;
    frame.offset = to->size();
    if (const TrvsStatus status = writeStatus(to->write(packed.view()))) return status;
    index->frames.push_back(frame);
  }
  return TRVS_DONE;
}

// Against the last full index, as long as that saves much; else as a full one.
TrvsStatus Archive::Impl::packIndex(std::string_view bytes, ArchiveChange* to, EndRecord* record,
                                    Bytes* packed) {
  const uint64_t checksum = checksumOf(bytes);
  std::optional<Bytes> made;
  const uint32_t fullSize = reader_->fullIndex().storedSize;
  // What has grown much must do as a full one: the next rewrite may have no other.
  const bool hasGrown = bytes.size() > reader_->fullIndex().size + kWideIndex;
  if (!hasGrown && fullSize >= (to->isAppended() ? kNarrowIndex : kWideIndex)) {
    std::string_view full;
    if (const TrvsStatus status = reader_->readFullIndex(&full)) return status;
    record->full = reader_->fullIndex();
    made = reader_->codec().pack(bytes, full, checksum);
    if (made && made->size() > mostDelta(fullSize)) made.reset();
    if (made && !to->isAppended()) {
      const uint64_t offset = std::exchange(record->full.offset, to->size());
      const FileResult copied = to->copy(reader_->file(), offset, fullSize);
      if (copied != FileResult::kDone) return writeStatus(copied);
    }
  }
  if (!made) {
    record->full = {};
    made = reader_->codec().pack(bytes, {}, checksum);
  }
  if (!made) return TRVS_INTERNAL_ERROR;
  *packed = std::move(*made);
  record->index = {0, static_cast<uint32_t>(packed->size()), static_cast<uint32_t>(bytes.size()),
                   checksumOf(packed->view())};
  return TRVS_DONE;
}

// Whether contents and their places on a branch have numbers that a reader takes.
bool isNumbered(const Index& index) {
  return index.lastContent <= INT32_MAX &&
         std::all_of(index.frames.begin(), index.frames.end(),
                     [](const Frame& frame) { return frame.position <= INT32_MAX; });
}

TrvsStatus Archive::Impl::writeEnd(const Index& index, ArchiveChange* to) {
  const std::string bytes = encodeIndex(index);
  if (!isNumbered(index) || bytes.size() > kLargestIndex) return TRVS_LIMIT;
  if (to->isAppended() && reader_->isIndex(bytes)) {
    to->leaveAsItIs();
    return TRVS_DONE;
  }
  EndRecord record;
  Bytes packed;
  if (const TrvsStatus status = packIndex(bytes, to, &record, &packed)) return status;
  // What packs better than any reader believes. A reader is asked only where that may be.
  const size_t stored = packed.size() + record.full.storedSize;
  const bool isDense = bytes.size() / stored >= kThingsPerByte;
  if (isDense && (bytes.size() > largestIndex(stored) || !decodeIndex(bytes, stored))) {
    return TRVS_LIMIT;
  }
  if (const TrvsStatus status = writeStatus(to->write(packed.view()))) return status;
  return writeStatus(to->end(encodeRecords(index.model), record));
}

TrvsStatus Archive::Impl::append(Plan plan, Index* index, ArchiveChange* to) {
  to->beginPart(reader_->file(), reader_->end());
  const TrvsStatus status = writeFrames(std::move(plan), index, to);
  return status == TRVS_DONE ? writeEnd(*index, to) : status;
}

// *isRefused: nothing may be written beside the file, or not with its rights.
TrvsStatus Archive::Impl::rewrite(const Plan& plan, Index* index, ArchiveChange* to,
                                  bool* isRefused) {
  const os::File* const old = purpose_ == Purpose::kUpdate ? &reader_->file() : nullptr;
  FileResult result = to->beginFile(old);
  // Of a wide file that is known before all of it is written in vain.
  const bool isWide = old != nullptr && old->size() >= kWideFile;
  if (result == FileResult::kDone && isWide) result = to->giveRights(old);
  if (result == FileResult::kDone) {
    if (const TrvsStatus status = writeFrames(plan, index, to)) return status;
    if (const TrvsStatus status = writeEnd(*index, to)) return status;
    result = to->giveRights(old);
  }
  *isRefused = result == FileResult::kRefused;
  return writeStatus(result);
}

// Whether the file says all that already.
bool Archive::Impl::isUnchanged(const Plan& plan, Index* index) const {
  if (purpose_ != Purpose::kUpdate || !plan.made.empty() || plan.hasLost) return false;
  index->frames = plan.kept;
  return reader_->isIndex(encodeIndex(*index));
}

TrvsStatus Archive::Impl::write(Index* index, std::unique_ptr<ArchiveChange>* change) {
  Plan plan;
  if (!this->plan(index->model, &plan)) return TRVS_MISUSE;
  *change = std::make_unique<ArchiveChange>(path_);
  if (isToBeAppended(plan)) return append(std::move(plan), index, change->get());
  if (isUnchanged(plan, index)) {
    (*change)->beginPart(reader_->file(), reader_->end());
    (*change)->leaveAsItIs();
    return TRVS_DONE;
  }
  bool isRefused = false;
  TrvsStatus status = rewrite(plan, index, change->get(), &isRefused);
  if (!isRefused || purpose_ != Purpose::kUpdate) return status;
  if (!isAppendable()) return TRVS_NEEDS_REWRITE;
  *change = std::make_unique<ArchiveChange>(path_);
  status = append(std::move(plan), index, change->get());
  if (status != TRVS_DONE) return status;
  const archivefile::End& end = (*change)->ended();
  const auto [live, dead] = useOf(index->frames, end.record.index.storedSize, end.offset);
  return dead > std::max(live * kMostDead, kWideFile) ? TRVS_NEEDS_REWRITE : TRVS_DONE;
}

TrvsStatus Archive::Impl::begin(ArchiveModel model, std::unique_ptr<ArchiveChange>* change) {
  if (purpose_ == Purpose::kRead) return TRVS_MISUSE;
  if (!model.isSound()) return model.hasLongText() ? TRVS_LIMIT : TRVS_MISUSE;
  if (purpose_ == Purpose::kUpdate) {
    if (const TrvsStatus status = reader_->cutTornEnd(&cut_)) return status;
  }
  Index index{std::move(model), {}, lastContent_};
  std::erase_if(index.model.branches, [](const Branch& branch) {
    return branch.revisions.empty() && !branch.number.isTrunk();
  });
  for (;;) {
    const size_t damaged = damaged_.size();
    std::unique_ptr<ArchiveChange> begun;
    const TrvsStatus status = write(&index, &begun);
    if (status == TRVS_DONE) {
      next_ = std::make_unique<ArchiveReader>(std::move(index), begun->ended(),
                                              std::make_unique<FrameCodec>());
      begun->hold(std::move(reader_->file()));
      *change = std::move(begun);
    }
    // A content turned out to be damaged: once more with a plan that leaves alone all that are.
    // Whoever damages many must not have the work begun anew for each.
    if (status == TRVS_DONE || damaged_.size() == damaged) return status;
    findDamaged(index.model);
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

TrvsStatus Archive::Impl::verify(std::vector<Content>* damaged) {
  return readAgain([&](ArchiveReader& from) {
    const TrvsStatus status = from.verify(damaged);
    const bool isTorn = status == TRVS_DONE && from.hasTornEnd(purpose_ == Purpose::kRead);
    return isTorn ? TRVS_TORN_END : status;
  });
}

Archive::Archive(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Archive::~Archive() = default;

TrvsStatus Archive::openToRead(const std::string& path, std::unique_ptr<Archive>* archive) {
  std::unique_ptr<ArchiveReader> reader;
  if (const TrvsStatus status = Impl::openReader(path, &reader)) return status;
  archive->reset(
      new Archive(std::make_unique<Impl>(Impl::Purpose::kRead, path, std::move(reader))));
  return TRVS_DONE;
}

TrvsStatus Archive::openToUpdate(const std::string& path, std::unique_ptr<Archive>* archive) {
  os::File file;
  const FileResult result = file.openLocked(path.c_str());
  if (result == FileResult::kRefused && isReadable(path)) return TRVS_CANNOT_WRITE;
  if (const TrvsStatus status = openStatus(result)) return status;
  if (!file.status().ownerMayWrite) return TRVS_CANNOT_WRITE;  // Root could write it.
  return Impl::open(Impl::Purpose::kUpdate, path, std::move(file), archive);
}

TrvsStatus Archive::openHeld(const std::string& path, os::File file,
                             std::unique_ptr<Archive>* archive) {
  return Impl::open(Impl::Purpose::kUpdate, path, std::move(file), archive);
}

std::unique_ptr<Archive> Archive::forNew(const std::string& path) {
  auto empty =
      std::make_unique<ArchiveReader>(Index(), archivefile::End(), std::make_unique<FrameCodec>());
  return std::unique_ptr<Archive>(
      new Archive(std::make_unique<Impl>(Impl::Purpose::kMake, path, std::move(empty))));
}

void Archive::boundContents(uint64_t bytes) { impl_->boundContents(bytes); }
TrvsStatus Archive::checkSize(const Content& content) const {
  return impl_->reader().checkSize(content.id);
}
ArchiveModel Archive::takeModel() { return impl_->reader().takeModel(); }
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
TrvsStatus Archive::verify(std::vector<Content>* damaged) const { return impl_->verify(damaged); }
Archive::Extent Archive::extent() const {
  return {impl_->reader().file().size(), impl_->reader().end().offset};
}
Archive::Extent Archive::extentOfDamaged(const std::string& path) {
  os::File file;
  archivefile::End end;
  if (file.open(path.c_str(), os::File::Access::kRead) != FileResult::kDone) return {};
  const archivefile::LastBytes bytes(file, nullptr, 0);
  if (archivefile::findEnd(bytes, &end) != archivefile::Found::kDamaged) return {};
  return {file.size(), end.offset};
}
const std::string& Archive::cutName() const { return impl_->cut().name; }
bool Archive::isCutKept() const { return impl_->cut().isKept; }

}  // namespace btkf
