// core/childlist.cpp: walking, sorting and finding in an open handle's children.
#include "core/childlist.h"

#include <algorithm>
#include <cstring>

#include "core/folderoptions.h"

namespace foldapi {

namespace {

// Gives `handle` the place that a caller asked for.
TVHandle& placed(TVHandle& handle, int index, int* position) {
  if (position != nullptr) *position = index;
  return handle;
}

uint64_t bigEndianWord(std::string_view bytes, bool caseSensitive) {
  uint64_t word = 0;
  const size_t count = std::min<size_t>(bytes.size(), 8);
  for (size_t i = 0; i < count; ++i) {
    auto byte = static_cast<unsigned char>(bytes[i]);
    if (!caseSensitive && byte >= 'A' && byte <= 'Z') byte = static_cast<unsigned char>(byte + 32);
    word |= static_cast<uint64_t>(byte) << (56 - 8 * i);
  }
  return word;
}

}  // namespace

TVChildList::TVChildList(TVHandle* owner, VBool sortable) : owner_(owner), sortable_(sortable) {}

TVChildList::~TVChildList() = default;

TVHandle& TVChildList::add(TVErrorSink& sink, TVObject* child) {
  TVHandle& handle = handles_.emplace_back(&sink, child);
  handle.home_ = this;
  entries_.push_back({{}, &handle, child->isA()});
  needsSort_ = true;
  forgetPlaces();
  prefixesValid_ = false;
  return handle;
}

void TVChildList::retire(TVHandle& handle) {
  handle.retired_ = true;
  hasRetired_ = true;
}

// Retired entries are dropped all at once at the next look, so that a sweep of many children stays
// linear. An entry at or before the cursor takes the cursor back with it.
void TVChildList::dropRetired() {
  if (!hasRetired_) return;
  hasRetired_ = false;
  int kept = 0;
  int cursor = cursor_;
  int position = find_.position;
  for (int i = 0; i < static_cast<int>(entries_.size()); ++i) {
    const auto index = static_cast<size_t>(i);
    if (!entries_[index].handle->retired_) {
      entries_[static_cast<size_t>(kept++)] = entries_[index];
      continue;
    }
    if (i <= cursor_) --cursor;
    if (i < find_.position) --position;
  }
  entries_.resize(static_cast<size_t>(kept));
  forgetPlaces();
  cursor_ = cursor;
  find_.position = position < kept ? position : -1;
}

// Sort rules
// ---------------------------------------------------------------------------------------

TVChildList::SortRow& TVChildList::row(const VClassRecord* record) {
  for (SortRow& known : rows_) {
    if (known.record == record) return known;
  }
  const TVFolderOptions* options = TVFolderOptions::lookup(record, 1);
  rows_.push_back({record, options == nullptr ? 0 : options->groupOrder(),
                   options == nullptr ? 0 : options->defaultSortType()});
  return rows_.back();
}

void TVChildList::setSortType(const VClassRecord* record, int sortType) {
  sortIfNeeded();
  SortRow& rule = row(record);
  if (rule.sortType != sortType) needsSort_ = true;
  rule.sortType = sortType;
}

void TVChildList::setGroupOrder(const VClassRecord* record, int order) {
  sortIfNeeded();
  SortRow& rule = row(record);
  if (rule.groupOrder != order) needsSort_ = true;
  rule.groupOrder = order;
}

void TVChildList::setAscending(VBool ascending) {
  sortIfNeeded();
  if (ascending_ != ascending) needsSort_ = true;
  ascending_ = ascending;
}

void TVChildList::setCaseSensitive(VBool caseSensitive) {
  sortIfNeeded();
  if (caseSensitive_ != caseSensitive) needsSort_ = true;
  caseSensitive_ = caseSensitive;
}

TVChildList::KeyPrefix TVChildList::prefixOf(std::string_view key, bool caseSensitive) {
  KeyPrefix prefix;
  prefix.high = bigEndianWord(key, caseSensitive);
  if (key.size() > 8) prefix.low = bigEndianWord(key.substr(8), caseSensitive);
  return prefix;
}

// Prefixes tell the order of two entries only where the first sort key is what decides: with group
// orders that differ, or with a class that orders its objects in its own way, they stay out of it.
bool TVChildList::prefixesDecide() {
  for (const Entry& entry : entries_) {
    const SortRow& rule = row(entry.record);
    if (rule.groupOrder != rows_.front().groupOrder) return false;
    if (!entry.handle->object()->ordersBySortKeys(rule.sortType)) return false;
  }
  return true;
}

void TVChildList::fillPrefixes() {
  prefixesValid_ = !entries_.empty() && prefixesDecide();
  keyChangesAtSort_ = TVObject::keyChanges();
  std::string scratch;
  for (Entry& entry : entries_) {
    entry.prefix = {};
    if (!prefixesValid_) continue;
    int index = 0;
    const TVObject& object = *entry.handle->object();
    const int sortType = row(entry.record).sortType;
    entry.prefix = prefixOf(object.sortKey(&index, sortType, &scratch), caseSensitive_);
  }
}

void TVChildList::sortIfNeeded() {
  dropRetired();
  if (!sortable_ || !needsSort_) return;
  needsSort_ = false;
  sort();
  cursor_ = 0;
}

// A merge sort: it stays within bounds whatever the comparison answers, which with mixed classes
// need not be consistent.
void TVChildList::sort() {
  fillPrefixes();
  forgetPlaces();
  const auto before = [this](const Entry& a, const Entry& b) {
    const Entry& left = ascending_ ? a : b;
    const Entry& right = ascending_ ? b : a;
    if (left.prefix != right.prefix) return left.prefix < right.prefix;
    return left.handle->object()->compareTo(*right.handle->object(), *this) < 0;
  };
  std::stable_sort(entries_.begin(), entries_.end(), before);
}

// Walks
// --------------------------------------------------------------------------------------------

TVHandle& TVChildList::step(int from, int direction, const VClassRecord* record, int* position) {
  const int count = static_cast<int>(entries_.size());
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
  return step(cursor_ - 1, -1, record, position);
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

// Finds
// --------------------------------------------------------------------------------------------

TVHandle& TVChildList::find(const VString& key, VBool caseSensitive, const VClassRecord* record,
                            int sortType, int* position) {
  if (position != nullptr) *position = -1;
  sortIfNeeded();
  find_ = Find();
  find_.key = key;
  find_.record = record;
  find_.sortType = sortType;
  find_.caseSensitive = caseSensitive;
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

// Settles the sort type and order of a find, and tells whether the order of the list can serve it.
bool TVChildList::prepareFind() {
  if (find_.caseSensitive != caseSensitive_) return false;
  if (find_.record != nullptr) {
    const SortRow& rule = row(find_.record);
    if (find_.sortType == 0) find_.sortType = rule.sortType;
    if ((find_.sortType & 0xff) != rule.sortType) return false;
  }
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
  if (keyChangesAtSort_ != TVObject::keyChanges()) {  // Prefixes may be those of old keys.
    find_.prefixKnown = true;
    find_.prefixed = false;
  }
  const int count = static_cast<int>(entries_.size());
  int index = find_.position;
  if (index >= 0) {
    const auto goesOn = [this](const Entry& entry) {
      return !isSought(entry) || (!find_.bisect && match(entry) != 0);
    };
    while (index < count && goesOn(entries_[static_cast<size_t>(index)])) ++index;
    if (index >= count || match(entries_[static_cast<size_t>(index)]) != 0) index = -1;
  }
  if (index >= 0) return found(index, position);
  find_.position = -1;
  return placed(theNullHandle(), -1, position);
}

// Halving needs a key that lies before or behind each entry that it meets. Between classes that is
// not so: in a project's list the folder "src" stands among the archives of the workfile directory
// "src", whose keys a folder's name can't be compared with. So only the entries of the sought class
// are looked at; within one class keys and order agree.
int TVChildList::bisect() {
  static const std::vector<int> all;
  if (find_.record == nullptr) return bisect(all, 0, static_cast<int>(entries_.size()));
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
  for (SortRow& rule : rows_) rule.placesKnown = false;
}

// The place of the first of the matches around the one that halving meets, or -1. `places` says
// which entries are looked at; empty means all.
int TVChildList::bisect(const std::vector<int>& places, int start, int count) {
  const auto placeOf = [&places](int i) {
    return places.empty() ? i : places[static_cast<size_t>(i)];
  };
  const auto matchAt = [&](int i) { return match(entries_[static_cast<size_t>(placeOf(i))]); };
  while (count >= 1) {
    int middle = start + count / 2;
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
  if (find_.prefixed && entry.prefix != find_.prefix) {
    return find_.prefix < entry.prefix ? -1 : 1;
  }
  const TVObject* object = entry.handle->object();
  if (find_.record != nullptr && find_.bisect && !find_.prefixKnown) {
    find_.prefixKnown = true;
    const std::string_view lead = object->leadingPart(find_.key.view(), find_.sortType);
    find_.prefixed = prefixesValid_ && lead.data() != nullptr;
    if (find_.prefixed) find_.prefix = prefixOf(lead, caseSensitive_);
  }
  return object->compareKey(find_.key.view(), find_.sortType, find_.caseSensitive);
}

}  // namespace foldapi
