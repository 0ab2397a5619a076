// core/hash.h: TVHash, the table in which every object keeps its children, and TVIterator, the walk
// over it.
//
// The order of a table is the order of records on disk, so what decides it is fixed: 17 buckets at
// the start, a weak text hash, new entries at the end of their chain, and a growth rule that looks
// at how long the chains proved in lookups, as a walk along linked chains would count them. No
// chain is walked, though: with the weak hash one chain may hold tens of thousands of entries. The
// counts come from the place of an entry in its chain, and the entry from an index of fingerprints
// (hashchains.h). An empty table owns no memory, and removals take none: growth that there is no
// memory for is put off, and an addition that fails leaves the table as it was. The library adds,
// finds, removes and walks; the other operations complete the class for clients that keep tables of
// their own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/vobject.h"

namespace foldapi {

class ChainStore;
class TVIterator;
struct ChainEntry;
struct ChainKey;
struct ChainPlace;

// Values are not owned. A value stays in place as long as its hash() and fingerprint() stay; see
// rekey(). Both are asked in each operation by value, so a destructor that takes its object out of
// a table needs them to be good still. A key is any object whose hash() and fingerprint() agree
// with those of the value that is looked for: the stored value's isEqual() is asked with the key.
class TVHash : public VObject {
 public:
  static const VClassRecord theClass;
  static constexpr int kDefaultBuckets = 17;

  // What the growth rule looks at, in signed 32 bits that wrap around.
  struct Statistics {
    int32_t hits = 0;    // Lookups that found an entry.
    int32_t misses = 0;  // Lookups that came to the end of a chain.
    int32_t probes = 0;  // Entries passed on the way.

    bool operator==(const Statistics&) const = default;
  };

  explicit TVHash(int bucketCount = kDefaultBuckets);
  ~TVHash() override;  // Values stay. Iterators that still stand here are at their end.
  TVHash(const TVHash&) = delete;
  TVHash& operator=(const TVHash&) = delete;

  const VClassRecord* isA() const override { return &theClass; }

  // Gives `value`, or null if an equal one is present: it is refused then, and stays the caller's.
  virtual VObject* add(VObject* value);
  // Takes the value equal to `key`, or `value` itself, out and gives it; null if there is none.
  VObject* remove(const VObject* key);
  VObject* removeIdentical(const VObject* value);
  // As removeIdentical(), for destructors: never grows the table.
  VObject* forget(const VObject* value);
  // Removes by equality or by identity, then adds `value`; gives what was removed, or null.
  VObject* replace(const VObject* key, VObject* value);
  VObject* replaceIdentical(const VObject* key, VObject* value);
  // Puts `value` in the place of an equal one and gives the one displaced, or adds it and gives it.
  virtual VObject* set(VObject* value);
  // The value equal to `key`, or `value` itself if it is here; else null.
  VObject* find(const VObject* key);
  VObject* findIdentical(const VObject* value);
  bool contains(const VObject* key) { return find(key) != nullptr; }
  // What find() gives or, where that is null, add(), with half of the work: counted as both. Not
  // for a table with a queue.
  VObject* findOrAdd(VObject* value);

  VObject* firstValue();                         // In iteration order; null if empty.
  virtual std::vector<VObject*> values() const;  // All of them, in iteration order.
  // One by one, as a walk along the chains meets them. A visit must leave the table alone.
  void forEach(const std::function<void(VObject*)>& visit) const;
  bool isEmpty() const { return size() == 0; }
  int size() const;
  int capacity() const { return bucketCount_; }  // Buckets.

  // Changes the number of buckets (at least 1), adds every value again from the last to the first,
  // which may grow the table further, and gives the old number. Nothing happens if an iterator
  // stands here and the number stays; with another number, standing iterators come to their end.
  virtual int resize(int bucketCount);
  void addAll(TVHash& other);
  void clear();           // Values, capacity and statistics stay as they are.
  void clearAndDelete();  // Deletes the values too. They find the table empty.

  // To be called when a field of `value` that counts in isEqual() and fingerprint(), but not in
  // hash(), has changed in place: it can't be found before. Keeps its place and the statistics.
  // Ignored if `value` isn't here. Also the first step where hash() is about to change: rekey with
  // the old hash() still given, removeIdentical(), let hash() change, add().
  void rekey(VObject* value, uint64_t oldFingerprint);

  // Whether a value has come, gone, or changed its key or its place since the last noteOrder(), or
  // somebody has noted another change. True before the first noteOrder().
  bool hasChanged() const { return hasChanged_; }
  void noteOrder() { hasChanged_ = false; }
  void noteChange() { hasChanged_ = true; }

  // Says that `value` will be looked for soon: makes that faster.
  void foresee(const VObject* value) const;
  // Says that most values are about to be removed, as a walk meets them: makes that faster.
  void expectRemovals();

  Statistics statistics() const { return statistics_; }
  bool hasIterators() const { return iterators_ != nullptr; }

 protected:
  friend class TVIterator;

  // What a table with an order of its own is told, and the walk it may replace.
  virtual void touch(VObject* value);                     // Found.
  virtual void entered(VObject* value);                   // Now in the table.
  virtual void left(VObject* value);                      // No longer in the table.
  virtual void exchanged(VObject* value, VObject* with);  // `with` stands where `value` stood.
  virtual void emptied();                                 // All values left at once.
  virtual void checkGrow();
  virtual void iteratorBegin(TVIterator* iterator) const;
  virtual VObject* iteratorNext(TVIterator* iterator) const;

  TVIterator* iterators_ = nullptr;  // Those that stand here.

 private:
  ChainKey equalTo(const VObject* key) const;
  ChainKey identicalTo(const VObject* value) const;
  ChainPlace lookUp(const ChainKey& key);
  void countLookup(bool isHit, uint32_t passed);
  VObject* valueAt(const ChainPlace& place) const;
  VObject* findBy(const ChainKey& key);
  VObject* removeBy(const ChainKey& key);
  bool enter(const ChainEntry& entry);
  void enterNew(const ChainEntry& entry);
  void append(int32_t bucket, const ChainEntry& entry);
  int32_t judgeChains();
  void settle(TVIterator* iterator, int32_t bucket, uint32_t ordinal) const;
  void endIterators();

  std::unique_ptr<ChainStore> chains_;  // Null while empty.
  int32_t bucketCount_;
  Statistics statistics_;
  bool mayHoldEquals_ = false;  // A value has changed in place.
  bool hasChanged_ = true;
};

// A walk over a table: bucket by bucket, and in a bucket from the oldest entry. While it stands,
// the table does not grow. Any value may be removed meanwhile, the one just given out too; one
// added meanwhile is given out or not. Outlives its table safely.
class TVIterator {
 public:
  explicit TVIterator(TVHash& table);
  ~TVIterator();
  TVIterator(const TVIterator&) = delete;
  TVIterator& operator=(const TVIterator&) = delete;

  VObject* next();  // Null at the end.
  void rewind();

 private:
  friend class TVHash;
  friend class TVQueuedHash;

  TVHash* table_;  // Null once the table is gone.
  TVIterator* nextIterator_;
  // The entry to give out next, chosen when the one before it was given. The chain it stands in and
  // its number there, or the value itself for a table with a queue.
  int32_t bucket_ = -1;  // -1 for none: go on with the next bucket.
  uint32_t ordinal_ = 0;
  int32_t nextBucket_ = 0;
  VObject* queued_ = nullptr;
};

}  // namespace foldapi
