// core/childlist.h: TVChildList, what an open handle shows of its object's children.
//
// One handle per child, sorted by rules that are kept per class, with a cursor for walks and the
// state of the running find. Beside each handle stands the beginning of its sort keys, folded:
// sorting and bisecting look there first and touch the objects only where those bytes are equal.
// A find by keys that the order is not by looks at each entry in turn; where finds go on like that
// an index of those keys is made, which gives the same entries. Entries that were added to a sorted
// list are merged into it.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "base/containers.h"
#include "base/vstring.h"
#include "core/handle.h"

namespace foldapi {

class TVChildList {
 public:
  TVChildList(TVHandle* owner, VBool sortable);
  TVChildList(const TVChildList&) = delete;
  TVChildList& operator=(const TVChildList&) = delete;
  ~TVChildList();

  TVHandle* owner() const { return owner_; }
  // The list outlives its owner's use of it: nothing leads back any more.
  void park() { owner_ = nullptr; }

  // The open count is 16 bits wide, and signed.
  int open() { return ++openCount_; }
  int close() { return --openCount_; }

  void reserve(size_t count) { entries_.reserve(count); }
  // Makes a handle on a child. A sort is due then.
  TVHandle& add(TVErrorSink& sink, TVObject* child);
  // Takes a handle out of walks and finds, and cuts its way here; it stays allocated until the list
  // is deleted.
  void retire(TVHandle& handle);

  TVHandle& first(const VClassRecord* record, int* position);
  TVHandle& next(const VClassRecord* record, int* position);
  TVHandle& last(const VClassRecord* record, int* position);
  TVHandle& previous(const VClassRecord* record, int* position);
  TVHandle& current(int* position);
  TVHandle& find(const VString& key, VCase letterCase, const VClassRecord* record,
                 TVSortType sortType, int* position);
  TVHandle& findNext(int* position);
  void collect(VOrdCollect* target, const VClassRecord* record);

  void setSortType(const VClassRecord* record, TVSortType sortType);
  void setGroupOrder(const VClassRecord* record, int order);
  void setAscending(VBool ascending);
  void setCaseSensitive(VBool caseSensitive);

  // What comparisons of objects ask. A class seen for the first time gets the rules of its options.
  TVSortType sortTypeOf(const VClassRecord* record) { return row(record).sortType; }
  int groupOrderOf(const VClassRecord* record) { return row(record).groupOrder; }
  VCase letterCase() const { return letterCase_; }

 private:
  // 24 bytes of sort keys, each with a NUL after it, as numbers that order as the bytes do.
  struct KeyPrefix {
    std::array<uint64_t, 3> words = {};
    // Below, at or above 0. Word by word: a comparison of arrays is a call for their bytes.
    int compare(const KeyPrefix& other) const {
      for (size_t i = 0; i < words.size(); ++i) {
        if (words[i] != other.words[i]) return words[i] < other.words[i] ? -1 : 1;
      }
      return 0;
    }
    KeyPrefix maskedBy(const KeyPrefix& mask) const;
  };
  class KeyBytes;
  struct Entry {
    KeyPrefix prefix;
    TVHandle* handle;
    const VClassRecord* record;  // The handle's class, here to spare a look at the object.
  };
  struct SortRow {
    const VClassRecord* record;
    int groupOrder;
    TVSortType sortType;
    bool ordersByKeys = true;  // As of the last sort: the class's order is that of its sort keys,
    bool hasKeys = true;       // of which it has some.
    // Where the entries of the class stand. Empty if there are none, or none of another class.
    std::vector<int> places = {};
    bool placesKnown = false;
  };
  struct Find {
    VString key;
    const VClassRecord* record = nullptr;
    TVSortType sortType = TVSortType::kDefault;
    int position = -1;  // Next index for findNext(); -1 when the find is finished.
    bool bisect = false;
    VCase letterCase = VCase::kIgnored;
    bool prefixKnown = false;  // The rest stands for this find.
    bool prefixed = false;     // Entries of the class `record` may be compared by `prefix`,
    bool isWhole = false;      // and match if that is equal.
    KeyPrefix prefix;
    KeyPrefix mask;  // The bytes of an entry's prefix that `prefix` is compared with.
  };

  // Where the entries of a class stand, by a hash of the keys that a sort of find compares.
  struct KeyIndex {
    const VClassRecord* record;
    TVSortType sortType;
    VCase letterCase;
    size_t looks = 0;  // How many entries finds of this sort have looked at without it.
    int keys = 0;      // How many keys are in a hash; 0 until it is made.
    std::vector<std::pair<size_t, int>> places = {};  // In order.
  };

  SortRow& row(const VClassRecord* record);
  template <typename Rule>
  void change(Rule* rule, Rule value);
  void sortIfNeeded();
  void sort();
  bool mergeAdded();
  void sortRun(size_t begin, size_t end, size_t offset);
  void sortEqual(size_t begin, size_t end, size_t offset);
  void sortByComparing(size_t begin, size_t end);
  size_t gatherKeyed();
  template <typename Before>
  void placeRest(size_t sorted, Before before);
  bool isBefore(const Entry& a, const Entry& b);
  bool isBeforeByPrefix(const Entry& a, const Entry& b);
  int keysThatDecide();
  void fillPrefixes();
  KeyBytes keyBytes(const Entry& entry, size_t offset, std::string* scratch);
  void preparePrefix(const TVObject& object);
  void forgetPrefixOfFind();
  void dropRetired();
  TVHandle& step(int from, int direction, const VClassRecord* record, int* position);
  TVHandle& found(int index, int* position);
  bool prepareFind();
  int nextMatch(int from);
  KeyIndex* indexOfFind();
  void makeIndex(KeyIndex* index, int keys);
  int bisect();
  int bisect(const std::vector<int>& places, int start, int count);
  void fillPlaces(SortRow* rule);
  void forgetPlaces();
  bool isSought(const Entry& entry) const;
  int match(const Entry& entry);

  TVHandle* owner_;
  std::deque<TVHandle> handles_;  // All handles, retired ones too; addresses never move.
  std::vector<Entry> entries_;    // Those that walks and finds see, in order.
  std::vector<SortRow> rows_;
  Find find_;
  int cursor_ = 0;
  bool currentGone_ = false;  // What stood at the cursor was dropped: it stands before the gap now.
  int16_t openCount_ = 0;
  bool sortable_;
  bool ascending_ = true;
  VCase letterCase_ = VCase::kIgnored;
  bool needsSort_ = false;
  bool hasRetired_ = false;
  int prefixKeys_ = 0;  // How many sort keys are in the prefixes; 0 while these mean nothing.
  uint64_t keyChangesAtSort_ = 0;
  // As of the last sort: how many entries from the start are still in the order that it gave them,
  // how many of their keys were in the prefixes, and the class of all that have keys, if it is one.
  size_t inOrder_ = 0;
  int keysOfSort_ = 0;
  const VClassRecord* onlyKeyed_ = nullptr;
  std::vector<KeyIndex> indexes_;  // Good while neither entries nor keys change.
  uint64_t keyChangesAtIndexes_ = 0;
};

}  // namespace foldapi
