// core/hashchains.h: ChainStore, the chains of one table, without links between entries.
//
// A table counts how far along its chain an entry stands, so the store must know that without a
// walk. Up to kSmallLimit entries stand in one row, bucket by bucket: an entry's place in its chain
// is its distance from the first one of the bucket. When there are more, all of them move to
// LargeChains and stay there until the store is empty again.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/vobject.h"

namespace foldapi {

// A value with what is needed of it to move it without touching it.
struct ChainEntry {
  VObject* value;  // Not owned.
  uint32_t tag;    // What is kept of the fingerprint.
  int32_t hash;
};

// The part of a fingerprint that is compared. Two texts agree in it once in four thousand million
// times; isEqual() decides then.
inline uint32_t tagOfFingerprint(uint64_t fingerprint) {
  return static_cast<uint32_t>((fingerprint * 0x9e3779b97f4a7c15u) >> 32);
}

// What a lookup looks for: an entry equal to `object`, or `object` itself.
struct ChainKey {
  const VObject* object;
  bool identical;
  uint32_t tag;
  int32_t bucket;

  bool matches(const VObject* value) const {
    return identical ? value == object : value->isEqual(object);
  }
};

// Where a lookup ended.
struct ChainPlace {
  bool found = false;
  uint32_t position = 0;  // How many entries of the chain stand before it; all, if not found.
  int32_t bucket = 0;
  uint32_t ordinal = 0;  // The entry's number in its chain: grows along the chain, may skip.
};

class LargeChains;

// An entry stays reachable by (bucket, ordinal) until it is removed, but for the shift that
// remove() tells of.
class ChainStore {
 public:
  static constexpr size_t kSmallLimit = 16;

  // In the form for `expected` entries at once.
  explicit ChainStore(int32_t bucketCount, size_t expected = 0);
  ~ChainStore();
  ChainStore(const ChainStore&) = delete;
  ChainStore& operator=(const ChainStore&) = delete;

  int size() const;
  // The first entry of the key's chain that matches.
  ChainPlace locate(const ChainKey& key) const;
  // Says that a tag is about to be looked for.
  void prefetchTag(uint32_t tag) const;
  // How many entries the chain of a bucket has.
  uint32_t chainLength(int32_t bucket) const;
  // Puts an entry at the end of a chain.
  void append(int32_t bucket, const ChainEntry& entry);
  // Takes the entry of a found place out. True if the ordinals after it in its chain fell by one.
  // `pinned` says that others keep ordinals, so that no more than that may happen to them.
  bool remove(const ChainPlace& place, bool pinned);
  // Gives the entry of a found place another tag.
  void retag(const ChainPlace& place, uint32_t tag);
  // Gives memory back that the next lookup takes again, unless it is for the first entry of a chain
  // itself.
  void dropIndex();
  // Takes over what is known of the entries from a table that had the same.
  void takeTags(ChainStore& other);

  VObject*& valueAt(int32_t bucket, uint32_t ordinal);
  // Moves *ordinal on to the first entry of the chain that doesn't stand before it; false if there
  // is none.
  bool settle(int32_t bucket, uint32_t* ordinal) const;
  // The first bucket from `from` on with an entry, -1 if there is none.
  int32_t nextBucket(int32_t from) const;
  // Calls `visit` with each entry, bucket by bucket and each chain from its start.
  void forEach(const std::function<void(const ChainEntry&)>& visit) const;

 private:
  struct Range {
    size_t begin;
    size_t end;
  };
  int32_t bucketOf(const ChainEntry& entry) const;
  size_t firstFrom(int32_t bucket) const;
  Range chain(int32_t bucket) const { return {firstFrom(bucket), firstFrom(bucket + 1)}; }
  void enlarge();

  std::vector<ChainEntry> row_;  // Empty if `large_` exists.
  std::unique_ptr<LargeChains> large_;
  int32_t bucketCount_;
};

// The bucket of a hash: its remainder, which has the sign of the hash; a negative one counts from
// the end.
inline int32_t bucketOfHash(int32_t hash, int32_t bucketCount) {
  const int32_t remainder = hash % bucketCount;
  return remainder < 0 ? remainder + bucketCount : remainder;
}

}  // namespace foldapi
