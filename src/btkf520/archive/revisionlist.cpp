// btkf520/archive/revisionlist.cpp: revisions as bytes and back, and what they may be.
#include "btkf520/archive/revisionlist.h"

#include <algorithm>

#include "btkf520/archive/indexvalues.h"
#include "btkf520/archive/model.h"

namespace btkf {
namespace {

using archivefile::ByteReader;
using archivefile::ByteWriter;

// No revision takes fewer bytes.
constexpr size_t kLeastRevision = 24;

template <typename Text>
bool isMarked(const RevisionOf<Text>& revision) {
  return !revision.locks.empty() || !revision.promotionGroups.empty();
}

bool standsOn(const Number& revision, const Number& branch) {
  const Number::Components& own = revision.components();
  const Number::Components& its = branch.components();
  if (own.size() == 2) return branch.isTrunk();
  return own.size() == its.size() + 1 && std::equal(its.begin(), its.end(), own.begin());
}

template <typename Text>
bool areSoundLocks(const std::vector<LockOf<Text>>& locks) {
  const bool areGood = std::all_of(locks.begin(), locks.end(), [](const LockOf<Text>& lock) {
    return !lock.user.empty() && isSoundName(lock.user) && isNote(lock.note);
  });
  if (!areGood || locks.size() < 2) return areGood;
  std::vector<std::string_view> users;
  for (const LockOf<Text>& lock : locks) users.push_back(lock.user);
  std::sort(users.begin(), users.end());
  return std::adjacent_find(users.begin(), users.end()) == users.end();
}

template <typename Text>
bool isSoundOn(const RevisionOf<Text>& revision, const Number& branch) {
  return isSoundNumber(revision.number) && revision.number.isRevision() &&
         standsOn(revision.number, branch) && revision.content.id != 0 &&
         isSoundName(revision.author) && isSoundText(revision.changeDescription) &&
         areSoundLocks(revision.locks) && areSoundNames(revision.promotionGroups);
}

void putRevision(ByteWriter* to, const Revision& revision) {
  putNumber(to, revision.number);
  to->putFixed(revision.checkInTime, 4);
  to->putFixed(revision.workfileTime, 4);
  to->put(revision.author);
  to->put(revision.changeDescription);
  to->put(revision.locks.size());
  for (const Lock& lock : revision.locks) {
    to->put(lock.user);
    to->putFixed(lock.time, 4);
    to->put(lock.note);
  }
  putTexts(to, revision.promotionGroups);
  to->put(revision.content.id);
  to->put(revision.content.length);
  to->putFixed(revision.content.checksum, 8);
}

template <typename Text>
void getRevision(ByteReader* from, RevisionOf<Text>* revision) {
  revision->number = getNumber(from);
  revision->checkInTime = static_cast<PackedTime>(from->fixed(4));
  revision->workfileTime = static_cast<PackedTime>(from->fixed(4));
  revision->author = from->view();
  revision->changeDescription = from->view();
  revision->locks.clear();
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    LockOf<Text>& lock = revision->locks.emplace_back();
    lock.user = from->view();
    lock.time = static_cast<PackedTime>(from->fixed(4));
    lock.note = from->view();
  }
  getTexts(from, &revision->promotionGroups);
  revision->content.id = from->number32();
  revision->content.length = from->number();
  revision->content.checksum = from->fixed(8);
}

}  // namespace

RevisionList::Run::Run(const Run& other)
    : isAsRead(other.isAsRead),
      revisions(isAsRead ? nullptr : std::make_unique<Revisions>(*other.revisions)) {}

void RevisionList::make(size_t run) const {
  auto revisions = std::make_unique<Revisions>(sizeOf(run));
  ByteReader from(pieceOf(run).bytes);
  for (Revision& each : *revisions) getRevision(&from, &each);
  runs_[run].revisions = std::move(revisions);
}

Revision& RevisionList::emplace_back() {
  if (size_ % kRun == 0) {
    auto revisions = std::make_unique<Revisions>();
    runs_.emplace_back().revisions = std::move(revisions);
  }
  Revisions& last = changed(runs_.size() - 1);
  last.reserve(kRun);
  Revision& added = last.emplace_back();
  ++size_;
  return added;
}

const Number& RevisionList::firstOf(size_t run) const {
  return isAsRead(run) ? pieceOf(run).first : made(run).front().number;
}

