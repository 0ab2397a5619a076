// domain/archiveitem.cpp: identity, order and inherited texts of items.
#include "domain/archiveitem.h"

#include "core/childlist.h"
#include "domain/archivefolder.h"
#include "os/fingerprint.h"

namespace foldapi {

const VClassRecord TVArchiveItem::theClass = {"c", &TVObject::theClass, 20, nullptr};

namespace {

constexpr int kItemKeys = 2;

int signOf(int64_t difference) { return difference < 0 ? -1 : difference > 0 ? 1 : 0; }

}  // namespace

TVArchiveItem::TVArchiveItem(VString itemName, int32_t itemNumber, TVObject* owner,
                             TVCaching caching)
    : TVObject(owner, caching), itemNumber_(itemNumber), itemName_(std::move(itemName)) {}

bool TVArchiveItem::isEqual(const VObject* other) const {
  return TVObject::isEqual(other) &&
         static_cast<const TVArchiveItem*>(other)->itemName_ == itemName_;
}

uint64_t TVArchiveItem::computeFingerprint() const {
  return os::fingerprintText(itemName_.view(), 6);
}

std::string_view TVArchiveItem::sortKey(int* index, TVSortType sortType,
                                        std::string* scratch) const {
  const int position = *index;
  *index -= kItemKeys;
  if (*index >= 0) return TVObject::sortKey(index, sortType, scratch);
  const bool wantsName = (sortType == TVSortType::kName) == (position == 0);
  if (wantsName) return itemName_.view();
  *scratch = std::to_string(itemNumber_);
  return *scratch;
}

int TVArchiveItem::compareKey(std::string_view key, TVSortType sortType, VCase letterCase) const {
  if (!ordersBySortKeys(sortType)) {
    return compareText(key, std::to_string(itemNumber_), VCase::kExact);
  }
  return TVObject::compareKey(key, sortType, letterCase);
}

TVObject::KeyParts TVArchiveItem::keyParts(std::string_view key, TVSortType sortType) const {
  if (sortType != TVSortType::kName) return {};
  return {{key}, 1};
}

int TVArchiveItem::compareTo(const TVObject& other, TVChildList& list) const {
  const TVSortType sortType = list.sortTypeOf(isA());
  if (!other.isKindOf(&theClass) || ordersBySortKeys(sortType)) {
    return TVObject::compareTo(other, list);
  }
  return signOf(int64_t{itemNumber_} - static_cast<const TVArchiveItem&>(other).itemNumber_);
}

TVArchiveItem* TVArchiveItem::ownerItem() const {
  TVObject* above = owner();
  const bool isItem = above != nullptr && above->isKindOf(&theClass);
  return isItem ? static_cast<TVArchiveItem*>(above) : nullptr;
}

VString TVArchiveItem::firstAttribute() const {
  const TVArchiveItem* item = ownerItem();
  return item == nullptr ? VString() : item->firstAttribute();
}
VString TVArchiveItem::secondAttribute() const {
  const TVArchiveItem* item = ownerItem();
  return item == nullptr ? VString() : item->secondAttribute();
}
VString TVArchiveItem::thirdAttribute() const {
  const TVArchiveItem* item = ownerItem();
  return item == nullptr ? VString() : item->thirdAttribute();
}
VString TVArchiveItem::lockerText() {
  TVArchiveItem* item = ownerItem();
  return item == nullptr ? VString() : item->lockerText();
}

void TVArchiveItem::setItemName(const VString& name) {
  changeHashedKey([&] { itemName_ = name; });
}

void TVArchiveItem::setItemNumber(int32_t number) {
  if (number == itemNumber_) return;
  itemNumber_ = number;
  countKeyChange();
}

TVArchiveItemOptions::TVArchiveItemOptions(const VClassRecord* objectClass, int version,
                                           std::vector<const VClassRecord*> childClasses)
    : TVFolderOptions(objectClass, version, TVSortType::kNumber, std::move(childClasses)) {}

VString TVArchiveItemHandle::itemName() const {
  const auto* item = as<TVArchiveItem>();
  return item == nullptr ? VString() : item->itemName();
}
VString TVArchiveItemHandle::firstAttribute() const {
  const auto* item = as<TVArchiveItem>();
  return item == nullptr ? VString() : item->firstAttribute();
}
VString TVArchiveItemHandle::secondAttribute() const {
  const auto* item = as<TVArchiveItem>();
  return item == nullptr ? VString() : item->secondAttribute();
}
VString TVArchiveItemHandle::thirdAttribute() const {
  const auto* item = as<TVArchiveItem>();
  return item == nullptr ? VString() : item->thirdAttribute();
}
VString TVArchiveItemHandle::lockerText() const {
  auto* item = as<TVArchiveItem>();
  return item == nullptr ? VString() : item->lockerText();
}

void TVArchiveItemHandle::setItemName(const VString& name) {
  auto* item = as<TVArchiveItem>();
  if (item == nullptr || !isStorableText(*this, name.view())) return;
  editObject(*this, [&] { item->setItemName(name); });
}

TVArchiveItemHandle TVArchiveItemHandle::create(const VClassRecord* record, const VString& name,
                                                const TVHandle& parent,
                                                const TVCreateOptions& options) {
  TVHandle context = options.context(parent);
  if (!isStorableText(context, name.view())) return TVArchiveItemHandle();
  return TVArchiveItemHandle(createObject(
      record, parent, options,
      [&](TVFolderOptions& rules, TVHandle&, TVObject* owner, TVCaching caching) {
        return static_cast<TVArchiveItemOptions&>(rules).makeObject(name, owner, caching);
      }));
}

}  // namespace foldapi
