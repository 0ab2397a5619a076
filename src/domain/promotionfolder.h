// domain/promotionfolder.h: TVPromotionFolder, one group of a project's promotion model.
#pragma once

#include "core/createobject.h"
#include "core/folderoptions.h"
#include "core/handle.h"

namespace foldapi {

class TVPromotionFolder : public TVObject {
 public:
  static const VClassRecord theClass;

  TVPromotionFolder(VString promotionName, TVObject* owner, VBool transient);

  const VClassRecord* isA() const override { return &theClass; }
  bool isEqual(const VObject* other) const override;
  int32_t computeHash() const override { return promotionName_.hash(); }
  uint64_t computeFingerprint() const override;
  VString name(const TVOptionArray&) const override { return promotionName_; }
  int attribute(const TVOptionArray&) const override { return 13; }

  VBool isNamed(const VString& name) const { return name == promotionName_; }
  const VString& promotionName() const { return promotionName_; }

 private:
  VString promotionName_;
};

class TVPromotionFolderOptions : public TVFolderOptions {
 public:
  explicit TVPromotionFolderOptions(int version = 1);
};

}  // namespace foldapi
