// domain/promotionfolder.h: TVPromotionFolder, one group of a project's promotion model.
#pragma once

#include "core/createobject.h"
#include "core/folderoptions.h"
#include "core/handle.h"
#include "domain/attribute.h"

namespace foldapi {

class TVPromotionFolder : public TVObject {
 public:
  static const VClassRecord theClass;

  TVPromotionFolder(VString promotionName, TVObject* owner, TVCaching caching = TVCaching::kCached);

  const VClassRecord* isA() const override { return &theClass; }
  bool isEqual(const VObject* other) const override;
  int32_t computeHash() const override { return promotionName_.hash(); }
  uint64_t computeFingerprint() const override;
  VString name(const TVOptionArray&) const override { return promotionName_; }
  int attribute(const TVOptionArray&) const override { return TVAttribute::kPromotionGroup; }

  // For clients; the library finds children by compareKey().
  VBool isNamed(const VString& name) const { return name == promotionName_; }
  const VString& promotionName() const { return promotionName_; }
  void setPromotionName(const VString& name);

 private:
  VString promotionName_;
};

class TVPromotionFolderOptions : public TVFolderOptions {
 public:
  explicit TVPromotionFolderOptions(int version = kAbstractVersion);
  std::unique_ptr<TVObject> makeObject(const VString& name, TVObject* owner, TVCaching caching);
};

class TVPromotionFolderHandle : public TVHandle {
 public:
  using TVHandle::TVHandle;
  explicit TVPromotionFolderHandle(const TVHandle& other) : TVHandle(other) {}

  VString promotionName() const;
  void setName(const VString& name);

  // Creates a group in memory; under a project of format 5.2 none can be made.
  static TVPromotionFolderHandle create(const VString& name, const TVHandle& parent,
                                        const TVCreateOptions& options = {});
};

}  // namespace foldapi
