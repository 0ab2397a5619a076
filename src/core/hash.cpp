// core/hash.cpp: what a table does, step by step, as if it walked linked chains.
//
// Each operation first asks checkGrow(), then looks up once and counts that lookup. Growth adds all
// values again, each add() asking checkGrow() too, so a growth may grow the table further half way
// through: the final order of entries comes from exactly that. Its test: hash_test.cpp.
#include "core/hash.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "core/hashchains.h"

namespace foldapi {

namespace {

constexpr int32_t kSizes[] = {17,    41,     79,     137,    223,    347,    541,   821,   1229,
                              1847,  2767,   4139,   6197,   9277,   13901,  20849, 31247, 46853,
                              70237, 105319, 157931, 236867, 355211, 532733, 799003};

constexpr int32_t kLookupsToJudge = 100;  // Fewer say nothing about the chains.
constexpr int32_t kLookupsToKeep = 30000;

// Sums wrap around as 32-bit ones do: with long chains the probes of one table may pass that.
int32_t wrappingSum(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

ChainEntry entryOf(VObject* value) {
  return {value, tagOfFingerprint(value->fingerprint()), value->hash()};
}

}  // namespace

const VClassRecord TVHash::theClass = {"TVHash", &VObject::theClass, 0,
                                       []() -> VObject* { return new TVHash; }};

TVHash::TVHash(int bucketCount) : bucketCount_(std::max(1, bucketCount)) {}

TVHash::~TVHash() {
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) i->table_ = nullptr;
}

// Lookups -----------------------------------------------------------------------------------------

ChainKey TVHash::equalTo(const VObject* key) const {
  return {.object = key,
          .identical = false,
          .tag = tagOfFingerprint(key->fingerprint()),
          .bucket = bucketOfHash(key->hash(), bucketCount_)};
}

ChainKey TVHash::identicalTo(const VObject* value) const {
  ChainKey key = equalTo(value);
  key.identical = true;
  return key;
}

ChainPlace TVHash::lookUp(const ChainKey& key) {
  const ChainPlace place = chains_ == nullptr ? ChainPlace() : chains_->locate(key);
  countLookup(place.found, place.position);
  return place;
}

void TVHash::countLookup(bool isHit, uint32_t passed) {
  int32_t& ends = isHit ? statistics_.hits : statistics_.misses;
  ends = wrappingSum(ends, 1);
  statistics_.probes = wrappingSum(statistics_.probes, static_cast<int32_t>(passed));
}

VObject* TVHash::valueAt(const ChainPlace& place) const {
  return chains_->valueAt(place.bucket, place.ordinal);
}

VObject* TVHash::findBy(const ChainKey& key) {
  const ChainPlace place = lookUp(key);
  if (!place.found) return nullptr;
  VObject* value = valueAt(place);
  touch(value);
  return value;
}

// A key names a bucket, so it is made only after the table may have grown.
VObject* TVHash::find(const VObject* key) {
  checkGrow();
  return findBy(equalTo(key));
}

VObject* TVHash::findIdentical(const VObject* value) {
  checkGrow();
  return findBy(identicalTo(value));
}

// Changes -----------------------------------------------------------------------------------------

bool TVHash::enter(const ChainEntry& entry) {
  const int32_t bucket = bucketOfHash(entry.hash, bucketCount_);
  if (lookUp({.object = entry.value, .identical = false, .tag = entry.tag, .bucket = bucket}).found)
    return false;
  append(bucket, entry);
  return true;
}

// The same where no value is equal: the lookup, which would come to the end of the chain, is only
// counted.
void TVHash::enterNew(const ChainEntry& entry) {
  const int32_t bucket = bucketOfHash(entry.hash, bucketCount_);
  countLookup(false, chains_ == nullptr ? 0 : chains_->chainLength(bucket));
  append(bucket, entry);
}

void TVHash::append(int32_t bucket, const ChainEntry& entry) {
  if (chains_ == nullptr) chains_ = std::make_unique<ChainStore>(bucketCount_);
  chains_->append(bucket, entry);
  hasChanged_ = true;
}

VObject* TVHash::add(VObject* value) {
  checkGrow();
  if (!enter(entryOf(value))) return nullptr;
  entered(value);
  return value;
}

VObject* TVHash::findOrAdd(VObject* value) {
  if (VObject* const known = find(value)) return known;
  checkGrow();
  enterNew(entryOf(value));
  entered(value);
  return value;
}

VObject* TVHash::removeBy(const ChainKey& key) {
  const ChainPlace place = lookUp(key);
  if (!place.found) return nullptr;
  VObject* value = valueAt(place);
  const bool shifts = chains_->remove(place, hasIterators());
  hasChanged_ = true;
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) {
    if (i->bucket_ != place.bucket || i->ordinal_ < place.ordinal) continue;
    if (i->ordinal_ == place.ordinal) {
      settle(i, place.bucket, place.ordinal);
    } else if (shifts) {
      --i->ordinal_;
    }
  }
  if (chains_->size() == 0 && !hasIterators()) chains_.reset();
  left(value);
  return value;
}

