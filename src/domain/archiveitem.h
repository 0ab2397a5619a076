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

  TVArchiveItem(VString itemName, int32_t itemNumber, TVObject* owner,
                TVCaching caching = TVCaching::kCached);

  const VClassRecord* isA() const override { return &theClass; }
  bool isEqual(const VObject* other) const override;
  int32_t computeHash() const override { return itemName_.hash(); }
  uint64_t computeFingerprint() const override;

  // Under kName the name comes first, under any other type the number.
  std::string_view sortKey(int* index, TVSortType sortType, std::string* scratch) const override;
  // Under kDefault and kNumber a key is the text of the number, and compares byte by byte.
  int compareKey(std::string_view key, TVSortType sortType, VCase letterCase) const override;
  KeyParts keyParts(std::string_view key, TVSortType sortType) const override;
  bool ordersBySortKeys(TVSortType sortType) const override {
    return sortType != TVSortType::kDefault && sortType != TVSortType::kNumber;
  }
  // Under kDefault and kNumber numbers order as numbers.
  int compareTo(const TVObject& other, TVChildList& list) const override;
  VString name(const TVOptionArray&) const override { return itemName_; }

  // What the revision around this item carries: its own texts, or those of the owner.
  virtual VString firstAttribute() const;
  virtual VString secondAttribute() const;
  virtual VString thirdAttribute() const;
  // The lockers of the revision, joined by ",".
  virtual VString lockerText();
  // For clients; the library finds children by compareKey().
  VBool isNamed(const VString& name) const { return name == itemName_; }

  const VString& itemName() const { return itemName_; }
  int32_t itemNumber() const { return itemNumber_; }
  void setItemName(const VString& name);
  void setItemNumber(int32_t number);

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
  virtual std::unique_ptr<TVObject> makeObject(const VString& name, TVObject* owner,
                                               TVCaching caching) = 0;
};

// The rule record of a class of items that are made from a name alone.
template <typename Item>
class TVNamedItemOptions : public TVArchiveItemOptions {
 public:
  TVNamedItemOptions(int version, std::vector<const VClassRecord*> childClasses = {})
      : TVArchiveItemOptions(&Item::theClass, version, std::move(childClasses)) {}
  std::unique_ptr<TVObject> makeObject(const VString& name, TVObject* owner,
                                       TVCaching caching) override {
    return std::make_unique<Item>(name, 0, owner, caching);
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
                                    const TVHandle& parent, const TVCreateOptions& options = {});
};

// The typed handle of a class of items that are made from a name alone.
template <typename Item>
class TVNamedItemHandle : public TVArchiveItemHandle {
 public:
  using TVArchiveItemHandle::TVArchiveItemHandle;

  static TVNamedItemHandle create(const VString& name, const TVHandle& parent,
                                  const TVCreateOptions& options = {}) {
    return TVNamedItemHandle(TVArchiveItemHandle::create(&Item::theClass, name, parent, options));
  }
};

}  // namespace foldapi
