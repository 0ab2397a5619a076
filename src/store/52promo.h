// store/52promo.h: TVPromotionFolder52, a group of the promotion model that the toolkit listed.
//
// The list is a run of NUL-terminated pairs, a group and the group above it, the top pair last; a
// model of one group is its name alone. A group finds those below it in the list when it is read.
#pragma once

#include <memory>
#include <string>

#include "domain/promotionfolder.h"

namespace foldapi {

class TVPromotionFolder52 : public TVPromotionFolder {
 public:
  using List = std::shared_ptr<const std::string>;

  TVPromotionFolder52(VString promotionName, List list, TVObject* owner,
                      TVCaching caching = TVCaching::kCached);

  int version() const override { return kFormat52; }
  int readData(TVHandle& context, TVStorageLock* lock) override;
  void setList(List list) { list_ = std::move(list); }

 private:
  bool isBelow(std::string_view name) const;

  List list_;
};

class TVPromotionFolder52Options : public TVPromotionFolderOptions {
 public:
  TVPromotionFolder52Options() : TVPromotionFolderOptions(kFormat52) {}
};

// Puts the top group of a model under `owner`, or leaves it without one if the model is empty.
void mergePromotionModel(TVObject& owner, std::string names);

}  // namespace foldapi
