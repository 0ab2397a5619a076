// domain/promotionfolder.cpp: promotion groups in memory. They have no sort key of their own.
#include "domain/promotionfolder.h"

#include "base/fingerprint.h"
#include "domain/projectfolder.h"

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

// Format 5.2 lists a group as a place for projects, and for groups none: a group can be read there,
// and never be made. Kept so.
TVPromotionFolderOptions::TVPromotionFolderOptions(int version)
    : TVFolderOptions(&TVPromotionFolder::theClass, version, 2,
                      {version == 1 ? &TVPromotionFolder::theClass : &TVProjectFolder::theClass}) {}

}  // namespace foldapi
