// tests/core/linkedhash.h: the table as it is described to users of its order: linked chains,
// walked entry by entry. Slow and obvious; TVHash must not be told from it.
#pragma once

#include <algorithm>
#include <deque>
#include <iterator>
#include <utility>
#include <vector>

#include "core/hash.h"

namespace foldapi {

class LinkedHash {
 public:
  struct Node {
    VObject* value;
    Node* next;
  };
  struct Walk {
    int nextBucket;
    Node* node;
  };
  enum class Match { kEqual, kIdentical };

  VObject* add(VObject* value) {
    checkGrow();
    Node** link = lookUp(value, Match::kEqual);
    if (*link != nullptr) return nullptr;
    *link = newNode(value);
    return value;
  }
  VObject* remove(const VObject* key, Match match) {
    checkGrow();
    Node** link = lookUp(key, match);
    Node* node = *link;
    if (node == nullptr) return nullptr;
    for (Walk* walk : walks) walk->node = walk->node == node ? node->next : walk->node;
    *link = node->next;
    --count;
    return node->value;
  }
  VObject* replace(const VObject* key, VObject* value, Match match) {
    checkGrow();
    VObject* removed = remove(key, match);
    add(value);
    return removed;
  }
  VObject* set(VObject* value) {
    checkGrow();
    Node** link = lookUp(value, Match::kEqual);
    if (*link != nullptr) return std::exchange((*link)->value, value);
    *link = newNode(value);
    return value;
  }
  VObject* find(const VObject* key, Match match) {
    checkGrow();
    Node* node = *lookUp(key, match);
    return node == nullptr ? nullptr : node->value;
  }
  VObject* findOrAdd(VObject* value) {
    VObject* const known = find(value, Match::kEqual);
    return known != nullptr ? known : add(value);
  }
  void clear() {
    for (Node*& bucket : buckets) bucket = nullptr;
    for (Walk* walk : walks) walk->node = nullptr;
    count = 0;
  }

  int resize(int size) {
    const int old = bucketCount();
    if (!walks.empty() && size == old) return old;
    const std::vector<VObject*> all = values();
    buckets.assign(static_cast<size_t>(std::max(1, size)), nullptr);
    for (Walk* walk : walks) *walk = {1 << 30, nullptr};
    statistics = {};
    count = 0;
    deepestGrowth = std::max(deepestGrowth, ++growths);
    for (auto value = all.rbegin(); value != all.rend(); ++value) add(*value);
    --growths;
    return old;
  }

  void begin(Walk* walk) const {
    *walk = count == 0 ? Walk{bucketCount(), nullptr} : Walk{1, buckets[0]};
  }
  VObject* next(Walk* walk) const {
    while (walk->node == nullptr) {
      if (walk->nextBucket >= bucketCount()) return nullptr;
      walk->node = buckets[static_cast<size_t>(walk->nextBucket++)];
    }
    Node* node = std::exchange(walk->node, walk->node->next);
    return node->value;
  }
  std::vector<VObject*> values() const {
    std::vector<VObject*> all;
    Walk walk;
    begin(&walk);
    while (VObject* value = next(&walk)) all.push_back(value);
    return all;
  }
  int bucketCount() const { return static_cast<int>(buckets.size()); }

  int count = 0;
  std::vector<Node*> buckets = std::vector<Node*>(17);
  std::vector<Walk*> walks;  // Those that stand here.
  TVHash::Statistics statistics;
  int growths = 0;  // Nested ones that run now.
  int deepestGrowth = 0;

 private:
  Node* newNode(VObject* value) {
    ++count;
    return &nodes_.emplace_back(Node{value, nullptr});
  }

  Node** lookUp(const VObject* key, Match match) {
    const int remainder = key->hash() % bucketCount();
    const int bucket = remainder < 0 ? remainder + bucketCount() : remainder;
    Node** link = &buckets[static_cast<size_t>(bucket)];
    for (; *link != nullptr; link = &(*link)->next) {
      const VObject* value = (*link)->value;
      if (match == Match::kIdentical ? value == key : value->isEqual(key)) break;
      ++statistics.probes;
    }
    ++(*link == nullptr ? statistics.misses : statistics.hits);
    return link;
  }

  void checkGrow() {
    if (!walks.empty()) return;
    TVHash::Statistics& counts = statistics;
    int total = counts.hits + counts.misses + counts.probes;
    if (total < 100) return;
    if (counts.hits + counts.misses > total / 2) {
      while (total > 30000) {
        total >>= 1;
        counts.hits >>= 1;
        counts.misses >>= 1;
        counts.probes >>= 1;
      }
      return;
    }
    if (count * 4 < bucketCount()) return;
    static constexpr int kPrimes[] = {17,     41,     79,     137,   223,   347,    541,
                                      821,    1229,   1847,   2767,  4139,  6197,   9277,
                                      13901,  20849,  31247,  46853, 70237, 105319, 157931,
                                      236867, 355211, 532733, 799003};
    const int* prime = std::find_if(std::begin(kPrimes), std::end(kPrimes),
                                    [&](int size) { return size > bucketCount(); });
    if (prime != std::end(kPrimes)) resize(*prime);
  }

  std::deque<Node> nodes_;
};

}  // namespace foldapi
