// core/largechains.h: LargeChains, the chains of a table with more than a few entries.
//
// With the weak text hash all entries of a table share some forty chains. So an entry is found
// through an index from its tag to its chain and its number there, and the number of entries before
// it is that number less the entries removed before it, which are counted per chain. Every
// operation takes constant time while nothing is removed from the middle of a chain, and
// logarithmic time after that. An entry takes 20 bytes in its chain and 12 in the index, with the
// slack of both some 50. The index is made when lookups have found as much as it costs: before,
// found entries are looked for along their chain, and a set of all tags, which a growth leaves as
// it is, tells what isn't there. So a read of records that all differ does without the index, and
// so does a walk that removes what it meets. Removals need no memory, since destructors call them:
// where there is none for the set or the index they walk along the chain.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "core/hashchains.h"

namespace foldapi {

// Open addressing from tags to places, with up to 32 bits of the tag as the home of a slot.
class TagIndex {
 public:
  static constexpr uint32_t kFree = 0xffffffff;

  struct Slot {
    uint32_t tag = 0;
    uint32_t chain = kFree;
    uint32_t ordinal = 0;
  };

  explicit TagIndex(size_t expected);

  // Slots with a tag stand in a run from home(tag) to the first free one, among others.
  size_t home(uint32_t tag) const { return tag >> (32 - bits_); }
  size_t after(size_t index) const { return (index + 1) & (slots_.size() - 1); }
  bool isFree(size_t index) const { return slots_[index].chain == kFree; }
  Slot& operator[](size_t index) { return slots_[index]; }
  const Slot& operator[](size_t index) const { return slots_[index]; }

  // Makes room for one more slot, which insert() needs; erase() leaves room for another.
  void makeRoom();
  void insert(const Slot& slot);
  void erase(size_t index);
  // The slot of an entry that is here.
  size_t indexOf(uint32_t tag, uint32_t chain, uint32_t ordinal) const;

 private:
  void place(const Slot& slot);

  unsigned bits_ = 5;
  size_t count_ = 0;
  std::vector<Slot> slots_;
};

// The tags that entries have, and some that others had: what isn't here has no entry. Half of a tag
// is kept, and stands near where the other half tells: so the set is small, and hardly ever wrong.
class TagSet {
 public:
  explicit TagSet(size_t expected);

  bool isFull() const { return 4 * (count_ + 1) > 3 * kept_.size(); }
  bool contains(uint32_t tag) const { return kept_[indexOf(tag)] != kFree; }
  // Unless it is full.
  void insert(uint32_t tag);
  const void* placeNear(uint32_t tag) const { return &kept_[home(tag)]; }

 private:
  static constexpr uint16_t kFree = 0;

  static uint16_t keptOf(uint32_t tag) { return static_cast<uint16_t>(tag | 1); }
  size_t home(uint32_t tag) const { return tag >> (32 - bits_); }
  size_t indexOf(uint32_t tag) const;

  unsigned bits_ = 5;
  size_t count_ = 0;
  std::vector<uint16_t> kept_;
};

// Counts removed ordinals: a tree of partial sums. An ordinal past its size is never removed.
class RemovalCounts {
 public:
  explicit RemovalCounts(size_t size = 0) : sums_(size) {}

  size_t size() const { return sums_.size(); }
  void change(uint32_t ordinal, int by);
  uint32_t before(uint32_t ordinal) const;
  void clear();

 private:
  std::vector<uint32_t> sums_;  // Of the ordinal 0 in the first one, and so on.
};

// One chain. An entry keeps its ordinal until compact(); a removed one leaves a null value. All the
// memory that removals need is taken when an entry is added.
class Chain {
 public:
  uint32_t length() const { return live_; }
  // Entries stand from the first ordinal, which is one's own, to before the end.
  uint32_t first() const { return first_; }
  uint32_t end() const { return static_cast<uint32_t>(entries_.size()); }
  uint32_t append(const ChainEntry& entry);
  void remove(uint32_t ordinal);
  ChainEntry& operator[](uint32_t ordinal) { return entries_[ordinal]; }
  const ChainEntry& operator[](uint32_t ordinal) const { return entries_[ordinal]; }
  // How many entries stand before one.
  uint32_t position(uint32_t ordinal) const;
  bool settle(uint32_t* ordinal) const;
  void forEach(const std::function<void(const ChainEntry&)>& visit) const;

  // Whether removed entries take more room than the others.
  bool isSparse() const { return entries_.size() > 2 * size_t{live_} + 16; }
  // Closes the gaps. Calls `moved` (entry, old ordinal, new ordinal) in ascending order.
  template <typename Moved>
  void compact(Moved moved);

 private:
  void grow();
  void countGap(uint32_t ordinal);
  void trimEnds();

  std::vector<ChainEntry> entries_;
  uint32_t first_ = 0;  // No entry stands before this one.
  uint32_t live_ = 0;
  RemovalCounts gaps_;    // Has room for all ordinals up to the next grow().
  bool hasGaps_ = false;  // Whether any is counted there.
};

// The number of the chain of each bucket. Most buckets have none, so pages are made when needed.
class BucketPages {
 public:
  static constexpr uint32_t kNone = 0xffffffff;

  explicit BucketPages(int32_t bucketCount);

  uint32_t chainOf(int32_t bucket) const;
  // Where that number is kept.
  uint32_t& chainAt(int32_t bucket);
  // The first bucket from `from` on that has a chain, -1 if there is none.
  int32_t nextUsed(int32_t from) const;

 private:
  static constexpr size_t kPageSize = 256;
  using Page = std::array<uint32_t, kPageSize>;

  std::vector<std::unique_ptr<Page>> pages_;
};

// Operations as those of ChainStore; ordinals never shift, but for a compaction of a chain when
// nothing is pinned.
class LargeChains {
 public:
  explicit LargeChains(int32_t bucketCount) : buckets_(bucketCount) {}

  int size() const { return static_cast<int>(size_); }
  uint32_t chainLength(int32_t bucket) const;
  ChainPlace locate(const ChainKey& key) const;
  void prefetchTag(uint32_t tag) const;
  void append(int32_t bucket, const ChainEntry& entry);
  void remove(const ChainPlace& place, bool pinned);
  void retag(const ChainPlace& place, uint32_t tag);
  void dropIndex() { index_.reset(); }
  void takeTags(LargeChains& other) { tags_ = std::move(other.tags_); }
  VObject*& valueAt(int32_t bucket, uint32_t ordinal);
  bool settle(int32_t bucket, uint32_t* ordinal) const;
  int32_t nextBucket(int32_t from) const;
  void forEach(const std::function<void(const ChainEntry&)>& visit) const;

 private:
  template <typename Visit>
  void forEachPlace(Visit visit) const;
  bool makeTags(size_t expected) const;
  bool makeIndex() const;
  bool isOverdue(const Chain& chain) const;
  void addTag(uint32_t tag);
  void locateByTag(const ChainKey& key, uint32_t number, ChainPlace* place) const;

  BucketPages buckets_;
  std::vector<Chain> chains_;
  size_t size_ = 0;
  // At most one of the two is there.
  mutable std::unique_ptr<TagSet> tags_;
  mutable std::unique_ptr<TagIndex> index_;
  mutable size_t walked_ = 0;  // Entries, in lookups without the index.
};

}  // namespace foldapi
