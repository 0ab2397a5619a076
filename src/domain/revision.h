// domain/revision.h: TVRevision, one revision of an archive; its name is its number as text.
#pragma once

#include "domain/archiveitem.h"
#include "domain/attribute.h"

namespace foldapi {

// The texts of a revision in the order of the bits by which the toolkit marks them.
struct TVRevisionTexts {
  VString first;   // 0x20: when it was checked in.
  VString second;  // 0x10: its author.
  VString third;   // 0x08: what was changed.
};

class TVRevision : public TVArchiveItem {
 public:
  static const VClassRecord theClass;

  TVRevision(VString itemName, TVRevisionTexts texts, VBool isLocked, int32_t itemNumber,
             TVObject* owner, TVCaching caching = TVCaching::kCached);

  const VClassRecord* isA() const override { return &theClass; }
  int attribute(const TVOptionArray&) const override {
    return isLocked_ ? TVAttribute::kLockedRevision : TVAttribute::kRevision;
  }
  VString firstAttribute() const override { return texts_.first; }
  VString secondAttribute() const override { return texts_.second; }
  VString thirdAttribute() const override { return texts_.third; }
  VString lockerText() override;

  VBool isLocked() const { return isLocked_; }
  void setDetails(TVRevisionTexts texts, VBool isLocked);

 private:
  TVRevisionTexts texts_;
  VBool isLocked_;
};

class TVRevisionOptions : public TVFolderOptions {
 public:
  explicit TVRevisionOptions(int version = kAbstractVersion);
  virtual std::unique_ptr<TVObject> makeObject(const VString& name, const TVRevisionTexts& texts,
                                               VBool isLocked, TVObject* owner, TVCaching caching);
};

class TVRevisionHandle : public TVArchiveItemHandle {
 public:
  using TVArchiveItemHandle::TVArchiveItemHandle;

  static TVRevisionHandle create(const VString& name, const TVRevisionTexts& texts, VBool isLocked,
                                 const TVHandle& parent, const TVCreateOptions& options = {});
};

// The last component of a revision or branch number: what items of one level are ordered by.
int32_t lastNumber(std::string_view number);

}  // namespace foldapi
