// domain/nameditems.cpp: the class records of what hangs on a revision.
#include "domain/nameditems.h"

namespace foldapi {

namespace {

template <typename Handle>
VObject* makeHandle() {
  return new Handle;
}

}  // namespace

const VClassRecord TVVersionLabel::theClass = {"TVVersionLabel", &TVArchiveItem::theClass, 23,
                                               makeHandle<TVVersionLabelHandle>};
const VClassRecord TVFloatingLabel::theClass = {"TVFloatingLabel", &TVArchiveItem::theClass, 24,
                                                makeHandle<TVFloatingLabelHandle>};
const VClassRecord TVPromotionLabel::theClass = {"TVPromotionLabel", &TVArchiveItem::theClass, 25,
                                                 makeHandle<TVPromotionLabelHandle>};
const VClassRecord TVLocker::theClass = {"TVLocker", &TVArchiveItem::theClass, 26,
                                         makeHandle<TVLockerHandle>};

}  // namespace foldapi
