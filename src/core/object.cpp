// core/object.cpp: references, uses, edits and the cache of children.
#include "core/object.h"

#include <atomic>
#include <deque>
#include <new>

#include "core/childlist.h"
#include "core/handle.h"
#include "core/prefetch.h"
#include "core/result.h"

namespace foldapi {

const VClassRecord TVObject::theClass = {"c", &VObject::theClass, 3, nullptr};

namespace {

uint64_t theKeyChanges = 0;

}  // namespace

// The table of the owner is there from now on: at its end the object looks for itself in it.
TVObject::TVObject(TVObject* owner, TVCaching caching)
    : transient_(caching == TVCaching::kTransient), owner_(owner) {
  if (owner_ != nullptr && !transient_) owner_->children();
}

// Children that a reload cached while nothing used them go with their owner. None of them is
// referred to: every reference on a child counts here as well.
TVObject::~TVObject() {
  forEachChild([](TVObject* child) {
    child->isInTable_ = false;
    child->owner_ = nullptr;
    delete child;
  });
  if (owner_ == nullptr || transient_) return;
  if (owner_->children_->forget(this) != nullptr) owner_->lostChildren_ = true;
}

bool TVObject::isEqual(const VObject* other) const {
  if (other->isA() != isA()) return false;
  return static_cast<const TVObject*>(other)->transient_ == transient_;
}

int32_t TVObject::hash() const {
  if (hashValue_ == kHashUnknown) {
    hashValue_ = computeHash();
    if (hashValue_ == kHashUnknown) ++hashValue_;
  }
  return hashValue_;
}

uint64_t TVObject::fingerprint() const {
  if (fingerprint_ == 0) fingerprint_ = computeFingerprint() | 1;
  return fingerprint_;
}

// What an object without storage answers ----------------------------------------------------------

std::unique_ptr<TVStorageLock> TVObject::lockStorage(TVHandle&) {
  return std::make_unique<TVStorageLock>();
}
int TVObject::writeData(TVHandle&, TVStorageLock&) { return 0; }
bool TVObject::unlockStorage(TVHandle&, std::unique_ptr<TVStorageLock>, bool keep) { return keep; }
int TVObject::writeChild(TVHandle&, TVStorageLock&) { return 0; }
int TVObject::writeNewChild(TVHandle& context, TVStorageLock& ownerLock) {
  return writeChild(context, ownerLock);
}
int TVObject::readData(TVHandle&, TVStorageLock*) { return 0; }
bool TVObject::mayUpdate(TVHandle&, TVStorageLock&) { return true; }
bool TVObject::createStorage(TVHandle&) { return true; }
void TVObject::removeStorage(TVHandle&) {}
VBool TVObject::isStale(TVHandle&) { return false; }
int TVObject::describe(TVHandle&, uint32_t* status) {
  *status = 0;
  return 0;
}

std::string_view TVObject::sortKey(int*, TVSortType, std::string*) const { return ""; }
int TVObject::compareKey(std::string_view key, TVSortType sortType, VCase letterCase) const {
  const KeyParts sought = keyParts(key, sortType);
  std::string scratch;
  for (int position = 0; position < sought.count; ++position) {
    int index = position;
    const std::string_view own = sortKey(&index, listOrderOf(sortType), &scratch);
    const int order = compareText(sought.parts[static_cast<size_t>(position)], own, letterCase);
    if (order != 0) return order;
  }
  return 0;
}
TVObject::KeyParts TVObject::keyParts(std::string_view, TVSortType) const { return {}; }
bool TVObject::ordersBySortKeys(TVSortType) const { return true; }
VString TVObject::name(const TVOptionArray&) const { return {}; }
int TVObject::attribute(const TVOptionArray&) const { return 0; }

TVProjectConfig TVObject::effectiveConfig(TVHandle& context) {
  return owner_ == nullptr ? theEmptyConfig() : owner_->effectiveConfig(context);
}
const TVProjectConfig& TVObject::projectConfig() const {
  return owner_ == nullptr ? theEmptyConfig() : owner_->projectConfig();
}
const TVProjectConfig& TVObject::rootConfig() const {
  return owner_ == nullptr ? theEmptyConfig() : owner_->rootConfig();
}

// By group, then key by key while both sides may have more, then by class.
int TVObject::compareTo(const TVObject& other, TVChildList& list) const {
  const int groups = list.groupOrderOf(isA()) - list.groupOrderOf(other.isA());
  if (groups != 0) return groups;
  const TVSortType sortType = list.sortTypeOf(isA());
  const TVSortType otherSortType = list.sortTypeOf(other.isA());
  std::string scratch;
  std::string otherScratch;
  for (int position = 0;; ++position) {
    int index = position;
    int otherIndex = position;
    const std::string_view key = sortKey(&index, sortType, &scratch);
    const std::string_view otherKey = other.sortKey(&otherIndex, otherSortType, &otherScratch);
    const int order = compareText(key, otherKey, list.letterCase());
    if (order != 0) return order;
    if (index >= 0 || otherIndex >= 0) break;
  }
  return isA()->ordinal - other.isA()->ordinal;
}

// Broadcasts --------------------------------------------------------------------------------------

// What the operation does to one child may change or destroy others: all of them are held. Below a
// root each child has a configuration of its own, so it becomes the context there.
template <typename Options>
int TVObject::broadcast(int (TVObject::*action)(TVHandle&, Options&), TVHandle& context,
                        Options& options) {
  TVUseScope use(this, context);
  const std::vector<TVObject*> all = childrenInOrder();
  std::deque<TVReferenceHold> holds;
  for (TVObject* child : all) holds.emplace_back(child);
  const VPathString configPath = projectConfig().path;
  int result = kResultDone;
  for (TVObject* child : all) {
    if (child->deleted_) continue;
    if (child->projectConfig().path == configPath) {
      result = (child->*action)(context, options);
    } else {
      TVHandle ownContext(&context.sink(), child);
      result = (child->*action)(ownContext, options);
    }
    if (result == kResultCancelled) break;
  }
  return result;
}

int TVObject::archiveAction1(TVHandle& context, TVGetOptions& options) {
  return broadcast(&TVObject::archiveAction1, context, options);
}
int TVObject::archiveAction2(TVHandle& context, TVPutOptions& options) {
  return broadcast(&TVObject::archiveAction2, context, options);
}
int TVObject::archiveAction3(TVHandle& context, TVUnlockOptions& options) {
  return broadcast(&TVObject::archiveAction3, context, options);
}
int TVObject::archiveAction4(TVHandle& context, TVPutOptions& options) {
  return broadcast(&TVObject::archiveAction4, context, options);
}

// References --------------------------------------------------------------------------------------

void TVObject::addReference(int count) {
  for (TVObject* object = this; object != nullptr; object = object->owner_) {
    object->refCount_ += count;
  }
}

void TVObject::releaseReference(int count) {
  TVObject* object = this;
  while (object != nullptr) {
    TVObject* owner = object->owner_;
    object->refCount_ -= count;
    if (object->refCount_ < 1 && !object->isHeldByUse()) delete object;
    object = owner;
  }
}

// In one walk of the table, which decides its order: removals in a walk count as lookups at the
// start of a chain, and the table doesn't grow meanwhile. Takes no memory.
template <typename Visit>
void TVObject::forEachChild(Visit visit) {
  if (children_ == nullptr) return;
  TVIterator walk(*children_);
  while (VObject* child = walk.next()) visit(static_cast<TVObject*>(child));
}

std::vector<TVObject*> TVObject::childrenInOrder() const {
  std::vector<TVObject*> result;
  if (children_ == nullptr) return result;
  result.reserve(static_cast<size_t>(children_->size()));
  children_->forEach([&](VObject* child) { result.push_back(static_cast<TVObject*>(child)); });
  return result;
}

TVHash& TVObject::children() {
  if (children_ == nullptr) children_ = std::make_unique<TVHash>();
  return *children_;
}

TVObject* TVObject::findAncestor(const VClassRecord* record) {
  for (TVObject* object = this; object != nullptr; object = object->owner_) {
    if (object->isA() == record) return object;
  }
  return nullptr;
}

// The two waits only stop a bad nesting on one object from going on: nothing else runs in here that
// could end them.
void TVObject::acquireBusy() {
  while (busy_) std::atomic_signal_fence(std::memory_order_seq_cst);
  busy_ = true;
}

// Uses and edits ----------------------------------------------------------------------------------

void TVObject::beginUse(TVHandle& context) {
  ++useCount_;
  try {
    if (useCount_ == 1 || lostChildren_ || isStale(context)) reload(context);
  } catch (...) {
    endUse();
    throw;
  }
}

void TVObject::endUse() {
  if (--useCount_ > 0) return;
  if (children_ != nullptr) children_->expectRemovals();
  forEachChild([](TVObject* child) {
    if (child->refCount_ < 1) delete child;
  });
}

bool TVObject::bringUpToDate(TVHandle& context) {
  TVReferenceHold hold(this);
  if (owner_ != nullptr) static_cast<void>(owner_->bringUpToDate(context));
  TVHandle own(&context.sink(), this);
  if (!deleted_ && isStale(own)) TVUseScope reading(this, own);
  return !deleted_;
}

// Reads the children again and drops those that another process has removed. What could not be
// read to its end does not tell which those are.
void TVObject::reload(TVHandle& context) {
  const bool hadChildren = children_ != nullptr && !children_->isEmpty();
  forEachChild([](TVObject* child) { child->unseen_ = true; });
  if (children_ != nullptr) children_->noteChange();
  lostChildren_ = true;  // Until all is read, also by way of an exception.
  readData(context, lockData_.get());
  lostChildren_ = false;
  if (!hadChildren) return;
  const bool complete = readWasComplete();
  forEachChild([&](TVObject* child) {
    if (!child->unseen_) return;
    child->unseen_ = false;
    if (complete && !deleted_) child->destroyObject(context, TVRemoval::kMemoryOnly);
  });
}

VBool TVObject::beginEdit(TVHandle& context) {
  TVReferenceHold hold(this);  // Taking the storage may find that the object is gone.
  while (lockData_ != nullptr) std::atomic_signal_fence(std::memory_order_seq_cst);
  lockData_ = lockStorage(context);
  if (lockData_ == nullptr) return false;
  keepWrites_ = true;
  bool ready = false;
  try {
    // A rewrite needs all children in memory, and without a use they go with their handles.
    if (lostChildren_ || isStale(context)) reload(context);
    ready = mayUpdate(context, *lockData_);
  } catch (...) {
    abandonStorage(context);
    throw;
  }
  if (!ready) abandonStorage(context);
  return ready;
}

bool TVObject::giveUpStorage(TVHandle& context) {
  return unlockStorage(context, std::move(lockData_), keepWrites_);
}

void TVObject::abandonStorage(TVHandle& context) {
  dropWrites();
  static_cast<void>(giveUpStorage(context));  // Nothing is to be stored.
}

// A deleted object writes nothing, but its storage is given up all the same.
VBool TVObject::endEdit(TVHandle& context) {
  if (lockData_ == nullptr) return false;
  const bool wasDeleted = deleted_;
  bool stored = false;
  try {
    if (!wasDeleted && dirty_ && !(isAsWritten() && lockData_->cutRemoved(keepWrites_))) {
      rewrite(context);
    }
    stored = giveUpStorage(context);
  } catch (...) {
    dirty_ = false;
    lostChildren_ = true;
    if (lockData_ != nullptr) abandonStorage(context);
    if (!wasDeleted) revert(context);
    throw;
  }
  if (wasDeleted) return false;
  dirty_ = false;
  if (!stored) revert(context);
  if (notifyHandles_) {
    for (TVHandle* handle = handles_; handle != nullptr; handle = handle->nextAttached_) {
      handle->refreshed();
    }
  }
  return stored;
}

// Memory returns to what is stored, now that nothing holds the storage. No change is left to be
// written: a failed write is not tried again. Where the read fails, the next use or edit reads.
void TVObject::revert(TVHandle& context) {
  dirty_ = false;
  lostChildren_ = true;
  reload(context);
}

// Writes all children anew. A pass that stops early leaves the old files as they are.
void TVObject::rewrite(TVHandle& context) {
  keepWrites_ = writeData(context, *lockData_) == 0;
  if (!keepWrites_) return;
  const std::vector<TVObject*> all = childrenInOrder();
  for (size_t i = 0; i < all.size(); ++i) {
    if (i + kRoundsAhead < all.size()) prefetchObject(all[i + kRoundsAhead]);
    if (all[i]->deleted_ || all[i]->writeChild(context, *lockData_) == 0) continue;
    keepWrites_ = false;
    return;
  }
  children().noteOrder();
}

int TVObject::writeInOwner(TVHandle& context) {
  if (deleted_ || owner_ == nullptr || owner_->lockData_ == nullptr) return kResultDone;
  return writeNewChild(context, *owner_->lockData_);
}

// The cache ---------------------------------------------------------------------------------------

TVObject* TVObject::mergeIntoCache(std::unique_ptr<TVObject> fresh, bool* known) {
  TVObject* owner = fresh->owner_;
  const bool joins = owner != nullptr && !fresh->transient_;
  VObject* met = nullptr;
  if (owner != nullptr) {
    met = joins ? owner->children().findOrAdd(fresh.get()) : owner->children().find(fresh.get());
  }
  auto* object = static_cast<TVObject*>(met);
  bool revived = false;
  if (object != nullptr && object != fresh.get()) {
    // The order of the table comes from its lookups, and each object that goes is looked for.
    owner->children_->removeIdentical(fresh.get());
    fresh->owner_ = nullptr;
    fresh.reset();
    revived = object->deleted_;
    object->unseen_ = false;
  } else {
    revived = joins;
    object = fresh.release();
    object->isInTable_ = joins;
  }
  if (revived) owner->announce(object);
  if (known != nullptr) *known = owner != nullptr && !revived;
  return object;
}

// Gives every open handle on this object a child handle on a new child. One that not all of them
// learn of leaves again: it would be written some day, though its add has failed.
void TVObject::announce(TVObject* child) {
  for (TVHandle* handle = handles_; handle != nullptr; handle = handle->nextAttached_) {
    if (handle->childList_ == nullptr) continue;
    try {
      handle->childAdded(handle->childList_->add(handle->sink(), child));
    } catch (...) {
      lostChildren_ = true;
      child->destroyObject(*handle, TVRemoval::kMemoryOnly);
      throw;
    }
  }
}

uint64_t TVObject::keyChanges() { return theKeyChanges; }

void TVObject::countKeyChange() { ++theKeyChanges; }

// Tells whether the object was in it.
bool TVObject::leaveOwnerTable() {
  if (transient_ || owner_ == nullptr) return false;
  isInTable_ = false;
  return owner_->children_->removeIdentical(this) != nullptr;
}

void TVObject::enterOwnerTable(bool wasCached) {
  countKeyChange();
  hashValue_ = kHashUnknown;
  fingerprint_ = 0;
  if (transient_ || owner_ == nullptr) return;
  try {
    isInTable_ = owner_->children_->add(this) != nullptr;
  } catch (const std::bad_alloc&) {  // As if it were destroyed, until the owner is read again.
    owner_->lostChildren_ = true;
  }
  if (!isInTable_ && wasCached) deleteUnheld();  // A use may have been all that held it.
}

void TVObject::rekeyInOwnerTable(uint64_t fingerprintBefore) {
  countKeyChange();
  fingerprint_ = 0;
  if (!transient_ && owner_ != nullptr) owner_->children_->rekey(this, fingerprintBefore);
}

// Destruction -------------------------------------------------------------------------------------

void TVObject::destroyObject(TVHandle& context, TVRemoval removal) {
  if (deleted_) return;
  TVReferenceHold ownerHold(owner_);
  TVReferenceHold hold(this);
  dirty_ = true;
  destroyChildren(context, removal);
  if (removal == TVRemoval::kStored) removeStorage(context);
  deleted_ = true;
  if (owner_ != nullptr) leaveOwner(context, removal);
  orphanHandles();
}

void TVObject::destroyChildren(TVHandle& context, TVRemoval removal) {
  forEachChild([&](TVObject* child) { child->destroyObject(context, removal); });
}

// The owner forgets this object and gets back what it held on behalf of it. No use of the owner
// holds this object any more: it lives on for its handles alone.
void TVObject::leaveOwner(TVHandle& context, TVRemoval removal) {
  TVObject* owner = owner_;
  if (removal == TVRemoval::kStored) owner->dirty_ = true;
  const bool isNoted = removal == TVRemoval::kStored && owner->noteRemoval(context, *this);
  const int buckets = owner->children_->capacity();
  static_cast<void>(leaveOwnerTable());  // It may have left before, for an equal one.
  // A table that grew has another order.
  if (isNoted && owner->children_->capacity() == buckets) owner->children_->noteOrder();
  owner->releaseReference(refCount_);
  owner_ = nullptr;
}

// Where the storage says what the table says, cutting the record of a child out of it costs less
// than writing those of all the others. Without memory for it they are written.
bool TVObject::noteRemoval(TVHandle& context, TVObject& child) {
  if (lockData_ == nullptr || !child.isInTable_ || !isAsWritten()) return false;
  if (!lockData_->setRemoving(true)) return false;
  bool isNoted = false;
  try {
    isNoted = child.writeChild(context, *lockData_) == 0;
  } catch (const std::bad_alloc&) {
  }
  lockData_->setRemoving(false);
  return isNoted;
}

void TVObject::orphanHandles() {
  while (handles_ != nullptr) handles_->orphan();
}

}  // namespace foldapi
