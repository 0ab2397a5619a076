// core/childlist.cpp: walking, sorting and finding in an open handle's children.
#include "core/childlist.h"

#include <algorithm>
#include <climits>
#include <functional>

#include "core/folderoptions.h"
#include "core/prefetch.h"
#include "runtime/mbstring.h"

namespace foldapi {

namespace {

// Gives `handle` the place that a caller asked for.
TVHandle& placed(TVHandle& handle, int index, int* position) {
  if (position != nullptr) *position = index;
  return handle;
}

constexpr size_t kPrefixBytes = 24;
// Equal beginnings up to here are enough: what comes after is compared as a whole.
constexpr size_t kLongestBeginning = 40 * kPrefixBytes;

uint64_t bigEndianWord(const char* bytes) {
  uint64_t word = 0;
  for (int i = 0; i < 8; ++i) word = word << 8 | static_cast<unsigned char>(bytes[i]);
  return word;
}

// An index is made when finds have looked at a part of the entries without one. Making it takes as
// long as looking at all of them, and some more.
constexpr size_t kLooksBeforeIndex = 8;

// Equal for keys that a find takes for equal.
size_t hashOf(const std::array<std::string_view, 2>& parts, int count, VCase letterCase) {
  size_t hash = 0;
  std::string text;
  for (int i = 0; i < count; ++i) {
    text = parts[static_cast<size_t>(i)];
    if (letterCase == VCase::kIgnored) {
      std::transform(text.begin(), text.end(), text.begin(), foldedCase);
    }
    hash = hash * 31 + std::hash<std::string_view>()(text);
  }
  return hash;
}

}  // namespace

// Collects a prefix. Keys are compared one after the other and a key before its extensions, and so
// are their bytes with NULs between: no key has one.
class TVChildList::KeyBytes {
 public:
  // Passes over the first `offset` bytes.
  explicit KeyBytes(size_t offset) : skip_(offset) {}

  void add(std::string_view key) {
    take(key);
    take(std::string_view("", 1));
  }
  // Whether there was more than fits.
  bool isCut() const { return isCut_; }

  KeyPrefix prefix(VCase letterCase) {
    if (letterCase == VCase::kIgnored) std::transform(bytes_, bytes_ + used_, bytes_, foldedCase);
    return words();
  }
  // As prefix(), with all bits set where there is a byte.
  KeyPrefix mask() {
    std::fill(bytes_, bytes_ + used_, '\xff');
    return words();
  }

 private:
  void take(std::string_view text) {
    const size_t skipped = std::min(skip_, text.size());
    skip_ -= skipped;
    text.remove_prefix(skipped);
    const size_t count = text.copy(bytes_ + used_, kPrefixBytes - used_);
    used_ += count;
    isCut_ = isCut_ || count < text.size();
  }
  KeyPrefix words() const {
    return {{bigEndianWord(bytes_), bigEndianWord(bytes_ + 8), bigEndianWord(bytes_ + 16)}};
  }

