// core/object.h: TVObject, the base of every record of the database.
//
// Clients reach an object through a TVHandle (handle.h). Each object has an owner, but for a root,
// and a table of its children. The table is the cache: one object for each record, so that two
// handles on the same record meet in one object.
//
// What keeps an object alive. It has two counts:
//   use count        the uses that are open, from beginUse() to endUse(). The first use reads the
//                    children.
//   reference count  the handles and TVReferenceHolds on the object, and on all objects that it
//   owns.
// An object is deleted when its reference count falls to 0, unless it is in the table of an owner
// that is in use; the end of the owner's last use deletes those whose count is 0. Its table entry
// goes with it: a table refers to nothing. So
//   - an owner outlives whatever is referred to below it;
//   - while an object is in use all its children live, and no use but the last looks at them;
//     without one a child lives for its own handles and holds, and for what is referred to below
//     it. A use does not keep the object itself: who opens one has a handle or a hold (TVUseScope);
//   - an object that was merged into the cache of an owner without a use has the count 0. It lives
//     until a reference on it or a use of its owner ends, or as long as its owner;
//   - a destroyed object has no owner, and one whose key became that of another child is in no
//     table. Both live on for the handles and holds that are left.
//
// An edit, from beginEdit() to endEdit(), holds the object's storage, and does not keep the object
// either. This class knows nothing of storage itself: it calls the virtual operations that lock,
// read, write and unlock it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/vobject.h"
#include "base/vstring.h"
#include "core/hash.h"
#include "core/projectconfig.h"
#include "core/sorttype.h"

namespace foldapi {

class TVChildList;
class TVHandle;
class TVOptionArray;
class TVGetOptions;
class TVPutOptions;
struct TVUnlockOptions;

// What lockStorage() gives: it holds the storage for as long as it lives. Storage classes derive
// from it; that of an object without storage is this one, and means nothing.
class TVStorageLock {
 public:
  virtual ~TVStorageLock() = default;

  // While it is set, a record that is written is only noted, as one that has to go. Gives whether
  // it is set now.
  virtual bool setRemoving(bool) { return false; }
  // Takes the records noted out of the storage, all or none. False where some are noted and only a
  // rewrite lets them go; so it is if `keep` is false, which says that no other write counts.
  [[nodiscard]] virtual bool cutRemoved(bool) { return true; }
};

// Format versions: of an object, and of the rules for its class (folderoptions.h).
constexpr int kAbstractVersion = 1;  // Classes that know of no files.
constexpr int kFormat52 = 2;

// Whether an object stands in its owner's table of children. A transient one doesn't: it is never
// found again, nor written.
enum class TVCaching { kCached, kTransient };

// How far the destruction of an object reaches: its record and its storage too, or memory alone
// follows what another process did to the files.
enum class TVRemoval { kStored, kMemoryOnly };

class TVObject : public VObject {
 public:
  static const VClassRecord theClass;

  explicit TVObject(TVObject* owner, TVCaching caching = TVCaching::kCached);
  TVObject(const TVObject&) = delete;
  TVObject& operator=(const TVObject&) = delete;
  ~TVObject() override;

  const VClassRecord* isA() const override { return &theClass; }
  // Same class, and both in the cache or both not. Subclasses add their key.
  bool isEqual(const VObject* other) const override;
  // computeHash(), remembered. Never the value that stands for "not computed".
  int32_t hash() const final;
  // computeFingerprint(), remembered: it must be good while the object is being destroyed.
  uint64_t fingerprint() const final;

  // Virtual operations that format subclasses and domain classes refine. -------------------------

