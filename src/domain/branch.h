// domain/branch.h: TVBranch, a line of revisions. An archive holds its branches, a branch holds
// revisions and further branches.
#pragma once

#include "domain/archiveitem.h"
#include "domain/attribute.h"

namespace foldapi {

class TVBranch : public TVArchiveItem {
 public:
  static const VClassRecord theClass;

  using TVArchiveItem::TVArchiveItem;

  const VClassRecord* isA() const override { return &theClass; }
  int attribute(const TVOptionArray&) const override { return TVAttribute::kBranch; }
};

using TVBranchHandle = TVNamedItemHandle<TVBranch>;

}  // namespace foldapi
