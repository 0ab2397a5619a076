// domain/archiveitem.h: TVArchiveItem, the base of all that exists inside an archive: branches,
// revisions, labels and lockers. An item has an ordering number and a name; the name alone is its
// identity. Items are never written to the database's files.
#pragma once

#include "core/createobject.h"
#include "core/folderoptions.h"
#include "core/handle.h"

namespace foldapi {

class TVArchiveItem : public TVObject {
 public:
  static const VClassRecord theClass;

  TVArchiveItem(VString itemName, int32_t itemNumber, TVObject* owner, VBool transient);

  const VClassRecord* isA() const override { return &theClass; }
  bool isEqual(const VObject* other) const override;
  int32_t computeHash() const override { return itemName_.hash(); }
  uint64_t computeFingerprint() const override;

  // Keys: 2 name first, any other type number first.
  std::string_view sortKey(int* index, int sortType, std::string* scratch) const override;
  // Types 0 and 1 compare with the number's text, byte by byte; 2 with the name.
  int compareKey(std::string_view key, int sortType, bool caseSensitive) const override;
  KeyParts keyParts(std::string_view key, int sortType) const override;
  bool ordersBySortKeys(int sortType) const override { return sortType != 0 && sortType != 1; }
  // Under types 0 and 1 numbers order as numbers.
  int compareTo(const TVObject& other, TVChildList& list) const override;
  VString name(const TVOptionArray&) const override { return itemName_; }

  // What the revision around this item carries: its own texts, or those of the owner.
  virtual VString firstAttribute() const;
  virtual VString secondAttribute() const;
  virtual VString thirdAttribute() const;
  // The lockers of the revision, joined by ",".
  virtual VString lockerText();
  VBool isNamed(const VString& name) const { return name == itemName_; }

  const VString& itemName() const { return itemName_; }
  int32_t itemNumber() const { return itemNumber_; }
  void setItemName(const VString& name);

 private:
  TVArchiveItem* ownerItem() const;

  int32_t itemNumber_;
  VString itemName_;
};

// The rule record of a class of items.
class TVArchiveItemOptions : public TVFolderOptions {
 public:
  TVArchiveItemOptions(const VClassRecord* objectClass, int version,
                       std::vector<const VClassRecord*> childClasses);
  // Builds an item of the class under a name.
  virtual TVObject* makeObject(const VString& name, TVObject* owner, VBool transient) = 0;
};

// The rule record of a class of items that are made from a name alone.
template <typename Item>
class TVNamedItemOptions : public TVArchiveItemOptions {
 public:
  TVNamedItemOptions(int version, std::vector<const VClassRecord*> childClasses = {})
      : TVArchiveItemOptions(&Item::theClass, version, std::move(childClasses)) {}
  TVObject* makeObject(const VString& name, TVObject* owner, VBool transient) override {
    return new Item(name, 0, owner, transient);
  }
};

class TVArchiveItemHandle : public TVHandle {
 public:
  using TVHandle::TVHandle;
  explicit TVArchiveItemHandle(const TVHandle& other) : TVHandle(other) {}

  VString itemName() const;
  VString firstAttribute() const;
  VString secondAttribute() const;
  VString thirdAttribute() const;
  VString lockerText() const;
  void setItemName(const VString& name);

  // Creates an item of a class under a name: in memory alone.
  static TVArchiveItemHandle create(const VClassRecord* record, const VString& name,
                                    const TVHandle& parent, TVLockScope& scope, TVErrorSink* sink,
                                    int mode, int version);
};

// The typed handle of a class of items that are made from a name alone.
template <typename Item>
class TVNamedItemHandle : public TVArchiveItemHandle {
 public:
  using TVArchiveItemHandle::TVArchiveItemHandle;

  static TVNamedItemHandle create(const VString& name, const TVHandle& parent, TVLockScope& scope,
                                  TVErrorSink* sink, int mode, int version) {
    return TVNamedItemHandle(
        TVArchiveItemHandle::create(&Item::theClass, name, parent, scope, sink, mode, version));
  }
};

}  // namespace foldapi
