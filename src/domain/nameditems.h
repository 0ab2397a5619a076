// domain/nameditems.h: the items that hang on a revision and are nothing but a name: version
// labels, floating labels, promotion labels and lockers.
#pragma once

#include "domain/archiveitem.h"
#include "domain/attribute.h"

namespace foldapi {

// A name that is fixed to a revision.
class TVVersionLabel : public TVArchiveItem {
 public:
  static const VClassRecord theClass;
  using TVArchiveItem::TVArchiveItem;
  const VClassRecord* isA() const override { return &theClass; }
  int attribute(const TVOptionArray&) const override { return TVAttribute::kVersionLabel; }
};

// A name that may stand under a revision of the abstract format; format 5.2 has none.
class TVFloatingLabel : public TVArchiveItem {
 public:
  static const VClassRecord theClass;
  using TVArchiveItem::TVArchiveItem;
  const VClassRecord* isA() const override { return &theClass; }
  int attribute(const TVOptionArray&) const override { return TVAttribute::kFloatingLabel; }
};

// The promotion group that a revision belongs to.
class TVPromotionLabel : public TVArchiveItem {
 public:
  static const VClassRecord theClass;
  using TVArchiveItem::TVArchiveItem;
  const VClassRecord* isA() const override { return &theClass; }
  int attribute(const TVOptionArray&) const override { return TVAttribute::kPromotionLabel; }
};

// One lock; the name is the user's.
class TVLocker : public TVArchiveItem {
 public:
  static const VClassRecord theClass;
  using TVArchiveItem::TVArchiveItem;
  const VClassRecord* isA() const override { return &theClass; }
  int attribute(const TVOptionArray&) const override { return TVAttribute::kLocker; }
};

using TVVersionLabelHandle = TVNamedItemHandle<TVVersionLabel>;
using TVFloatingLabelHandle = TVNamedItemHandle<TVFloatingLabel>;
using TVPromotionLabelHandle = TVNamedItemHandle<TVPromotionLabel>;
using TVLockerHandle = TVNamedItemHandle<TVLocker>;

}  // namespace foldapi