  virtual int32_t computeHash() const { return 0; }
  virtual uint64_t computeFingerprint() const { return 1; }
  // Number of cached children.
  virtual int childCount() const { return children_ == nullptr ? 0 : children_->size(); }
  // Takes this object's storage for an update. Null on failure, which has been reported.
  [[nodiscard]] virtual std::unique_ptr<TVStorageLock> lockStorage(TVHandle& context);
  // Starts a rewrite of the storage. Non-zero stops the write of the children.
  [[nodiscard]] virtual int writeData(TVHandle& context, TVStorageLock& lock);
  // Gives the storage up. `keep` false drops what was written since lockStorage(). Tells whether
  // all that was written is stored now; why not has been reported.
  [[nodiscard]] virtual bool unlockStorage(TVHandle& context, std::unique_ptr<TVStorageLock> lock,
                                           bool keep);
  // Writes this object's record into its owner's open storage. 0 on success.
  [[nodiscard]] virtual int writeChild(TVHandle& context, TVStorageLock& ownerLock);
  // The same for a new object, whose record must not be written in part.
  [[nodiscard]] virtual int writeNewChild(TVHandle& context, TVStorageLock& ownerLock);
  // Reads this object's children, each through mergeIntoCache(). `lock` is null outside an edit.
  virtual int readData(TVHandle& context, TVStorageLock* lock);
  // Whether the last readData() met all that is stored; what it did not meet is dropped only then.
  virtual bool readWasComplete() const { return true; }
  // Whether an edit under `lock` may go on after the last read. Reports why not.
  [[nodiscard]] virtual bool mayUpdate(TVHandle& context, TVStorageLock& lock);
  // Makes what a new object needs on disk, before its record is written. False, after a report,
  // where that fails: there must be no record then.
  [[nodiscard]] virtual bool createStorage(TVHandle& context);
  // Removes what this object has on disk.
  virtual void removeStorage(TVHandle& context);
  // Whether the storage changed since the last read.
  virtual VBool isStale(TVHandle& context);
  // Fills a status word; 0 on success, else an operation result.
  [[nodiscard]] virtual int describe(TVHandle& context, uint32_t* status);
  virtual int version() const { return kAbstractVersion; }

  // The key at *index under a sort type. Subtracts the number of the class's keys from *index, so a
  // negative value means that more keys may follow. The text is the object's own or `scratch`'s.
  virtual std::string_view sortKey(int* index, TVSortType sortType, std::string* scratch) const;
  // Compares a key with this object: 0 means that it matches, below 0 that it sorts before. By the
  // parts of the key, unless there are none: then any matches, or a class compares in its own way.
  virtual int compareKey(std::string_view key, TVSortType sortType, VCase letterCase) const;
  // A key cut up: the first part is compared with sort key 0 of the list's order, the second one,
  // if the first is equal, with sort key 1.
  struct KeyParts {
    std::array<std::string_view, 2> parts = {};
    int count = 0;
  };
  virtual KeyParts keyParts(std::string_view key, TVSortType sortType) const;
  // Whether compareTo() is that of this class under this sort type.
  virtual bool ordersBySortKeys(TVSortType sortType) const;
  virtual VBool isSortable() const { return true; }
  // Orders two objects of a child list.
  virtual int compareTo(const TVObject& other, TVChildList& list) const;

  virtual VString name(const TVOptionArray& options) const;
  // What sort of object it is, for a client that shows it (domain/attribute.h).
  virtual int attribute(const TVOptionArray& options) const;

  // Configuration, each answered by the nearest owner that has one.
  virtual TVProjectConfig effectiveConfig(TVHandle& context);
  virtual const TVProjectConfig& projectConfig() const;
  virtual const TVProjectConfig& rootConfig() const;

  // Operations on archives. A member does it; any other object does it with all its children, in
  // the order of their records, and gives the result of the last one. Only kResultCancelled ends
  // that early.
  // Check-out.
  [[nodiscard]] virtual int archiveAction1(TVHandle& context, TVGetOptions& options);
  // Check-in.
  [[nodiscard]] virtual int archiveAction2(TVHandle& context, TVPutOptions& options);
  // Unlock.
  [[nodiscard]] virtual int archiveAction3(TVHandle& context, TVUnlockOptions& options);
  // Create the archive, and check in its first revision.
  [[nodiscard]] virtual int archiveAction4(TVHandle& context, TVPutOptions& options);

