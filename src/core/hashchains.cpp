// core/hashchains.cpp: the small form of a table's chains.
#include "core/hashchains.h"

#include <algorithm>

#include "core/largechains.h"

namespace foldapi {

ChainStore::ChainStore(int32_t bucketCount, size_t expected) : bucketCount_(bucketCount) {
  if (expected > kSmallLimit) large_ = std::make_unique<LargeChains>(bucketCount);
}

ChainStore::~ChainStore() = default;

int ChainStore::size() const {
  return large_ != nullptr ? large_->size() : static_cast<int>(row_.size());
}

int32_t ChainStore::bucketOf(const ChainEntry& entry) const {
  return bucketOfHash(entry.hash, bucketCount_);
}

// The index in the row of the first entry whose bucket is not below `bucket`.
size_t ChainStore::firstFrom(int32_t bucket) const {
  const auto place = std::partition_point(
      row_.begin(), row_.end(), [&](const ChainEntry& entry) { return bucketOf(entry) < bucket; });
  return static_cast<size_t>(place - row_.begin());
}

ChainPlace ChainStore::locate(const ChainKey& key) const {
  if (large_ != nullptr) return large_->locate(key);
  const Range range = chain(key.bucket);
  ChainPlace place;
  place.bucket = key.bucket;
  for (size_t i = range.begin; i < range.end && !place.found; ++i) {
    place.found = row_[i].tag == key.tag && key.matches(row_[i].value);
    if (!place.found) ++place.position;
  }
  place.ordinal = place.position;
  return place;
}

void ChainStore::prefetchTag(uint32_t tag) const {
  if (large_ != nullptr) large_->prefetchTag(tag);
}

uint32_t ChainStore::chainLength(int32_t bucket) const {
  if (large_ != nullptr) return large_->chainLength(bucket);
  const Range range = chain(bucket);
  return static_cast<uint32_t>(range.end - range.begin);
}

void ChainStore::append(int32_t bucket, const ChainEntry& entry) {
  if (large_ == nullptr && row_.size() == kSmallLimit) enlarge();
  if (large_ != nullptr) {
    large_->append(bucket, entry);
    return;
  }
  // Most tables hold one entry or two: a byte saved here counts once an object.
  if (row_.size() == row_.capacity()) row_.reserve(std::max<size_t>(1, 2 * row_.size()));
  row_.insert(row_.begin() + static_cast<std::ptrdiff_t>(firstFrom(bucket + 1)), entry);
}

// Ordinals stay: each chain is copied from its start.
void ChainStore::enlarge() {
  auto large = std::make_unique<LargeChains>(bucketCount_);
  for (const ChainEntry& entry : row_) large->append(bucketOf(entry), entry);
  large_ = std::move(large);
  row_ = {};
}

bool ChainStore::remove(const ChainPlace& place, bool pinned) {
  if (large_ != nullptr) {
    large_->remove(place, pinned);
    return false;
  }
  const size_t index = firstFrom(place.bucket) + place.ordinal;
  row_.erase(row_.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

void ChainStore::retag(const ChainPlace& place, uint32_t tag) {
  if (large_ != nullptr) {
    large_->retag(place, tag);
  } else {
    row_[firstFrom(place.bucket) + place.ordinal].tag = tag;
  }
}

void ChainStore::dropIndex() {
  if (large_ != nullptr) large_->dropIndex();
}

void ChainStore::takeTags(ChainStore& other) {
  if (large_ != nullptr && other.large_ != nullptr) large_->takeTags(*other.large_);
}

VObject*& ChainStore::valueAt(int32_t bucket, uint32_t ordinal) {
  if (large_ != nullptr) return large_->valueAt(bucket, ordinal);
  return row_[firstFrom(bucket) + ordinal].value;
}

bool ChainStore::settle(int32_t bucket, uint32_t* ordinal) const {
  if (large_ != nullptr) return large_->settle(bucket, ordinal);
  const Range range = chain(bucket);
  return *ordinal < range.end - range.begin;
}

int32_t ChainStore::nextBucket(int32_t from) const {
  if (large_ != nullptr) return large_->nextBucket(from);
  const size_t index = firstFrom(from);
  return index == row_.size() ? -1 : bucketOf(row_[index]);
}

void ChainStore::forEach(const std::function<void(const ChainEntry&)>& visit) const {
  if (large_ != nullptr) {
    large_->forEach(visit);
  } else {
    for (const ChainEntry& entry : row_) visit(entry);
  }
}

}  // namespace foldapi
