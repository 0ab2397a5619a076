// core/childlist.h: TVChildList, what an open handle shows of its object's children.
//
// One handle per child, sorted by rules that are kept per class, with a cursor for walks and the
// state of the running find. Beside each handle stands the beginning of its first sort key, folded:
// sorting and bisecting look there first and touch the objects only where those bytes are equal.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
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
  int openCount() const { return openCount_; }

  void reserve(size_t count) { entries_.reserve(count); }
  // Makes a handle on a child. A sort is due then.
  TVHandle& add(TVErrorSink& sink, TVObject* child);
  // Takes a handle out of walks and finds; it stays allocated until the list goes.
  void retire(TVHandle& handle);

  TVHandle& first(const VClassRecord* record, int* position);
  TVHandle& next(const VClassRecord* record, int* position);
  TVHandle& last(const VClassRecord* record, int* position);
  TVHandle& previous(const VClassRecord* record, int* position);
  TVHandle& current(int* position);
  TVHandle& find(const VString& key, VBool caseSensitive, const VClassRecord* record, int sortType,
                 int* position);
  TVHandle& findNext(int* position);
  void collect(VOrdCollect* target, const VClassRecord* record);

  void setSortType(const VClassRecord* record, int sortType);
  void setGroupOrder(const VClassRecord* record, int order);
  void setAscending(VBool ascending);
  void setCaseSensitive(VBool caseSensitive);

  // What comparisons of objects ask. A class seen for the first time gets the rules of its options.
  int sortTypeOf(const VClassRecord* record) { return row(record).sortType; }
  int groupOrderOf(const VClassRecord* record) { return row(record).groupOrder; }
  bool isCaseSensitive() const { return caseSensitive_; }

 private:
  // The first 16 bytes of a key as two numbers that order as the bytes do.
  struct KeyPrefix {
    uint64_t high = 0;
    uint64_t low = 0;
    auto operator<=>(const KeyPrefix&) const = default;
  };
  struct Entry {
    KeyPrefix prefix;
    TVHandle* handle;
    const VClassRecord* record;  // The handle's class, here to spare a look at the object.
  };
  struct SortRow {
    const VClassRecord* record;
    int groupOrder;
    int sortType;
    // Where the entries of the class stand. Empty if there are none, or none of another class.
    std::vector<int> places = {};
    bool placesKnown = false;
  };
  struct Find {
    VString key;
    const VClassRecord* record = nullptr;
    int sortType = 0;
    int position = -1;  // Next index for findNext(); -1 when the find is finished.
    bool bisect = false;
    bool caseSensitive = false;
    bool prefixKnown = false;  // `prefix` and `prefixed` stand for this find.
    bool prefixed = false;     // Entries of the class `record` may be compared by `prefix`.
    KeyPrefix prefix;
  };

  SortRow& row(const VClassRecord* record);
  static KeyPrefix prefixOf(std::string_view key, bool caseSensitive);
  void sortIfNeeded();
  void sort();
  bool prefixesDecide();
  void fillPrefixes();
  void dropRetired();
  TVHandle& step(int from, int direction, const VClassRecord* record, int* position);
  TVHandle& found(int index, int* position);
  bool prepareFind();
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
  int16_t openCount_ = 0;
  bool sortable_;
  bool ascending_ = true;
  bool caseSensitive_ = false;
  bool needsSort_ = false;
  bool hasRetired_ = false;
  bool prefixesValid_ = false;
  uint64_t keyChangesAtSort_ = 0;
};

}  // namespace foldapi
