// core/queuedhash.cpp: the queue beside the table.
//
// The table tells of every value that enters, leaves or is found; the queue, whose links lie in the
// values, follows. Walks follow the queue too, and step off a value before it leaves. Its test:
// hash_test.cpp.
#include "core/queuedhash.h"

#include <algorithm>

namespace foldapi {

const VClassRecord TVQueuedHash::theClass = {"TVQueuedHash", &TVHash::theClass, 0,
                                             []() -> VObject* { return new TVQueuedHash; }};

namespace {

TVQueuedValue* queued(VObject* value) { return static_cast<TVQueuedValue*>(value); }

}  // namespace

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
    VObject* oldest = oldest_;
    if (removeIdentical(oldest) == nullptr) return;  // Its key changed without a word to the table.
    delete oldest;
  }
}

std::vector<VObject*> TVQueuedHash::values() const {
  std::vector<VObject*> all;
  all.reserve(static_cast<size_t>(size()));
  for (TVQueuedValue* value = oldest_; value != nullptr; value = value->newer_) {
    all.push_back(value);
  }
  return all;
}

// The queue ---------------------------------------------------------------------------------------

void TVQueuedHash::insert(TVQueuedValue* value, TVQueuedValue* older, TVQueuedValue* newer) {
  value->older_ = older;
  value->newer_ = newer;
  (older == nullptr ? oldest_ : older->newer_) = value;
  (newer == nullptr ? newest_ : newer->older_) = value;
}

void TVQueuedHash::unlink(TVQueuedValue* value) {
  (value->older_ == nullptr ? oldest_ : value->older_->newer_) = value->newer_;
  (value->newer_ == nullptr ? newest_ : value->newer_->older_) = value->older_;
  value->older_ = nullptr;
  value->newer_ = nullptr;
}

void TVQueuedHash::touch(VObject* value) {
  if (hasIterators() || value == newest_) return;
  unlink(queued(value));
  insert(queued(value), newest_, nullptr);
}

void TVQueuedHash::entered(VObject* value) { insert(queued(value), newest_, nullptr); }

void TVQueuedHash::left(VObject* value) {
  VObject* next = queued(value)->newer_;
  unlink(queued(value));
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) {
    if (i->queued_ == value) i->queued_ = next;
  }
}

void TVQueuedHash::exchanged(VObject* value, VObject* with) {
  TVQueuedValue* older = queued(value)->older_;
  TVQueuedValue* newer = queued(value)->newer_;
  unlink(queued(value));
  insert(queued(with), older, newer);
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) {
    if (i->queued_ == value) i->queued_ = with;
  }
}

void TVQueuedHash::emptied() {
  while (oldest_ != nullptr) unlink(oldest_);
  for (TVIterator* i = iterators_; i != nullptr; i = i->nextIterator_) i->queued_ = nullptr;
}

void TVQueuedHash::iteratorBegin(TVIterator* iterator) const { iterator->queued_ = oldest_; }

VObject* TVQueuedHash::iteratorNext(TVIterator* iterator) const {
  VObject* value = iterator->queued_;
  if (value != nullptr) iterator->queued_ = queued(value)->newer_;
  return value;
}

}  // namespace foldapi
