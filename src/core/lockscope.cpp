// core/lockscope.cpp: when a caller's scope stands in for a lock of one's own.
#include "core/lockscope.h"

namespace foldapi {

TVLockScope::TVLockScope(const TVHandle& handle, VBool take) {
  if (!take || handle.isNull()) return;
  TVHandle context(handle);
  if (context.object()->beginEdit(context)) held_ = context;
}

// An edit that ends out of memory has given its storage up by then, with the old files in place.
TVLockScope::~TVLockScope() {
  try {
    if (!held_.isNull()) held_.object()->endEdit(held_);
  } catch (...) {
  }
}

TVScopedEdit::~TVScopedEdit() {
  try {
    if (taken_) scope_.unlock(handle_);
  } catch (...) {
  }
}

VBool TVLockScope::holds(const TVHandle& handle) const {
  return !held_.isNull() && held_.object() == handle.object();
}

VBool TVLockScope::holdsOwner(const TVHandle& handle) const {
  return !held_.isNull() && !handle.isNull() && held_.object() == handle.object()->owner();
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
