// core/queuedhash.cpp: the queue beside the table.
//
// The table tells of every value that comes, goes or is found; the queue follows. Walks follow the
// queue too, and step off a value before it leaves. Its test: queuedhash_test.cpp.
#include "core/queuedhash.h"

#include <algorithm>
#include <iterator>

namespace foldapi {

const VClassRecord TVQueuedHash::theClass = {"TVQueuedHash", &TVHash::theClass, 0,
                                             []() -> VObject* { return new TVQueuedHash; }};

TVQueuedHash::TVQueuedHash(int capacity) : TVHash(capacity) {}

VObject* TVQueuedHash::add(VObject* value) {
  VObject* added = TVHash::add(value);
  trimTo(capacity());
  return added;
}

VObject* TVQueuedHash::set(VObject* value) {
  VObject* result = TVHash::set(value);
  trimTo(capacity());
  return result;
}

int TVQueuedHash::resize(int bucketCount) {
  trimTo(std::max(1, bucketCount));
  return TVHash::resize(bucketCount);
}

void TVQueuedHash::trimTo(int count) {
  while (size() > count) {
    VObject* oldest = queue_.front();
    if (removeIdentical(oldest) == nullptr) return;  // Its key changed behind the table's back.
    delete oldest;
  }
}

void TVQueuedHash::touch(VObject* value) {
  if (!hasIterators()) queue_.splice(queue_.end(), queue_, places_.at(value));
}

void TVQueuedHash::entered(VObject* value) { places_[value] = queue_.insert(queue_.end(), value); }

void TVQueuedHash::left(VObject* value) {
  const auto place = places_.find(value);
  const auto next = queue_.erase(place->second);
  places_.erase(place);
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) {
    if (i->queued_ == value) i->queued_ = next == queue_.end() ? nullptr : *next;
  }
}

void TVQueuedHash::exchanged(VObject* value, VObject* with) {
  const auto place = places_.at(value);
  *place = with;
  places_.erase(value);
  places_[with] = place;
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) {
    if (i->queued_ == value) i->queued_ = with;
  }
}

void TVQueuedHash::emptied() {
  queue_.clear();
  places_.clear();
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) i->queued_ = nullptr;
}

void TVQueuedHash::iteratorBegin(TVIterator* iterator) const {
  iterator->queued_ = queue_.empty() ? nullptr : queue_.front();
}

VObject* TVQueuedHash::iteratorNext(TVIterator* iterator) const {
  VObject* value = iterator->queued_;
  if (value == nullptr) return nullptr;
  const auto next = std::next(places_.at(value));
  iterator->queued_ = next == queue_.end() ? nullptr : *next;
  return value;
}

}  // namespace foldapi
