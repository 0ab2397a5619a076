// core/handle.h: TVHandle, the small reference through which everything is done.
//
// A handle holds one reference on its object and names the sink of its operations. A handle without
// an object is legal everywhere: a query gives an empty value, a setter does nothing. While it is
// open it owns a child list with one handle per child; those die with the last close of this one,
// whatever their own counts.
#pragma once

#include <cstdint>
#include <memory>

#include "base/containers.h"
#include "base/vobject.h"
#include "base/vstring.h"
#include "core/object.h"
#include "core/sink.h"

namespace foldapi {

class TVChildList;
class TVLockScope;

class TVHandle : public VObject {
 public:
  TVHandle() : TVHandle(nullptr, nullptr) {}
  // A null sink is the default sink, a null object makes a handle without one.
  TVHandle(TVErrorSink* sink, TVObject* object);
  // Takes sink and object, not the place in a list nor the children.
  TVHandle(const TVHandle& other);
  TVHandle& operator=(const TVHandle& other);
  ~TVHandle() override;

  // The class of the object; null without one.
  const VClassRecord* isA() const override;

  TVErrorSink& sink() const { return *sink_; }
  void setSink(TVErrorSink* sink);
  TVObject* object() const { return object_; }
  bool isNull() const { return object_ == nullptr; }
  // The object as a class, null where it is none of that class.
  template <typename Class>
  Class* as() const {
    if (object_ == nullptr || !object_->isKindOf(&Class::theClass)) return nullptr;
    return static_cast<Class*>(object_);
  }
  // The parent handle; null for a handle that stands in no list, or whose list is closed.
  TVHandle* owner() const;

  // Closes until closed, then moves over to another object or none, and leaves the list for it.
  void attach(TVObject* object);

  // Opens and closes give the new open count, or -1 without an object; close also without a list.
  // The last close hands the dead list to *parked, if given, instead of deleting it.
  int open();
  int close(std::unique_ptr<TVChildList>* parked = nullptr);

  // Take the object, a child's object or all children out of the database, on disk as well.
  void destroy(TVLockScope& scope);
  void destroyChild(TVHandle& child, TVLockScope& scope);
  void destroyChildren(TVLockScope& scope);

  // Walks over the children of one class, or of all if `record` is null. Without a child list, and
  // at the end, they give theNullHandle(). *position, if given, receives the place in the list.
  TVHandle& first(const VClassRecord* record, int* position = nullptr);
  TVHandle& next(const VClassRecord* record, int* position = nullptr);
  TVHandle& last(const VClassRecord* record, int* position = nullptr);
  TVHandle& previous(const VClassRecord* record, int* position = nullptr);
  TVHandle& current(int* position = nullptr);
  // The first match of a key under a sort type; findNext() gives the ones after it.
  TVHandle& find(const VString& key, VCase letterCase, const VClassRecord* record,
                 TVSortType sortType, int* position = nullptr);
  TVHandle& findNext(int* position = nullptr);
  // Fills `target` with the handles of a class, or with all of them, in order.
  void collectChildren(VOrdCollect* target, const VClassRecord* record);

  // Sort rules of the child list; without one they do nothing.
  void setSortType(const VClassRecord* record, TVSortType sortType);
  void setGroupOrder(const VClassRecord* record, int order);
  void setAscending(VBool ascending);
  void setCaseSensitive(VBool caseSensitive);

  void markDirty();

  // Forwarders, with the answer of a handle without an object: 1, empty, 0 and -1.
  int version() const;
  VString name() const;
  VString nameWith(const TVOptionArray& options) const;
  int attribute() const;
  int attributeWith(const TVOptionArray& options) const;
  int compareKey(const VString& key, TVSortType sortType, VCase letterCase) const;
  TVProjectConfig effectiveConfig();
  // The operations on archives (object.h), with this handle as the context. An operation result;
  // kResultMissing without an object.
  [[nodiscard]] int archiveAction1(TVGetOptions& options);
  [[nodiscard]] int archiveAction2(TVPutOptions& options);
  [[nodiscard]] int archiveAction3(TVUnlockOptions& options);
  [[nodiscard]] int archiveAction4(TVPutOptions& options);

  // Called after an edit, after the object went, and after a child joined the open list.
  virtual void refreshed() {}
  virtual void orphaned() {}
  virtual void childAdded(TVHandle&) {}

  // The number under which clients know this handle; 0 while none does (clienthandles.h).
  uint32_t clientSlot() const { return clientSlot_; }
  void setClientSlot(uint32_t slot) { clientSlot_ = slot; }

 private:
  friend class TVObject;
  friend class TVChildList;

  void buildChildList();
  void link(TVObject* object);
  void unlink();
  void moveTo(TVObject* object);
  void orphan();

  TVErrorSink* sink_;
  TVObject* object_ = nullptr;
  TVHandle* nextAttached_ = nullptr;  // Neighbours among the handles of the object.
  TVHandle* previousAttached_ = nullptr;
  TVChildList* home_ = nullptr;  // The list that owns this handle and shows it.
  std::unique_ptr<TVChildList> childList_;
  uint32_t clientSlot_ = 0;
  bool retired_ = false;  // Only its place in the list that owns it is left.
};

// The one failure value of operations that give a handle. Two handles without an object are equal.
TVHandle& theNullHandle();

}  // namespace foldapi