// Where the revision of that number is, if there is one.
size_t RevisionList::placeOf(const Number& number) const {
  size_t begin = 0;  // Of the runs in which it may be.
  for (size_t end = runs_.size(); end - begin > 1;) {
    const size_t middle = begin + (end - begin) / 2;
    (firstOf(middle) <= number ? begin : end) = middle;
  }
  const Revisions& run = made(begin);
  const auto found =
      std::lower_bound(run.begin(), run.end(), number,
                       [](const Revision& each, const Number& to) { return each.number < to; });
  const bool isThere = found != run.end() && found->number == number;
  return isThere ? begin * kRun + static_cast<size_t>(found - run.begin()) : size_;
}

const Revision* RevisionList::find(const Number& number) const {
  const size_t place = empty() ? size_ : placeOf(number);
  return place == size_ ? nullptr : &(*this)[place];
}

Revision* RevisionList::find(const Number& number) {
  const size_t place = empty() ? size_ : placeOf(number);
  return place == size_ ? nullptr : &(*this)[place];
}

SharedContents RevisionList::contents() const {
  if (read_ != nullptr && hasContents({read_, &read_->contents})) return {read_, &read_->contents};
  auto contents = std::make_shared<Contents>();
  contents->reserve(size_);
  for (size_t place = 0; place < size_; ++place) contents->push_back(content(place));
  return contents;
}

bool RevisionList::hasContents(const SharedContents& contents) const {
  if (contents->size() != size_) return false;
  const bool areRead = read_ != nullptr && contents.get() == &read_->contents;
  for (size_t run = 0; run < runs_.size(); ++run) {
    if (areRead && isAsRead(run)) continue;
    for (size_t place = run * kRun; place < run * kRun + sizeOf(run); ++place) {
      if (content(place) != (*contents)[place]) return false;
    }
  }
  return true;
}

// What was read as that of another branch is looked at again.
bool RevisionList::areSoundOn(const Number& branch) const {
  for (size_t run = 0; run < runs_.size(); ++run) {
    if (isAsRead(run) && read_->branch == branch) continue;
    const size_t begin = run * kRun;
    const size_t end = begin + sizeOf(run);
    for (size_t place = begin; place < end; ++place) {
      if (!isSoundOn((*this)[place], branch)) return false;
    }
    for (size_t place = std::max<size_t>(begin, 1); place < std::min(end + 1, size_); ++place) {
      if ((*this)[place - 1].number >= (*this)[place].number) return false;
    }
  }
  return true;
}

void RevisionList::read(ByteReader* from, const Number& branch, const SharedBytes& bytes) {
  const size_t count = from->count();
  auto read = std::make_shared<AsRead>();
  read->bytes = bytes;
  read->branch = branch;
  read->contents.reserve(std::min(count, from->left() / kLeastRevision));
  RevisionOf<std::string_view> each;
  Number last;
  const char* begin = nullptr;  // Of the run.
  const auto here = [from] { return from->raw(0).data(); };
  for (size_t place = 0; place < count; ++place) {
    if (place % kRun == 0) begin = here();
    getRevision(from, &each);
    if (!from->isGood() || !isSoundOn(each, branch) || (place > 0 && last >= each.number)) {
      from->fail();
      return;
    }
    if (place % kRun == 0) read->pieces.push_back({{}, each.number, false});
    Piece& piece = read->pieces.back();
    piece.isMarked = piece.isMarked || isMarked(each);
    read->contents.push_back(each.content);
    std::swap(last, each.number);
    if ((place + 1) % kRun == 0 || place + 1 == count) {
      piece.bytes = {begin, static_cast<size_t>(here() - begin)};
    }
  }
  runs_.clear();
  runs_.resize(read->pieces.size());
  for (Run& run : runs_) run.isAsRead = true;
  size_ = count;
  read_ = std::move(read);
}

void RevisionList::write(ByteWriter* to) const {
  to->put(size_);
  for (size_t run = 0; run < runs_.size(); ++run) {
    if (isAsRead(run)) {
      to->putRaw(pieceOf(run).bytes);
    } else {
      for (const Revision& each : made(run)) putRevision(to, each);
    }
  }
}

size_t RevisionList::usualSize() const {
  size_t size = 0;
  for (size_t run = 0; run < runs_.size(); ++run) {
    if (isAsRead(run)) {
      size += pieceOf(run).bytes.size();
    } else {
      for (const Revision& each : made(run)) {
        size += 48 + each.author.size() + each.changeDescription.size();
      }
    }
  }
  return size;
}

bool RevisionList::operator==(const RevisionList& other) const {
  if (size_ != other.size_) return false;
  for (size_t place = 0; place < size_; ++place) {
    if ((*this)[place] != other[place]) return false;
  }
  return true;
}

}  // namespace btkf