  size_t skip_;
  size_t used_ = 0;
  bool isCut_ = false;
  char bytes_[kPrefixBytes] = {};
};

TVChildList::KeyPrefix TVChildList::KeyPrefix::maskedBy(const KeyPrefix& mask) const {
  return {{words[0] & mask.words[0], words[1] & mask.words[1], words[2] & mask.words[2]}};
}

TVChildList::TVChildList(TVHandle* owner, VBool sortable) : owner_(owner), sortable_(sortable) {}

TVChildList::~TVChildList() {
  for (size_t i = 0; i < handles_.size(); ++i) {
    if (i + kRoundsAhead < handles_.size()) prefetch(handles_[i + kRoundsAhead].object());
    handles_[i].moveTo(nullptr);
  }
}

TVHandle& TVChildList::add(TVErrorSink& sink, TVObject* child) {
  TVHandle& handle = handles_.emplace_back(&sink, child);
  handle.home_ = this;
  entries_.push_back({{}, &handle, child->isA()});
  needsSort_ = true;
  forgetPlaces();
  prefixKeys_ = 0;
  return handle;
}

void TVChildList::retire(TVHandle& handle) {
  handle.retired_ = true;
  handle.home_ = nullptr;
  hasRetired_ = true;
}

// Retired entries are dropped all at once at the next look, so that a sweep of many children stays
// linear. An entry at or before the cursor takes the cursor back with it: a step forward goes on
// after the gap. A step back from there must not pass over the entry that the cursor moved to.
void TVChildList::dropRetired() {
  if (!hasRetired_) return;
  hasRetired_ = false;
  int kept = 0;
  size_t inOrder = inOrder_;
  int cursor = cursor_;
  int position = find_.position;
  for (int i = 0; i < static_cast<int>(entries_.size()); ++i) {
    const auto index = static_cast<size_t>(i);
    if (!entries_[index].handle->retired_) {
      entries_[static_cast<size_t>(kept++)] = entries_[index];
      continue;
    }
    if (index < inOrder_) --inOrder;
    if (i <= cursor_) --cursor;
    if (i == cursor_) currentGone_ = true;
    if (i < find_.position) --position;
  }
  entries_.resize(static_cast<size_t>(kept));
  forgetPlaces();
  inOrder_ = inOrder;
  cursor_ = cursor;
  find_.position = position < kept ? position : -1;
}

// Sort rules --------------------------------------------------------------------------------------

TVChildList::SortRow& TVChildList::row(const VClassRecord* record) {
  for (SortRow& known : rows_) {
    if (known.record == record) return known;
  }
  const TVFolderOptions* options = TVFolderOptions::lookup(record, kAbstractVersion);
  rows_.push_back({record, options == nullptr ? 0 : options->groupOrder(),
                   options == nullptr ? TVSortType::kDefault : options->defaultSortType()});
  return rows_.back();
}

template <typename Rule>
void TVChildList::change(Rule* rule, Rule value) {
  if (*rule == value) return;
  *rule = value;
  needsSort_ = true;
  inOrder_ = 0;
}

void TVChildList::setSortType(const VClassRecord* record, TVSortType sortType) {
  sortIfNeeded();
  change(&row(record).sortType, sortType);
}

void TVChildList::setGroupOrder(const VClassRecord* record, int order) {
  sortIfNeeded();
  change(&row(record).groupOrder, order);
}

void TVChildList::setAscending(VBool ascending) {
  sortIfNeeded();
  change(&ascending_, bool{ascending});
}

void TVChildList::setCaseSensitive(VBool caseSensitive) {
  sortIfNeeded();
  change(&letterCase_, caseSensitive ? VCase::kExact : VCase::kIgnored);
}

// Prefixes tell the order of two entries only where sort keys are what decides: with group orders
// that differ, or with a class that orders its objects in its own way, they stay out of it. A class
// with fewer keys than another is compared with it by those that both have. One that has none, as
// promotion groups, says nothing about the others: its entries are placed among them by themselves.
int TVChildList::keysThatDecide() {
  int keys = INT_MAX;
  bool decide = true;
  std::string scratch;
  const VClassRecord* last = nullptr;
  const VClassRecord* keyed = nullptr;
  bool isOnly = true;
  for (const Entry& entry : entries_) {
    if (entry.record == last) continue;
    const TVObject& object = *entry.handle->object();
    SortRow& rule = row(entry.record);
    int index = 0;
    object.sortKey(&index, rule.sortType, &scratch);
    rule.hasKeys = index < 0;
    if (rule.hasKeys) {
      keys = std::min(keys, -index);
      isOnly = isOnly && (keyed == nullptr || keyed == entry.record);
      keyed = entry.record;
    }
    last = entry.record;
    rule.ordersByKeys = object.ordersBySortKeys(rule.sortType);
    const int firstGroup = row(entries_.front().record).groupOrder;
    decide = decide && rule.ordersByKeys && rule.groupOrder == firstGroup;
  }
  onlyKeyed_ = isOnly ? keyed : nullptr;
  return decide && keys != INT_MAX ? keys : 0;
}

TVChildList::KeyBytes TVChildList::keyBytes(const Entry& entry, size_t offset,
                                            std::string* scratch) {
  KeyBytes bytes(offset);
  const TVObject& object = *entry.handle->object();
  const TVSortType sortType = row(entry.record).sortType;
  for (int position = 0; position < prefixKeys_ && !bytes.isCut(); ++position) {
    int index = position;
    bytes.add(object.sortKey(&index, sortType, scratch));
  }
  return bytes;
}

void TVChildList::fillPrefixes() {
  prefixKeys_ = keysThatDecide();
  std::string scratch;
  const size_t count = entries_.size();
  for (size_t i = 0; i < count; ++i) {
    if (i + 2 * kRoundsAhead < count) prefetch(entries_[i + 2 * kRoundsAhead].handle);
    if (i + kRoundsAhead < count) prefetchObject(entries_[i + kRoundsAhead].handle->object());
    entries_[i].prefix = keyBytes(entries_[i], 0, &scratch).prefix(letterCase_);
  }
  keyChangesAtSort_ = TVObject::keyChanges();
}

void TVChildList::sortIfNeeded() {
  dropRetired();
  if (!sortable_ || !needsSort_) return;
  if (!mergeAdded()) sort();
  inOrder_ = entries_.size();
  keysOfSort_ = prefixKeys_;
  needsSort_ = false;  // Not before: a sort that had no memory is still due.
  cursor_ = 0;
  currentGone_ = false;
}

// Puts the entries that were added since the last sort where it would put them, if that is sure:
// with several classes that have keys comparisons need not be consistent, and a few added ones
// might make a sort come to another order of the others.
bool TVChildList::mergeAdded() {
  const size_t count = entries_.size();
  if (count - inOrder_ > inOrder_ || keysOfSort_ == 0 || onlyKeyed_ == nullptr ||
      keyChangesAtSort_ != TVObject::keyChanges()) {
    return false;
  }
  for (size_t i = inOrder_; i < count; ++i) {
    if (entries_[i].record != onlyKeyed_) return false;
  }
  forgetPrefixOfFind();
  prefixKeys_ = keysOfSort_;
  std::string scratch;
  for (size_t i = inOrder_; i < count; ++i) {
    entries_[i].prefix = keyBytes(entries_[i], 0, &scratch).prefix(letterCase_);
  }
  sortRun(inOrder_, count, 0);
  placeRest(inOrder_, [this](const Entry& a, const Entry& b) { return isBeforeByPrefix(a, b); });
  return true;
}

void TVChildList::sort() {
  forgetPrefixOfFind();
  fillPrefixes();
  forgetPlaces();
  if (prefixKeys_ == 0) {
    sortByComparing(0, entries_.size());
    return;
  }
  const size_t keyed = gatherKeyed();
  sortRun(0, keyed, 0);
  sortByComparing(keyed, entries_.size());
  placeRest(keyed, [this](const Entry& a, const Entry& b) { return isBefore(a, b); });
}

// Moves entries of classes without keys after all others. Gives the number of those.
size_t TVChildList::gatherKeyed() {
  const auto isKeyless = [](const SortRow& rule) { return !rule.hasKeys; };
  if (std::none_of(rows_.begin(), rows_.end(), isKeyless)) return entries_.size();
  const auto rest = std::stable_partition(entries_.begin(), entries_.end(),
                                          [this](const Entry& e) { return row(e.record).hasKeys; });
  return static_cast<size_t>(rest - entries_.begin());
}

// Moves the entries from `sorted` on, sorted too, to their places among those before them, after
// equal ones.
template <typename Before>
void TVChildList::placeRest(size_t sorted, Before before) {
  if (sorted == entries_.size()) return;
  const auto end = entries_.cbegin() + static_cast<std::ptrdiff_t>(sorted);
  std::vector<Entry> placed;
  placed.reserve(entries_.size());
  auto next = entries_.cbegin();
  for (auto entry = end; entry != entries_.cend(); ++entry) {
    const auto place =
        std::partition_point(next, end, [&](const Entry& other) { return !before(*entry, other); });
    placed.insert(placed.end(), next, place);
    placed.push_back(*entry);
    next = place;
  }
  placed.insert(placed.end(), next, end);
  entries_ = std::move(placed);
}

// Sorts entries whose keys are equal up to `offset` by what comes next, and then those that are
// still equal among themselves. So an object is touched once for each prefix of its keys, and not
// whenever it is compared.
void TVChildList::sortRun(size_t begin, size_t end, size_t offset) {
  struct Item {
    KeyPrefix prefix;
    size_t place;
  };
  std::vector<Item> items;
  items.reserve(end - begin);
  std::string scratch;
  for (size_t i = begin; i < end; ++i) {
    items.push_back({offset == 0 ? entries_[i].prefix
                                 : keyBytes(entries_[i], offset, &scratch).prefix(letterCase_),
                     i});
  }
  std::sort(items.begin(), items.end(), [this](const Item& a, const Item& b) {
    const int order = a.prefix.compare(b.prefix);
    if (order == 0) return a.place < b.place;
    return ascending_ ? order < 0 : order > 0;
  });
  std::vector<Entry> sorted;
  sorted.reserve(items.size());
  for (const Item& item : items) sorted.push_back(entries_[item.place]);
  std::copy(sorted.begin(), sorted.end(), entries_.begin() + static_cast<std::ptrdiff_t>(begin));
  for (size_t first = 0, next; first < items.size(); first = next) {
    next = first + 1;
    while (next < items.size() && items[next].prefix.compare(items[first].prefix) == 0) ++next;
    if (next > first + 1) sortEqual(begin + first, begin + next, offset);
  }
}

// Sorts entries whose keys are equal in the prefix at `offset`, too.
void TVChildList::sortEqual(size_t begin, size_t end, size_t offset) {
  // Where one of equal beginnings is cut, all are: they have equally many keys.
  std::string scratch;
  const bool goesOn = keyBytes(entries_[begin], offset, &scratch).isCut();
  if (goesOn && offset < kLongestBeginning) {
    sortRun(begin, end, offset + kPrefixBytes);
  } else {
    sortByComparing(begin, end);
  }
}

// A merge sort: it stays within bounds whatever the comparison answers, which with mixed classes
// need not be consistent. A comparison that throws must not lose entries, so a copy is sorted.
void TVChildList::sortByComparing(size_t begin, size_t end) {
  const auto at = [this](size_t i) { return entries_.begin() + static_cast<std::ptrdiff_t>(i); };
  std::vector<Entry> sorted(at(begin), at(end));
  std::stable_sort(sorted.begin(), sorted.end(),
                   [this](const Entry& a, const Entry& b) { return isBefore(a, b); });
  std::copy(sorted.begin(), sorted.end(), at(begin));
}

bool TVChildList::isBefore(const Entry& a, const Entry& b) {
  const Entry& left = ascending_ ? a : b;
  const Entry& right = ascending_ ? b : a;
  return left.handle->object()->compareTo(*right.handle->object(), *this) < 0;
}

bool TVChildList::isBeforeByPrefix(const Entry& a, const Entry& b) {
  const int order = a.prefix.compare(b.prefix);
  if (order == 0) return isBefore(a, b);
  return ascending_ ? order < 0 : order > 0;
}

// Walks -------------------------------------------------------------------------------------------

TVHandle& TVChildList::step(int from, int direction, const VClassRecord* record, int* position) {
  const int count = static_cast<int>(entries_.size());
  currentGone_ = false;
  for (cursor_ = from; cursor_ >= 0 && cursor_ < count; cursor_ += direction) {
    const Entry& entry = entries_[static_cast<size_t>(cursor_)];
    if (record == nullptr || entry.record == record) {
      return placed(*entry.handle, cursor_, position);
    }
  }
  cursor_ = cursor_ < 0 ? -1 : count;
  return placed(theNullHandle(), cursor_, position);
}

TVHandle& TVChildList::first(const VClassRecord* record, int* position) {
  sortIfNeeded();
  return step(0, 1, record, position);
}

TVHandle& TVChildList::next(const VClassRecord* record, int* position) {
  dropRetired();
  if (cursor_ >= static_cast<int>(entries_.size()))
    return placed(theNullHandle(), cursor_, position);
  return step(cursor_ + 1, 1, record, position);
}

TVHandle& TVChildList::last(const VClassRecord* record, int* position) {
  sortIfNeeded();
  return step(static_cast<int>(entries_.size()) - 1, -1, record, position);
}

TVHandle& TVChildList::previous(const VClassRecord* record, int* position) {
  dropRetired();
  if (cursor_ < 0) return placed(theNullHandle(), cursor_, position);
  return step(currentGone_ ? cursor_ : cursor_ - 1, -1, record, position);
}

TVHandle& TVChildList::current(int* position) {
  dropRetired();
  const bool inside = cursor_ >= 0 && cursor_ < static_cast<int>(entries_.size());
  return placed(inside ? *entries_[static_cast<size_t>(cursor_)].handle : theNullHandle(), cursor_,
                position);
}

void TVChildList::collect(VOrdCollect* target, const VClassRecord* record) {
  target->clear();
  for (TVHandle* handle = &first(record, nullptr); !handle->isNull();
       handle = &next(record, nullptr)) {
    target->add(handle);
  }
}

// Finds -------------------------------------------------------------------------------------------

TVHandle& TVChildList::find(const VString& key, VCase letterCase, const VClassRecord* record,
                            TVSortType sortType, int* position) {
  if (position != nullptr) *position = -1;
  sortIfNeeded();
  find_ = Find();
  find_.key = key;
  find_.record = record;
  find_.sortType = sortType;
  find_.letterCase = letterCase;
  find_.position = 0;
  find_.bisect = prepareFind();
  if (!find_.bisect) return findNext(position);
  const int index = bisect();
  if (index < 0) {
    find_.position = -1;
    return placed(theNullHandle(), index, position);
  }
  return found(index, position);
}

// Settles the sort type of a find, and tells whether the order of the list can serve it. It can't
// where classes with sort types of their own are mixed, or where it is not that of the keys: items
// are in the order of their numbers and are found by the texts of these.
bool TVChildList::prepareFind() {
  if (find_.letterCase != letterCase_ || find_.record == nullptr) return false;
  const SortRow& rule = row(find_.record);
  if (find_.sortType == TVSortType::kDefault) find_.sortType = rule.sortType;
  if (listOrderOf(find_.sortType) != rule.sortType || !rule.ordersByKeys) return false;
  if (sortable_ && keyChangesAtSort_ != TVObject::keyChanges()) fillPrefixes();
  return sortable_;
}

TVHandle& TVChildList::found(int index, int* position) {
  const int next = index + 1;
  find_.position = next < static_cast<int>(entries_.size()) ? next : -1;
  return placed(*entries_[static_cast<size_t>(index)].handle, index, position);
}

TVHandle& TVChildList::findNext(int* position) {
  dropRetired();
  // Prefixes may be those of old keys, or missing with new entries.
  if (prefixKeys_ == 0 || keyChangesAtSort_ != TVObject::keyChanges()) forgetPrefixOfFind();
  const int count = static_cast<int>(entries_.size());
  int index = find_.position;
  if (index >= 0 && !find_.bisect) {
    index = nextMatch(index);
  } else if (index >= 0) {
    while (index < count && !isSought(entries_[static_cast<size_t>(index)])) ++index;
    if (index >= count || match(entries_[static_cast<size_t>(index)]) != 0) index = -1;
  }
  if (index >= 0) return found(index, position);
  find_.position = -1;
  return placed(theNullHandle(), -1, position);
}

// The first match from a place on, or -1.
int TVChildList::nextMatch(int from) {
  const auto at = [this](int place) -> const Entry& {
    return entries_[static_cast<size_t>(place)];
  };
  const int count = static_cast<int>(entries_.size());
  KeyIndex* const index = indexOfFind();
  if (index != nullptr && index->keys != 0) {
    const TVObject& any = *at(index->places.front().second).handle->object();
    const size_t hash = hashOf(any.keyParts(find_.key.view(), find_.sortType).parts, index->keys,
                               index->letterCase);
    auto entry =
        std::lower_bound(index->places.begin(), index->places.end(), std::pair(hash, from));
    for (; entry != index->places.end() && entry->first == hash; ++entry) {
      if (match(at(entry->second)) == 0) return entry->second;
    }
    return -1;
  }
  int place = from;
  while (place < count && (!isSought(at(place)) || match(at(place)) != 0)) ++place;
  if (index != nullptr) index->looks += static_cast<size_t>(place - from) + 1;
  return place < count ? place : -1;
}

// That of finds like the present one, made if it is due; null where an index can't serve.
TVChildList::KeyIndex* TVChildList::indexOfFind() {
  if (find_.record == nullptr) return nullptr;
  if (keyChangesAtIndexes_ != TVObject::keyChanges()) indexes_.clear();
  keyChangesAtIndexes_ = TVObject::keyChanges();
  const auto isOfFind = [this](const KeyIndex& index) {
    return index.record == find_.record && index.sortType == find_.sortType &&
           index.letterCase == find_.letterCase;
  };
  const auto known = std::find_if(indexes_.begin(), indexes_.end(), isOfFind);
  if (known == indexes_.end()) {
    indexes_.push_back({find_.record, find_.sortType, find_.letterCase});
    return &indexes_.back();
  }
  if (known->keys == 0 && known->looks >= entries_.size() / kLooksBeforeIndex) {
    const auto sought = std::find_if(entries_.begin(), entries_.end(),
                                     [this](const Entry& entry) { return isSought(entry); });
    if (sought == entries_.end()) return nullptr;
    const TVObject& object = *sought->handle->object();
    makeIndex(&*known, object.keyParts(find_.key.view(), find_.sortType).count);
  }
  return &*known;
}

void TVChildList::makeIndex(KeyIndex* index, int keys) {
  if (keys == 0) return;
  const TVSortType sortType = listOrderOf(index->sortType);
  std::vector<std::pair<size_t, int>> places;
  std::string scratch[2];
  for (int place = 0; place < static_cast<int>(entries_.size()); ++place) {
    const Entry& entry = entries_[static_cast<size_t>(place)];
    if (!isSought(entry)) continue;
    std::array<std::string_view, 2> parts;
    for (int i = 0; i < keys; ++i) {
      int position = i;
      parts[static_cast<size_t>(i)] =
          entry.handle->object()->sortKey(&position, sortType, &scratch[i]);
    }
    places.emplace_back(hashOf(parts, keys, index->letterCase), place);
  }
  std::sort(places.begin(), places.end());
  index->places = std::move(places);
  index->keys = keys;
}

// Halving needs a key that lies before or after each entry that it meets. Between classes that is
// not so: in a project's list the folder "src" stands among the archives of the workfile directory
// "src", whose keys a folder's name can't be compared with. So only the entries of the sought class
// are looked at; within one class keys and order agree.
int TVChildList::bisect() {
  SortRow& rule = row(find_.record);
  if (!rule.placesKnown) fillPlaces(&rule);
  const bool alone = !entries_.empty() && rule.places.empty() && isSought(entries_.front());
  const size_t count = alone ? entries_.size() : rule.places.size();
  return bisect(rule.places, 0, static_cast<int>(count));
}

void TVChildList::fillPlaces(SortRow* rule) {
  rule->placesKnown = true;
  rule->places.clear();
  const auto isOther = [rule](const Entry& entry) { return entry.record != rule->record; };
  if (std::none_of(entries_.begin(), entries_.end(), isOther)) return;
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (!isOther(entries_[i])) rule->places.push_back(static_cast<int>(i));
  }
}

