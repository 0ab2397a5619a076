// core/handle.cpp: the life of a handle and of what hangs on it.
#include "core/handle.h"

#include "core/childlist.h"
#include "core/clienthandles.h"
#include "core/lockscope.h"
#include "core/optionarray.h"
#include "core/prefetch.h"
#include "core/result.h"

namespace foldapi {

TVHandle::TVHandle(TVErrorSink* sink, TVObject* object) {
  setSink(sink);
  link(object);
}

TVHandle::TVHandle(const TVHandle& other) : VObject(other), sink_(other.sink_) {
  link(other.object_);
}

TVHandle& TVHandle::operator=(const TVHandle& other) {
  if (this == &other) return *this;
  sink_ = other.sink_;
  attach(other.object_);
  return *this;
}

TVHandle::~TVHandle() {
  moveTo(nullptr);
  if (clientSlot_ != 0) forgetClientHandle(*this);
}

const VClassRecord* TVHandle::isA() const { return object_ == nullptr ? nullptr : object_->isA(); }

void TVHandle::setSink(TVErrorSink* sink) { sink_ = sink == nullptr ? &theDefaultSink() : sink; }

TVHandle* TVHandle::owner() const { return home_ == nullptr ? nullptr : home_->owner(); }

void TVHandle::link(TVObject* object) {
  object_ = object;
  if (object == nullptr) return;
  object->addReference(1);
  previousAttached_ = nullptr;
  nextAttached_ = object->handles_;
  if (nextAttached_ != nullptr) nextAttached_->previousAttached_ = this;
  object->handles_ = this;
}

void TVHandle::unlink() {
  TVObject* object = object_;
  if (object == nullptr) return;
  (previousAttached_ == nullptr ? object->handles_ : previousAttached_->nextAttached_) =
      nextAttached_;
  if (nextAttached_ != nullptr) nextAttached_->previousAttached_ = previousAttached_;
  object_ = nullptr;
  object->releaseReference(1);
}

void TVHandle::attach(TVObject* object) {
  if (home_ != nullptr && object != object_) home_->retire(*this);
  moveTo(object);
}

// The new object is held before the old one is let go: it may live below the old one.
void TVHandle::moveTo(TVObject* object) {
  TVReferenceHold hold(object);
  while (childList_ != nullptr) close();
  unlink();
  link(object);
}

namespace {

// Keeps an object's busy flag for the length of a block.
class BusyScope {
 public:
  explicit BusyScope(TVObject& object) : object_(object) { object_.acquireBusy(); }
  BusyScope(const BusyScope&) = delete;
  BusyScope& operator=(const BusyScope&) = delete;
  ~BusyScope() { object_.releaseBusy(); }