VObject* TVHash::remove(const VObject* key) {
  checkGrow();
  return removeBy(equalTo(key));
}

VObject* TVHash::removeIdentical(const VObject* value) {
  checkGrow();
  return removeBy(identicalTo(value));
}

VObject* TVHash::forget(const VObject* value) {
  judgeChains();
  return removeBy(identicalTo(value));
}

// Built from whole operations, each of which looks at the chains first, as this one does.
VObject* TVHash::replace(const VObject* key, VObject* value) {
  checkGrow();
  VObject* removed = remove(key);
  add(value);
  return removed;
}

VObject* TVHash::replaceIdentical(const VObject* key, VObject* value) {
  checkGrow();
  VObject* removed = removeIdentical(key);
  add(value);
  return removed;
}

VObject* TVHash::set(VObject* value) {
  checkGrow();
  const ChainEntry entry = entryOf(value);
  const int32_t bucket = bucketOfHash(entry.hash, bucketCount_);
  const ChainPlace place =
      lookUp({.object = value, .identical = false, .tag = entry.tag, .bucket = bucket});
  if (place.found) {
    VObject* displaced = valueAt(place);
    chains_->valueAt(place.bucket, place.ordinal) = value;
    hasChanged_ = true;
    exchanged(displaced, value);
    return displaced;
  }
  append(bucket, entry);
  entered(value);
  return value;
}

void TVHash::rekey(VObject* value, uint64_t oldFingerprint) {
  if (chains_ == nullptr) return;
  const int32_t bucket = bucketOfHash(value->hash(), bucketCount_);
  const ChainKey key = {.object = value,
                        .identical = true,
                        .tag = tagOfFingerprint(oldFingerprint),
                        .bucket = bucket};
  const uint32_t tag = tagOfFingerprint(value->fingerprint());
  mayHoldEquals_ = hasChanged_ = true;
  if (tag == key.tag) return;
  // set() may have put a value in the place of an equal one though it stood in the table already.
  for (ChainPlace place = chains_->locate(key); place.found; place = chains_->locate(key)) {
    chains_->retag(place, tag);
  }
}

void TVHash::foresee(const VObject* value) const {
  if (chains_ != nullptr) chains_->prefetchTag(tagOfFingerprint(value->fingerprint()));
}

void TVHash::expectRemovals() {
  if (chains_ != nullptr) chains_->dropIndex();
}

void TVHash::addAll(TVHash& other) {
  TVIterator walk(other);
  while (VObject* value = walk.next()) add(value);
}

void TVHash::clear() {
  chains_.reset();
  hasChanged_ = true;
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) i->bucket_ = -1;
  emptied();
}

void TVHash::clearAndDelete() {
  const std::vector<VObject*> doomed = values();
  clear();
  for (VObject* value : doomed) delete value;
}

// Contents ----------------------------------------------------------------------------------------

int TVHash::size() const { return chains_ == nullptr ? 0 : chains_->size(); }

VObject* TVHash::firstValue() { return TVIterator(*this).next(); }

std::vector<VObject*> TVHash::values() const {
  std::vector<VObject*> all;
  all.reserve(static_cast<size_t>(size()));
  forEach([&](VObject* value) { all.push_back(value); });
  return all;
}

void TVHash::forEach(const std::function<void(VObject*)>& visit) const {
  if (chains_ != nullptr) chains_->forEach([&](const ChainEntry& entry) { visit(entry.value); });
}

// Growth ------------------------------------------------------------------------------------------

void TVHash::checkGrow() {
  const int32_t larger = judgeChains();
  if (larger == 0) return;
  try {
    resize(larger);
  } catch (const std::bad_alloc&) {  // The chains stay long, and the next operation tries again.
  }
}