  // Life. ----------------------------------------------------------------------------------------

  // Adds the references to the object and to all its owners.
  void addReference(int count);
  // Takes the references off the object and all its owners, and deletes those that fall to 0 and
  // that no use of their owner holds.
  void releaseReference(int count);

  // Opens a use: reads the children on the first one, and later when the storage is stale. Where
  // that throws, no use is open.
  void beginUse(TVHandle& context);
  void endUse();
  // Reads again what has changed on disk since the last read: the owners first, since they tell
  // where the rest is. False if this object turns out to be gone.
  [[nodiscard]] bool bringUpToDate(TVHandle& context);
  // Takes the storage for a change, and reads again what changed meanwhile. False when that failed;
  // the reason has been reported.
  [[nodiscard]] VBool beginEdit(TVHandle& context);
  // Writes the children if the object is dirty, unless the last write said the same, and gives the
  // storage up. Where it said the same but for children destroyed since, in this edit, their
  // records are cut out. True where all is stored.
  // Where it is not, the children are read again before this returns, and memory shows what is
  // stored: a new child is gone, with its handles, a destroyed one is back as a new object, and the
  // others have their stored values. What can't be read then stays as it is until it can.
  // False also for a deleted object and without an edit.
  [[nodiscard]] VBool endEdit(TVHandle& context);
  // Writes the record of this new object into its owner's open storage. An operation result; done
  // also where there is no owner, or none whose storage is open.
  [[nodiscard]] int writeInOwner(TVHandle& context);
  // Lets the end of the present edit leave the files as they were.
  void dropWrites() { keepWrites_ = false; }
  // Takes the object out of the database, with all below it.
  void destroyObject(TVHandle& context, TVRemoval removal);
  void destroyChildren(TVHandle& context, TVRemoval removal);

  // Gives a freshly built object to its owner's cache, and with it to the references on it. Where
  // an equal one is cached already, the fresh one is deleted and the cached one given; *known tells
  // which.
  template <typename Object>
  static Object* mergeIntoCache(std::unique_ptr<Object> fresh, bool* known = nullptr) {
    return static_cast<Object*>(mergeIntoCache(std::unique_ptr<TVObject>(std::move(fresh)), known));
  }
  static TVObject* mergeIntoCache(std::unique_ptr<TVObject> fresh, bool* known = nullptr);

  // This object or its nearest owner of a class; null if there is none.
  TVObject* findAncestor(const VClassRecord* record);

  // State. ---------------------------------------------------------------------------------------

  TVObject* owner() const { return owner_; }
  TVHash& children();  // Made when it is first asked for.
  // The children in table order, which is the order of their records on disk.
  std::vector<TVObject*> childrenInOrder() const;
  bool isDeleted() const { return deleted_; }
  bool isTransient() const { return transient_; }
  bool isDirty() const { return dirty_; }
  void setDirty(bool dirty) { dirty_ = dirty; }
  bool isUnseen() const { return unseen_; }  // By the read that runs.
  // Lets each end of an edit tell the handles; for clients whose handles override refreshed().
  void setNotifyHandles(bool notify) { notifyHandles_ = notify; }
  int useCount() const { return useCount_; }
  int referenceCount() const { return refCount_; }
  TVStorageLock* storageLock() const { return lockData_.get(); }

  // Guards the building and tearing of a child list.
  void acquireBusy();
  void releaseBusy() { busy_ = false; }

  // Counts changes of keys in place, sort keys too, so that whoever remembers keys can tell.
  static uint64_t keyChanges();

