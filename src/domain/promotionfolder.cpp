// domain/promotionfolder.cpp: promotion groups in memory. They have no sort key of their own.
#include "domain/promotionfolder.h"

#include "base/fingerprint.h"

namespace foldapi {

const VClassRecord TVPromotionFolder::theClass = {"TVPromotionFolder", &TVObject::theClass, 15,
                                                  []() -> VObject* { return new TVHandle; }};

TVPromotionFolder::TVPromotionFolder(VString promotionName, TVObject* owner, VBool transient)
    : TVObject(owner, transient), promotionName_(std::move(promotionName)) {}

bool TVPromotionFolder::isEqual(const VObject* other) const {
  return TVObject::isEqual(other) &&
         static_cast<const TVPromotionFolder*>(other)->promotionName_ == promotionName_;
}

uint64_t TVPromotionFolder::computeFingerprint() const {
  return fingerprintText(promotionName_.view(), 5);
}

TVPromotionFolderOptions::TVPromotionFolderOptions(int version)
    : TVFolderOptions(&TVPromotionFolder::theClass, version, 2, {&TVPromotionFolder::theClass}) {}

}  // namespace foldapi