// The number of buckets that the table should have; 0 for those that it has.
int32_t TVHash::judgeChains() {
  if (hasIterators()) return 0;
  Statistics& counts = statistics_;
  int32_t lookups = wrappingSum(counts.hits, counts.misses);
  int32_t total = wrappingSum(lookups, counts.probes);
  if (total < kLookupsToJudge) return 0;
  if (lookups > total / 2) {
    for (; total > kLookupsToKeep; total >>= 1) {
      counts.hits >>= 1;
      counts.misses >>= 1;
      counts.probes >>= 1;
    }
    return 0;
  }
  if (int64_t{size()} * 4 < bucketCount_) return 0;  // Few entries, so their hash is to blame.
  const auto* larger = std::upper_bound(std::begin(kSizes), std::end(kSizes), bucketCount_);
  return larger == std::end(kSizes) ? 0 : *larger;
}

int TVHash::resize(int bucketCount) {
  const int old = bucketCount_;
  if (hasIterators() && bucketCount == old) return old;
  std::vector<ChainEntry> entries;
  entries.reserve(static_cast<size_t>(size()));
  if (chains_ != nullptr) {
    chains_->forEach([&](const ChainEntry& entry) { entries.push_back(entry); });
    chains_->dropIndex();
  }
  std::vector<VObject*> refused;  // Two values have become equal since they came.
  const Statistics oldStatistics = std::exchange(statistics_, {});
  std::unique_ptr<ChainStore> oldChains = std::move(chains_);
  bucketCount_ = std::max(1, bucketCount);
  try {
    if (!entries.empty()) chains_ = std::make_unique<ChainStore>(bucketCount_, entries.size());
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
      checkGrow();
      if (!mayHoldEquals_) {
        enterNew(*entry);
      } else if (!enter(*entry)) {
        refused.push_back(entry->value);
      }
    }
    if (!entries.empty()) chains_->takeTags(*oldChains);
  } catch (...) {
    chains_ = std::move(oldChains);
    bucketCount_ = old;
    statistics_ = oldStatistics;
    throw;
  }
  endIterators();
  for (VObject* value : refused) left(value);
  return old;
}

// Walks -------------------------------------------------------------------------------------------

void TVHash::settle(TVIterator* iterator, int32_t bucket, uint32_t ordinal) const {
  iterator->bucket_ = chains_->settle(bucket, &ordinal) ? bucket : -1;
  iterator->ordinal_ = ordinal;
}

void TVHash::endIterators() {
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) {
    i->bucket_ = -1;
    i->nextBucket_ = std::numeric_limits<int32_t>::max();
  }
}

void TVHash::iteratorBegin(TVIterator* iterator) const {
  iterator->bucket_ = -1;
  iterator->nextBucket_ = isEmpty() ? bucketCount_ : 1;
  if (!isEmpty()) settle(iterator, 0, 0);
}

VObject* TVHash::iteratorNext(TVIterator* iterator) const {
  if (iterator->bucket_ < 0) {
    if (iterator->nextBucket_ >= bucketCount_) return nullptr;
    const int32_t bucket = chains_ == nullptr ? -1 : chains_->nextBucket(iterator->nextBucket_);
    iterator->nextBucket_ = bucket < 0 ? bucketCount_ : bucket + 1;
    if (bucket < 0) return nullptr;
    settle(iterator, bucket, 0);
  }
  VObject* value = chains_->valueAt(iterator->bucket_, iterator->ordinal_);
  settle(iterator, iterator->bucket_, iterator->ordinal_ + 1);
  return value;
}

TVIterator::TVIterator(TVHash& table) : table_(&table), nextIterator_(table.iterators_) {
  table.iterators_ = this;
  table.iteratorBegin(this);
}

TVIterator::~TVIterator() {
  if (table_ == nullptr) return;
  TVIterator** link = &table_->iterators_;
  while (*link != this) link = &(*link)->nextIterator_;
  *link = nextIterator_;
  if (!table_->hasIterators() && table_->isEmpty()) table_->chains_.reset();
}

VObject* TVIterator::next() { return table_ == nullptr ? nullptr : table_->iteratorNext(this); }

void TVIterator::rewind() {
  if (table_ != nullptr) table_->iteratorBegin(this);
}

// Tables without an order of their own ------------------------------------------------------------

void TVHash::touch(VObject*) {}
void TVHash::entered(VObject*) {}
void TVHash::left(VObject*) {}
void TVHash::exchanged(VObject*, VObject*) {}
void TVHash::emptied() {}

}  // namespace foldapi