 protected:
  // To be called by setters of sort keys that take no part in isEqual().
  static void countKeyChange();
  // To be called by setters of what takes no part in isEqual() and stands in the object's record.
  void recordChanged() {
    if (owner_ != nullptr && owner_->children_ != nullptr) owner_->children_->noteChange();
  }
  // Both run `assign`, which changes a field that takes part in isEqual(), and keep the owner's
  // table in order. This one is for a field that takes no part in the hash.
  template <typename Assign>
  void changeKey(Assign assign) {
    const uint64_t before = fingerprint();
    assign();
    rekeyInOwnerTable(before);
  }
  // For a field that does: the object moves. Where an equal one is in the table already the object
  // leaves it, and lives on for its handles alone.
  template <typename Assign>
  void changeHashedKey(Assign assign) {
    const bool wasCached = leaveOwnerTable();
    try {
      assign();
    } catch (...) {
      enterOwnerTable(wasCached);
      throw;
    }
    enterOwnerTable(wasCached);
  }

 private:
  friend class TVHandle;

  template <typename Options>
  int broadcast(int (TVObject::*action)(TVHandle&, Options&), TVHandle& context, Options& options);
  template <typename Visit>
  void forEachChild(Visit visit);
  void reload(TVHandle& context);
  void rewrite(TVHandle& context);
  bool isAsWritten() const { return children_ != nullptr && !children_->hasChanged(); }
  void revert(TVHandle& context);
  [[nodiscard]] bool giveUpStorage(TVHandle& context);
  void abandonStorage(TVHandle& context);
  [[nodiscard]] bool leaveOwnerTable();
  void enterOwnerTable(bool wasCached);
  void deleteUnheld() { releaseReference(0); }
  void rekeyInOwnerTable(uint64_t fingerprintBefore);
  void leaveOwner(TVHandle& context, TVRemoval removal);
  [[nodiscard]] bool noteRemoval(TVHandle& context, TVObject& child);
  bool isHeldByUse() const { return isInTable_ && owner_->useCount_ > 0; }
  void orphanHandles();
  void announce(TVObject* child);

  static constexpr int32_t kHashUnknown = 0xfffffff;

  bool busy_ = false;
  bool deleted_ : 1 = false;
  bool notifyHandles_ : 1 = false;
  bool dirty_ : 1 = false;
  bool unseen_ : 1 = false;
  bool transient_ : 1 = false;
  bool isInTable_ : 1 = false;  // In the owner's, which there is then.
  bool keepWrites_ : 1 = true;
  bool lostChildren_ : 1 = false;  // Some left the cache since the last read, not the files.
  mutable int32_t hashValue_ = kHashUnknown;
  mutable uint64_t fingerprint_ = 0;  // 0 until it is asked for.
  int useCount_ = 0;
  int refCount_ = 0;
  std::unique_ptr<TVStorageLock> lockData_;
  TVObject* owner_;                   // Not owned; null for a root and once destroyed.
  TVHandle* handles_ = nullptr;       // All handles attached here, linked through the handles.
  std::unique_ptr<TVHash> children_;  // Null for an object that never had any: for most.
};

// Holds a reference on an object for the length of a block.
class [[nodiscard]] TVReferenceHold {
 public:
  explicit TVReferenceHold(TVObject* object) : object_(object) {
    if (object_ != nullptr) object_->addReference(1);
  }
  TVReferenceHold(const TVReferenceHold&) = delete;
  TVReferenceHold& operator=(const TVReferenceHold&) = delete;
  ~TVReferenceHold() {
    if (object_ != nullptr) object_->releaseReference(1);
  }

 private:
  TVObject* object_;
};

// Keeps an object in use for the length of a block, or beyond it.
class [[nodiscard]] TVUseScope {
 public:
  // A null object is left alone.
  TVUseScope(TVObject* object, TVHandle& context) : hold_(object), object_(object) {
    if (object_ != nullptr) object_->beginUse(context);
  }
  TVUseScope(const TVUseScope&) = delete;
  TVUseScope& operator=(const TVUseScope&) = delete;
  ~TVUseScope() {
    if (object_ != nullptr) object_->endUse();
  }

  // Leaves the use open: an endUse() elsewhere will end it.
  void keep() { object_ = nullptr; }

 private:
  TVReferenceHold hold_;
  TVObject* object_;
};

}  // namespace foldapi