void TVChildList::forgetPlaces() {
  indexes_.clear();
  for (SortRow& rule : rows_) rule.placesKnown = false;
}

// The place of the first of the matches around the one that halving meets, or -1. `places` says
// which entries are looked at; empty means all.
int TVChildList::bisect(const std::vector<int>& places, int start, int count) {
  const auto placeOf = [&places](int i) {
    return places.empty() ? i : places[static_cast<size_t>(i)];
  };
  const auto entryAt = [&](int i) -> const Entry& {
    return entries_[static_cast<size_t>(placeOf(i))];
  };
  const auto matchAt = [&](int i) { return match(entryAt(i)); };
  while (count >= 1) {
    int middle = start + count / 2;
    if (count > 2) {  // Either half may be next.
      prefetch(&entryAt(start + count / 4));
      prefetch(&entryAt(middle + 1 + (count - count / 2 - 1) / 2));
    }
    int order = matchAt(middle);
    if (order == 0) {
      while (middle > 0 && matchAt(middle - 1) == 0) --middle;
      return placeOf(middle);
    }
    if (!ascending_) order = -order;
    if (order < 0) {
      count = middle - start;
    } else {
      count -= middle - start + 1;
      start = middle + 1;
    }
  }
  return -1;
}

bool TVChildList::isSought(const Entry& entry) const {
  return find_.record == nullptr || entry.record == find_.record;
}

