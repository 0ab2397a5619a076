// core/largechains.cpp: an index to every entry, and the counts that give its place in its chain.
//
// Its test is hash_test.cpp, which compares the whole table with linked chains.
#include "core/largechains.h"

#include <algorithm>
#include <new>
#include <utility>

#include "core/prefetch.h"

namespace foldapi {

// TagIndex ----------------------------------------------------------------------------------------

TagIndex::TagIndex(size_t expected) {
  while (4 * expected > 3 * (size_t{1} << bits_)) ++bits_;
  slots_.resize(size_t{1} << bits_);
}

void TagIndex::makeRoom() {
  if (4 * (count_ + 1) <= 3 * slots_.size()) return;
  std::vector<Slot> old(slots_.size() * 2);
  old.swap(slots_);
  ++bits_;
  for (const Slot& slot : old) {
    if (slot.chain != kFree) place(slot);
  }
}

void TagIndex::insert(const Slot& slot) {
  place(slot);
  ++count_;
}

void TagIndex::place(const Slot& slot) {
  size_t index = home(slot.tag);
  while (!isFree(index)) index = after(index);
  slots_[index] = slot;
}

// Closes the gap with later slots that may stand there, so that no run is cut.
void TagIndex::erase(size_t index) {
  const size_t mask = slots_.size() - 1;
  for (size_t from = after(index); !isFree(from); from = after(from)) {
    const size_t distanceHome = (from - home(slots_[from].tag)) & mask;
    if (distanceHome < ((from - index) & mask)) continue;
    slots_[index] = slots_[from];
    index = from;
  }
  slots_[index] = Slot();
  --count_;
}

size_t TagIndex::indexOf(uint32_t tag, uint32_t chain, uint32_t ordinal) const {
  size_t index = home(tag);
  while (slots_[index].chain != chain || slots_[index].ordinal != ordinal) index = after(index);
  return index;
}

// TagSet ------------------------------------------------------------------------------------------

TagSet::TagSet(size_t expected) {
  while (4 * (expected + 1) > 3 * (size_t{1} << bits_)) ++bits_;
  kept_.resize(size_t{1} << bits_);
}

// Where the tag stands, or would.
size_t TagSet::indexOf(uint32_t tag) const {
  const uint16_t kept = keptOf(tag);
  size_t index = home(tag);
  while (kept_[index] != kFree && kept_[index] != kept) index = (index + 1) & (kept_.size() - 1);
  return index;
}

void TagSet::insert(uint32_t tag) {
  uint16_t& place = kept_[indexOf(tag)];
  if (place == kFree) ++count_;
  place = keptOf(tag);
}

// RemovalCounts -----------------------------------------------------------------------------------

void RemovalCounts::change(uint32_t ordinal, int by) {
  for (size_t i = size_t{ordinal} + 1; i <= sums_.size(); i += i & (~i + 1)) {
    sums_[i - 1] += static_cast<uint32_t>(by);
  }
}

uint32_t RemovalCounts::before(uint32_t ordinal) const {
  uint32_t sum = 0;
  for (size_t i = std::min<size_t>(ordinal, size()); i != 0; i &= i - 1) sum += sums_[i - 1];
  return sum;
}

void RemovalCounts::clear() { std::fill(sums_.begin(), sums_.end(), 0); }

// Chain -------------------------------------------------------------------------------------------

uint32_t Chain::append(const ChainEntry& entry) {
  if (entries_.size() == gaps_.size()) grow();
  entries_.push_back(entry);
  ++live_;
  return static_cast<uint32_t>(entries_.size() - 1);
}

void Chain::grow() {
  constexpr size_t kFirstRoom = 4;
  const size_t room = std::max(kFirstRoom, 2 * entries_.size());
  RemovalCounts larger(room);
  entries_.reserve(room);
  gaps_ = std::move(larger);
  if (!std::exchange(hasGaps_, false)) return;
  for (uint32_t i = first_; i < entries_.size(); ++i) {
    if (entries_[i].value == nullptr) countGap(i);
  }
}

void Chain::countGap(uint32_t ordinal) {
  gaps_.change(ordinal, 1);
  hasGaps_ = true;
}

uint32_t Chain::position(uint32_t ordinal) const {
  const uint32_t distance = ordinal - first_;
  if (!hasGaps_) return distance;
  return distance - (gaps_.before(ordinal) - gaps_.before(first_));
}

void Chain::remove(uint32_t ordinal) {
  entries_[ordinal].value = nullptr;
  --live_;
  if (ordinal != first_ && ordinal + 1 != entries_.size()) {
    countGap(ordinal);
  } else {
    trimEnds();
  }
}

// An entry removed at an end is not counted, but what was counted may come to stand at an end. At
// the back the number will be given again, so its count is dropped.
void Chain::trimEnds() {
  if (live_ == 0) {
    *this = Chain();
    return;
  }
  while (entries_[first_].value == nullptr) ++first_;
  if (entries_.back().value != nullptr) return;
  entries_.pop_back();
  while (entries_.back().value == nullptr) {
    gaps_.change(static_cast<uint32_t>(entries_.size() - 1), -1);
    entries_.pop_back();
  }
}

bool Chain::settle(uint32_t* ordinal) const {
  uint32_t at = std::max(*ordinal, first_);
  while (at < entries_.size() && entries_[at].value == nullptr) ++at;
  if (at + kRoundsAhead < entries_.size()) prefetchObject(entries_[at + kRoundsAhead].value);
  *ordinal = at;
  return at < entries_.size();
}

void Chain::forEach(const std::function<void(const ChainEntry&)>& visit) const {
  for (size_t i = first_; i < entries_.size(); ++i) {
    if (entries_[i].value != nullptr) visit(entries_[i]);
  }
}

template <typename Moved>
void Chain::compact(Moved moved) {
  uint32_t kept = 0;
  for (uint32_t i = first_; i < entries_.size(); ++i) {
    if (entries_[i].value == nullptr) continue;
    entries_[kept] = entries_[i];
    moved(entries_[kept], i, kept);
    ++kept;
  }
  entries_.resize(kept);
  first_ = 0;
  gaps_.clear();
  hasGaps_ = false;
}

// BucketPages -------------------------------------------------------------------------------------

BucketPages::BucketPages(int32_t bucketCount)
    : pages_((static_cast<size_t>(bucketCount) + kPageSize - 1) / kPageSize) {}

uint32_t BucketPages::chainOf(int32_t bucket) const {
  const auto index = static_cast<size_t>(bucket);
  const Page* page = pages_[index / kPageSize].get();
  return page == nullptr ? kNone : (*page)[index % kPageSize];
}

uint32_t& BucketPages::chainAt(int32_t bucket) {
  const auto index = static_cast<size_t>(bucket);
  std::unique_ptr<Page>& page = pages_[index / kPageSize];
  if (page == nullptr) {
    page = std::make_unique<Page>();
    page->fill(kNone);
  }
  return (*page)[index % kPageSize];
}

int32_t BucketPages::nextUsed(int32_t from) const {
  auto index = static_cast<size_t>(from);
  while (index / kPageSize < pages_.size()) {
    const Page* page = pages_[index / kPageSize].get();
    if (page == nullptr) {
      index = (index / kPageSize + 1) * kPageSize;
    } else if ((*page)[index % kPageSize] == kNone) {
      ++index;
    } else {
      return static_cast<int32_t>(index);
    }
  }
  return -1;
}

// LargeChains -------------------------------------------------------------------------------------

uint32_t LargeChains::chainLength(int32_t bucket) const {
  const uint32_t number = buckets_.chainOf(bucket);
  return number == BucketPages::kNone ? 0 : chains_[number].length();
}

template <typename Visit>
void LargeChains::forEachPlace(Visit visit) const {
  for (uint32_t number = 0; number < chains_.size(); ++number) {
    const Chain& chain = chains_[number];
    for (uint32_t i = chain.first(); i < chain.end(); ++i) {
      if (chain[i].value != nullptr) visit(chain[i].tag, number, i);
    }
  }
}

// False if there is no memory for it, as the next: what it lacked would be taken for absent.
bool LargeChains::makeTags(size_t expected) const {
  try {
    tags_ = std::make_unique<TagSet>(expected);
  } catch (const std::bad_alloc&) {
    tags_.reset();
    return false;
  }
  forEachPlace([&](uint32_t tag, uint32_t, uint32_t) { tags_->insert(tag); });
  return true;
}

bool LargeChains::makeIndex() const {
  if (index_ != nullptr) return true;
  walked_ = 0;
  try {
    index_ = std::make_unique<TagIndex>(size_ + 1);
  } catch (const std::bad_alloc&) {
    return false;
  }
  tags_.reset();
  forEachPlace([&](uint32_t tag, uint32_t number, uint32_t ordinal) {
    index_->insert({tag, number, ordinal});
  });
  return true;
}

void LargeChains::addTag(uint32_t tag) {
  if (tags_ == nullptr || (tags_->isFull() && !makeTags(2 * size_ + 1))) return;
  tags_->insert(tag);
}

// Whether walks along chains, with one along this, have taken as long as making the index does.
bool LargeChains::isOverdue(const Chain& chain) const {
  constexpr size_t kStepsForEntry = 8;
  walked_ += chain.length();
  return walked_ > kStepsForEntry * size_;
}

void LargeChains::prefetchTag(uint32_t tag) const {
  if (tags_ != nullptr) prefetch(tags_->placeNear(tag));
}

ChainPlace LargeChains::locate(const ChainKey& key) const {
  ChainPlace place;
  place.bucket = key.bucket;
  const uint32_t number = buckets_.chainOf(key.bucket);
  if (number == BucketPages::kNone || chains_[number].length() == 0) return place;
  const Chain& chain = chains_[number];
  const auto isAt = [&](uint32_t i) {
    return chain[i].value != nullptr && chain[i].tag == key.tag && key.matches(chain[i].value);
  };
  const bool isFirst = index_ == nullptr && key.identical && isAt(chain.first());
  if (!isFirst && index_ == nullptr && (tags_ != nullptr || makeTags(size_)) &&
      !tags_->contains(key.tag)) {
    place.position = chain.length();
    return place;
  }
  if (isFirst || (index_ == nullptr && !isOverdue(chain)) || !makeIndex()) {
    place.ordinal = chain.first();
    while (place.ordinal < chain.end() && !isAt(place.ordinal)) ++place.ordinal;
    place.found = place.ordinal < chain.end();
  } else {
    locateByTag(key, number, &place);
  }
  place.position = place.found ? chain.position(place.ordinal) : chain.length();
  return place;
}

// Several entries may have one tag, and all of them if a class gives no fingerprint: the first in
// the chain counts.
void LargeChains::locateByTag(const ChainKey& key, uint32_t number, ChainPlace* place) const {
  const Chain& chain = chains_[number];
  for (size_t i = index_->home(key.tag); !index_->isFree(i); i = index_->after(i)) {
    const TagIndex::Slot& slot = (*index_)[i];
    if (slot.tag != key.tag || slot.chain != number) continue;
    if (place->found && slot.ordinal > place->ordinal) continue;
    if (!key.matches(chain[slot.ordinal].value)) continue;
    place->found = true;
    place->ordinal = slot.ordinal;
  }
}

// Where memory is short, no chain has an entry that the index doesn't know.
void LargeChains::append(int32_t bucket, const ChainEntry& entry) {
  if (index_ != nullptr) index_->makeRoom();
  uint32_t& number = buckets_.chainAt(bucket);
  if (number == BucketPages::kNone) {
    chains_.emplace_back();
    number = static_cast<uint32_t>(chains_.size() - 1);
  }
  const uint32_t ordinal = chains_[number].append(entry);
  addTag(entry.tag);
  if (index_ != nullptr) index_->insert({entry.tag, number, ordinal});
  ++size_;
}

void LargeChains::remove(const ChainPlace& place, bool pinned) {
  const uint32_t number = buckets_.chainOf(place.bucket);
  Chain& chain = chains_[number];
  if (index_ != nullptr) {
    index_->erase(index_->indexOf(chain[place.ordinal].tag, number, place.ordinal));
  }
  chain.remove(place.ordinal);
  --size_;
  if (pinned || !chain.isSparse()) return;
  chain.compact([&](const ChainEntry& entry, uint32_t from, uint32_t to) {
    if (index_ != nullptr) (*index_)[index_->indexOf(entry.tag, number, from)].ordinal = to;
  });
}

void LargeChains::retag(const ChainPlace& place, uint32_t tag) {
  const uint32_t number = buckets_.chainOf(place.bucket);
  ChainEntry& entry = chains_[number][place.ordinal];
  if (index_ != nullptr) {
    index_->erase(index_->indexOf(entry.tag, number, place.ordinal));
    index_->insert({tag, number, place.ordinal});
  }
  addTag(tag);
  entry.tag = tag;
}

VObject*& LargeChains::valueAt(int32_t bucket, uint32_t ordinal) {
  return chains_[buckets_.chainOf(bucket)][ordinal].value;
}

bool LargeChains::settle(int32_t bucket, uint32_t* ordinal) const {
  const uint32_t number = buckets_.chainOf(bucket);
  return number != BucketPages::kNone && chains_[number].settle(ordinal);
}

int32_t LargeChains::nextBucket(int32_t from) const {
  int32_t bucket = buckets_.nextUsed(from);
  while (bucket >= 0 && chains_[buckets_.chainOf(bucket)].length() == 0) {
    bucket = buckets_.nextUsed(bucket + 1);
  }
  return bucket;
}

void LargeChains::forEach(const std::function<void(const ChainEntry&)>& visit) const {
  for (int32_t bucket = nextBucket(0); bucket >= 0; bucket = nextBucket(bucket + 1)) {
    chains_[buckets_.chainOf(bucket)].forEach(visit);
  }
}

}  // namespace foldapi
