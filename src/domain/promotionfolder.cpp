// domain/promotionfolder.cpp: promotion groups in memory. They have no sort key of their own.
#include "domain/promotionfolder.h"

#include "domain/projectfolder.h"
#include "os/fingerprint.h"

namespace foldapi {

const VClassRecord TVPromotionFolder::theClass = {
    "TVPromotionFolder", &TVObject::theClass, 15,
    []() -> VObject* { return new TVPromotionFolderHandle; }};

TVPromotionFolder::TVPromotionFolder(VString promotionName, TVObject* owner, TVCaching caching)
    : TVObject(owner, caching), promotionName_(std::move(promotionName)) {}

bool TVPromotionFolder::isEqual(const VObject* other) const {
  return TVObject::isEqual(other) &&
         static_cast<const TVPromotionFolder*>(other)->promotionName_ == promotionName_;
}

uint64_t TVPromotionFolder::computeFingerprint() const {
  return os::fingerprintText(promotionName_.view(), 5);
}

// Format 5.2 lists a group as a place for projects, and for groups none: a group can be read there,
// and never be made. Kept so.
TVPromotionFolderOptions::TVPromotionFolderOptions(int version)
    : TVFolderOptions(&TVPromotionFolder::theClass, version, TVSortType::kName,
                      {version == kAbstractVersion ? &TVPromotionFolder::theClass
                                                   : &TVProjectFolder::theClass}) {}

std::unique_ptr<TVObject> TVPromotionFolderOptions::makeObject(const VString& name, TVObject* owner,
                                                               TVCaching caching) {
  return std::make_unique<TVPromotionFolder>(name, owner, caching);
}

void TVPromotionFolder::setPromotionName(const VString& name) {
  changeHashedKey([&] { promotionName_ = name; });
}

VString TVPromotionFolderHandle::promotionName() const {
  const auto* group = as<TVPromotionFolder>();
  return group == nullptr ? VString() : group->promotionName();
}

void TVPromotionFolderHandle::setName(const VString& name) {
  auto* group = as<TVPromotionFolder>();
  if (group == nullptr || !isStorableText(*this, name.view())) return;
  editObject(*this, [&] { group->setPromotionName(name); });
}

TVPromotionFolderHandle TVPromotionFolderHandle::create(const VString& name, const TVHandle& parent,
                                                        const TVCreateOptions& options) {
  return TVPromotionFolderHandle(createObject(
      &TVPromotionFolder::theClass, parent, options,
      [&](TVFolderOptions& rules, TVHandle&, TVObject* owner, TVCaching caching) {
        return static_cast<TVPromotionFolderOptions&>(rules).makeObject(name, owner, caching);
      }));
}

}  // namespace foldapi