 private:
  TVObject& object_;
};

}  // namespace

int TVHandle::open() {
  if (object_ == nullptr) return -1;
  if (childList_ == nullptr) buildChildList();
  return childList_ == nullptr ? -1 : childList_->open();
}

// Reading may find that the object itself is gone from the database; there is nothing to show then.
void TVHandle::buildChildList() {
  TVObject* object = object_;
  TVReferenceHold hold(object);
  BusyScope busy(*object);
  TVUseScope use(object, *this);
  if (object_ == nullptr) return;
  auto list = std::make_unique<TVChildList>(this, object->isSortable());
  const std::vector<TVObject*> children = object->childrenInOrder();
  list->reserve(children.size());
  for (size_t i = 0; i < children.size(); ++i) {
    if (i + kRoundsAhead < children.size()) prefetch(children[i + kRoundsAhead]);
    list->add(*sink_, children[i]);
  }
  childList_ = std::move(list);
  use.keep();
}

int TVHandle::close(std::unique_ptr<TVChildList>* parked) {
  if (object_ == nullptr || childList_ == nullptr) return -1;
  const int count = childList_->close();
  if (count > 0) return count;
  BusyScope busy(*object_);
  childList_->park();
  std::unique_ptr<TVChildList> dead = std::move(childList_);
  if (parked != nullptr) *parked = std::move(dead);
  dead.reset();
  object_->endUse();
  return 0;
}

// The object is gone: all that is left is this handle's place in its list.
void TVHandle::orphan() {
  attach(nullptr);
  orphaned();
}

void TVHandle::destroy(TVLockScope& scope) {
  if (object_ == nullptr) return;
  TVHandle parent(sink_, object_->owner());
  TVScopedEdit edit(scope, parent);
  // Taking the edit may have read the parent again, and found that this record is gone already.
  if (edit.taken() && object_ != nullptr) object_->destroyObject(*this, TVRemoval::kStored);
}

void TVHandle::destroyChild(TVHandle& child, TVLockScope& scope) {
  if (child.isNull() || object_ == nullptr || child.object()->owner() != object_) return;
  TVScopedEdit edit(scope, *this);
  if (edit.taken() && !child.isNull()) child.object()->destroyObject(*this, TVRemoval::kStored);
}

void TVHandle::destroyChildren(TVLockScope& scope) {
  if (object_ == nullptr) return;
  TVScopedEdit edit(scope, *this);
  if (edit.taken() && object_ != nullptr) object_->destroyChildren(*this, TVRemoval::kStored);
}

TVHandle& TVHandle::first(const VClassRecord* record, int* position) {
  return childList_ == nullptr ? theNullHandle() : childList_->first(record, position);
}
TVHandle& TVHandle::next(const VClassRecord* record, int* position) {
  return childList_ == nullptr ? theNullHandle() : childList_->next(record, position);
}
TVHandle& TVHandle::last(const VClassRecord* record, int* position) {
  return childList_ == nullptr ? theNullHandle() : childList_->last(record, position);
}
TVHandle& TVHandle::previous(const VClassRecord* record, int* position) {
  return childList_ == nullptr ? theNullHandle() : childList_->previous(record, position);
}
TVHandle& TVHandle::current(int* position) {
  return childList_ == nullptr ? theNullHandle() : childList_->current(position);
}

TVHandle& TVHandle::find(const VString& key, VCase letterCase, const VClassRecord* record,
                         TVSortType sortType, int* position) {
  if (childList_ != nullptr) {
    return childList_->find(key, letterCase, record, sortType, position);
  }
  if (position != nullptr) *position = -1;
  return theNullHandle();
}

TVHandle& TVHandle::findNext(int* position) {
  if (childList_ != nullptr) return childList_->findNext(position);
  if (position != nullptr) *position = -1;
  return theNullHandle();
}

void TVHandle::collectChildren(VOrdCollect* target, const VClassRecord* record) {
  target->clear();
  if (childList_ != nullptr) childList_->collect(target, record);
}

void TVHandle::setSortType(const VClassRecord* record, TVSortType sortType) {
  if (childList_ != nullptr) childList_->setSortType(record, sortType);
}
void TVHandle::setGroupOrder(const VClassRecord* record, int order) {
  if (childList_ != nullptr) childList_->setGroupOrder(record, order);
}
void TVHandle::setAscending(VBool ascending) {
  if (childList_ != nullptr) childList_->setAscending(ascending);
}
void TVHandle::setCaseSensitive(VBool caseSensitive) {
  if (childList_ != nullptr) childList_->setCaseSensitive(caseSensitive);
}

void TVHandle::markDirty() {
  if (object_ != nullptr) object_->setDirty(true);
}

int TVHandle::version() const { return object_ == nullptr ? kAbstractVersion : object_->version(); }
VString TVHandle::name() const { return nameWith(TVOptionArray::none()); }
VString TVHandle::nameWith(const TVOptionArray& options) const {
  return object_ == nullptr ? VString() : object_->name(options);
}
int TVHandle::attribute() const { return attributeWith(TVOptionArray::none()); }
int TVHandle::attributeWith(const TVOptionArray& options) const {
  return object_ == nullptr ? 0 : object_->attribute(options);
}
int TVHandle::compareKey(const VString& key, TVSortType sortType, VCase letterCase) const {
  return object_ == nullptr ? -1 : object_->compareKey(key.view(), sortType, letterCase);
}
TVProjectConfig TVHandle::effectiveConfig() {
  return object_ == nullptr ? theEmptyConfig() : object_->effectiveConfig(*this);
}
int TVHandle::archiveAction1(TVGetOptions& options) {
  return object_ == nullptr ? kResultMissing : object_->archiveAction1(*this, options);
}
int TVHandle::archiveAction2(TVPutOptions& options) {
  return object_ == nullptr ? kResultMissing : object_->archiveAction2(*this, options);
}
int TVHandle::archiveAction3(TVUnlockOptions& options) {
  return object_ == nullptr ? kResultMissing : object_->archiveAction3(*this, options);
}
int TVHandle::archiveAction4(TVPutOptions& options) {
  return object_ == nullptr ? kResultMissing : object_->archiveAction4(*this, options);
}

TVHandle& theNullHandle() {
  static auto* handle = new TVHandle;
  return *handle;
}

}  // namespace foldapi
