// core/queuedhash.h: TVQueuedHash, a table of bounded size that forgets what was not used for the
// longest time.
#pragma once

#include "core/hash.h"

namespace foldapi {

// What a TVQueuedHash holds: a value that knows its neighbours in the queue, so that being found
// touches nothing but the value and those. It stands in one such table at most; a copy in none.
class TVQueuedValue : public VObject {
 public:
  TVQueuedValue() = default;
  TVQueuedValue(const TVQueuedValue& other) : VObject(other) {}
  TVQueuedValue& operator=(const TVQueuedValue&) { return *this; }

 private:
  friend class TVQueuedHash;
  TVQueuedValue* older_ = nullptr;
  TVQueuedValue* newer_ = nullptr;
};

// Holds TVQueuedValues, at most as many as it has buckets, and never grows by itself. A value that
// no longer fits is removed and DELETED: the table owns what it evicts, and only that. Walks go
// from the value that was used least recently to the last one used. Use is being added or found; a
// find during a walk doesn't count as use, since it would move entries under the walk.
class TVQueuedHash : public TVHash {
 public:
  static const VClassRecord theClass;

  explicit TVQueuedHash(int capacity = kDefaultBuckets);

  const VClassRecord* isA() const override { return &theClass; }

  // As in TVHash; then the oldest values go until the rest fits. A value that set() puts in the
  // place of an equal one takes over its age.
  VObject* add(VObject* value) override;
  VObject* set(VObject* value) override;
  // What a find of this value, which is here, does.
  void use(TVQueuedValue* value) { touch(value); }
  // Evicts first, if the new size is smaller. Ages stay.
  int resize(int bucketCount) override;
  std::vector<VObject*> values() const override;

 protected:
  void touch(VObject* value) override;
  void entered(VObject* value) override;
  void left(VObject* value) override;
  void exchanged(VObject* value, VObject* with) override;
  void emptied() override;
  void checkGrow() override {}
  void iteratorBegin(TVIterator* iterator) const override;
  VObject* iteratorNext(TVIterator* iterator) const override;

 private:
  void trimTo(int count);
  void insert(TVQueuedValue* value, TVQueuedValue* older, TVQueuedValue* newer);
  void unlink(TVQueuedValue* value);

  TVQueuedValue* oldest_ = nullptr;
  TVQueuedValue* newest_ = nullptr;
};

}  // namespace foldapi
