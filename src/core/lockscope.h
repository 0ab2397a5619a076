// core/lockscope.h: TVLockScope, which tells an operation what its caller has locked already.
//
// An operation that runs under a scope on its own object neither locks nor unlocks: the holder has
// it, and writes at its own end.
#pragma once

#include "core/handle.h"

namespace foldapi {

class [[nodiscard]] TVLockScope {
 public:
  // Holds nothing.
  TVLockScope() = default;
  // Takes the edit of the handle's object, if there is one, and ends it with the scope.
  explicit TVLockScope(const TVHandle& handle);
  TVLockScope(const TVLockScope&) = delete;
  TVLockScope& operator=(const TVLockScope&) = delete;
  ~TVLockScope();

  VBool holds(const TVHandle& handle) const;
  VBool holdsOwner(const TVHandle& handle) const;
  // Give true at once where nothing has to be done; false when the lock is refused, or when what
  // was written under it could not be stored.
  [[nodiscard]] VBool lock(TVHandle& handle) const;
  [[nodiscard]] VBool lockOwner(TVHandle& handle) const;
  [[nodiscard]] VBool unlock(TVHandle& handle) const;
  [[nodiscard]] VBool unlockOwner(TVHandle& handle) const;

 private:
  TVObject* object_ = nullptr;  // Held by a reference, and edited.
  TVHandle context_;
};

// Takes an edit of a handle's object under a caller's scope for the length of a block. The object
// is held: it may be destroyed meanwhile, and its storage must be given up all the same.
class [[nodiscard]] TVScopedEdit {
 public:
  TVScopedEdit(const TVLockScope& scope, const TVHandle& handle);
  TVScopedEdit(const TVScopedEdit&) = delete;
  TVScopedEdit& operator=(const TVScopedEdit&) = delete;
  ~TVScopedEdit();

  // Whether the caller may go on. Also true for a handle without an object.
  [[nodiscard]] bool taken() const { return taken_; }

 private:
  TVHandle context_;
  TVObject* object_;
  TVReferenceHold hold_;
  bool own_;  // The edit is this block's own.
  bool taken_;
};

// Passed where an operation takes a scope and the caller holds nothing.
TVLockScope& theNoLock();

}  // namespace foldapi
