// base/containers.cpp: slots, rows and sets of objects.
#include "base/containers.h"

#include <algorithm>

namespace foldapi {

namespace {

VObject* elementAt(const std::vector<VObject*>& elements, int index) {
  const auto place = static_cast<size_t>(index);  // A negative one is out of range as well.
  return place < elements.size() ? elements[place] : nullptr;
}

std::vector<VObject*>::const_iterator equalIn(const std::vector<VObject*>& elements,
                                              const VObject* key) {
  return std::find_if(elements.begin(), elements.end(),
                      [&](const VObject* element) { return element->isEqual(key); });
}

}  // namespace

// VObjArray ---------------------------------------------------------------------------------------

VObject* VObjArray::at(int index) const { return elementAt(slots_, index); }

VObject*& VObjArray::slot(int index) {
  const auto place = static_cast<size_t>(std::max(0, index));
  if (place >= slots_.size()) slots_.resize(place + 1);
  return slots_[place];
}

int VObjArray::add(VObject* object) {
  const auto empty = std::find(slots_.begin(), slots_.end(), nullptr);
  const auto index = static_cast<int>(empty - slots_.begin());
  slot(index) = object;
  return index;
}

void VObjArray::deleteAll() {
  for (VObject*& element : slots_) {
    delete element;
    element = nullptr;
  }
}

// VOrdCollect and VIterator -----------------------------------------------------------------------

VObject* VOrdCollect::remove(const VObject* object) {
  const auto found = std::find(elements_.rbegin(), elements_.rend(), object);
  if (found == elements_.rend()) return nullptr;
  VObject* removed = *found;
  elements_.erase(std::next(found).base());
  return removed;
}

VObject* VOrdCollect::at(int index) const { return elementAt(elements_, index); }

VObject* VIterator::first() {
  position_ = 0;
  return current();
}

VObject* VIterator::last() {
  position_ = collection_->size() - 1;
  return current();
}

VObject* VIterator::next() {
  if (position_ < collection_->size()) ++position_;
  return current();
}

VObject* VIterator::previous() {
  if (position_ >= 0) --position_;
  return current();
}

// VSet --------------------------------------------------------------------------------------------

const VSet::Bucket& VSet::bucketOf(const VObject* key) const {
  return buckets_[static_cast<uint32_t>(key->hash()) % buckets_.size()];
}

VSet::Bucket& VSet::bucketOf(const VObject* key) {
  return const_cast<Bucket&>(static_cast<const VSet*>(this)->bucketOf(key));
}

VObject* VSet::find(const VObject* key) const {
  const Bucket& bucket = bucketOf(key);
  const auto found = equalIn(bucket, key);
  return found == bucket.end() ? nullptr : *found;
}

VObject* VSet::add(VObject* object) {
  if (find(object) != nullptr) return nullptr;
  if (static_cast<size_t>(size_) >= 2 * buckets_.size()) grow();
  bucketOf(object).push_back(object);
  ++size_;
  return object;
}

VObject* VSet::remove(const VObject* key) {
  Bucket& bucket = bucketOf(key);
  const auto found = equalIn(bucket, key);
  if (found == bucket.end()) return nullptr;
  VObject* removed = *found;
  bucket.erase(found);
  --size_;
  return removed;
}

void VSet::grow() {
  VSet larger;  // Where memory is short, this one stays as it was.
  larger.buckets_.resize(2 * buckets_.size() + 1);
  for (const Bucket& bucket : buckets_) {
    for (VObject* element : bucket) larger.bucketOf(element).push_back(element);
  }
  buckets_.swap(larger.buckets_);
}

}  // namespace foldapi