// Compares the key of the find with an entry of the sought class: 0 is a match, below 0 lies before
// it.
int TVChildList::match(const Entry& entry) {
  if (find_.bisect && !find_.prefixKnown) {
    preparePrefix(*entry.handle->object());
  }
  if (find_.prefixed) {
    const int order = find_.prefix.compare(entry.prefix.maskedBy(find_.mask));
    if (order != 0 || find_.isWhole) return order;
  }
  return entry.handle->object()->compareKey(find_.key.view(), find_.sortType, find_.letterCase);
}

// From here on the find compares with the objects themselves.
void TVChildList::forgetPrefixOfFind() {
  find_.prefixKnown = true;
  find_.prefixed = false;
}

// Makes the prefix of the key, as an object of the sought class would have it.
void TVChildList::preparePrefix(const TVObject& object) {
  find_.prefixKnown = true;
  const TVObject::KeyParts key = object.keyParts(find_.key.view(), find_.sortType);
  const int count = std::min(key.count, prefixKeys_);
  find_.prefixed = count != 0 && !find_.key.contains('\0');
  if (!find_.prefixed) return;
  KeyBytes bytes(0);
  for (int i = 0; i < count; ++i) bytes.add(key.parts[static_cast<size_t>(i)]);
  find_.isWhole = count == key.count && !bytes.isCut();
  find_.prefix = bytes.prefix(letterCase_);
  find_.mask = bytes.mask();
}

}  // namespace foldapi
