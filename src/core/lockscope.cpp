// core/lockscope.cpp: when a caller's scope stands in for a lock of one's own.
#include "core/lockscope.h"

namespace foldapi {

namespace {

// Where an edit can't be stored, the sink knows why and memory shows what is stored. One that ends
// out of memory has given its storage up by then, with the old files in place.
void endEditQuietly(TVObject* object, TVHandle& context) {
  try {
    static_cast<void>(object->endEdit(context));
  } catch (...) {
  }
}

}  // namespace

TVLockScope::TVLockScope(const TVHandle& handle) : context_(handle) {
  if (handle.isNull()) return;
  TVReferenceHold hold(handle.object());
  TVObject* object = handle.object();
  if (!object->beginEdit(context_)) return;
  object->addReference(1);
  object_ = object;
}

TVLockScope::~TVLockScope() {
  if (object_ == nullptr) return;
  endEditQuietly(object_, context_);
  object_->releaseReference(1);
}

TVScopedEdit::TVScopedEdit(const TVLockScope& scope, const TVHandle& handle)
    : context_(handle), object_(handle.object()), hold_(object_) {
  own_ = object_ != nullptr && !scope.holds(handle);
  taken_ = !own_ || object_->beginEdit(context_);
}

TVScopedEdit::~TVScopedEdit() {
  if (own_ && taken_) endEditQuietly(object_, context_);
}

VBool TVLockScope::holds(const TVHandle& handle) const {
  return object_ != nullptr && object_ == handle.object();
}

VBool TVLockScope::holdsOwner(const TVHandle& handle) const {
  return object_ != nullptr && !handle.isNull() && object_ == handle.object()->owner();
}

VBool TVLockScope::lock(TVHandle& handle) const {
  if (handle.isNull() || holds(handle)) return true;
  return handle.object()->beginEdit(handle);
}

VBool TVLockScope::unlock(TVHandle& handle) const {
  if (handle.isNull() || holds(handle)) return true;
  return handle.object()->endEdit(handle);
}

VBool TVLockScope::lockOwner(TVHandle& handle) const {
  if (handle.isNull() || holdsOwner(handle) || handle.object()->owner() == nullptr) return true;
  return handle.object()->owner()->beginEdit(handle);
}

VBool TVLockScope::unlockOwner(TVHandle& handle) const {
  if (handle.isNull() || holdsOwner(handle) || handle.object()->owner() == nullptr) return true;
  return handle.object()->owner()->endEdit(handle);
}

TVLockScope& theNoLock() {
  static auto* scope = new TVLockScope;
  return *scope;
}

}  // namespace foldapi
