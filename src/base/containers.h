// base/containers.h: small collections of object pointers.
//
// None of them owns its elements, but for the operations that say "delete". Children stand in
// TVHash (core/hash.h), which has an order and a growth of its own. What the library doesn't call
// completes the classes for clients.
#pragma once

#include <cstddef>
#include <vector>

#include "base/vobject.h"

namespace foldapi {

// Slots that each hold an object or null.
class VObjArray {
 public:
  static constexpr size_t kFirstSlots = 10;

  VObjArray() : slots_(kFirstSlots) {}

  // The number of slots, empty ones too.
  int size() const { return static_cast<int>(slots_.size()); }
  // The element at an index; null for an empty slot and for an index out of range.
  VObject* at(int index) const;
  // The slot at an index: 0 for a negative one; one past the end makes the array grow. Good until
  // the array grows again.
  VObject*& slot(int index);
  // Uses the first empty slot, and gives its index.
  int add(VObject* object);
  // Deletes every element and empties its slot. The slots stay.
  void deleteAll();
  // The slots themselves, for sorting.
  VObject** data() { return slots_.data(); }

 private:
  std::vector<VObject*> slots_;
};

// A row of objects in the order in which they came, until data() is sorted.
class VOrdCollect {
 public:
  void add(VObject* object) { elements_.push_back(object); }
  // By identity. Gives the object, or null if it isn't here. Quick near the end.
  VObject* remove(const VObject* object);
  void clear() { elements_.clear(); }
  int size() const { return static_cast<int>(elements_.size()); }
  VObject* at(int index) const;  // Null for an index out of range.
  VObject** data() { return elements_.data(); }

 private:
  std::vector<VObject*> elements_;
};

// For clients that walk what collectChildren() gave them: the library itself walks child lists.
// A position in a collection, which must outlive it. It may stand before the first element and
// after the last, where no element is current. Changes to the collection don't move it.
class VIterator {
 public:
  explicit VIterator(const VOrdCollect& collection) : collection_(&collection) {}

  VObject* current() const { return collection_->at(position_); }
  int position() const { return position_; }
  // These give the element that is current then, or null.
  VObject* first();
  VObject* last();
  VObject* next();
  VObject* previous();

 private:
  const VOrdCollect* collection_;
  int position_ = 0;
};

// Objects of which no two are equal, found by any object whose hash() and isEqual() agree.
class VSet {
 public:
  static constexpr size_t kFirstBuckets = 15;

  VSet() : buckets_(kFirstBuckets) {}

  // Gives the object, or null if an equal one is here: it is refused then.
  VObject* add(VObject* object);
  // Gives the element that was equal to `key`, or null.
  VObject* remove(const VObject* key);
  VObject* find(const VObject* key) const;
  VBool contains(const VObject* key) const { return find(key) != nullptr; }
  int size() const { return size_; }

 private:
  using Bucket = std::vector<VObject*>;

  Bucket& bucketOf(const VObject* key);
  const Bucket& bucketOf(const VObject* key) const;
  void grow();

  std::vector<Bucket> buckets_;
  int size_ = 0;
};

}  // namespace foldapi
