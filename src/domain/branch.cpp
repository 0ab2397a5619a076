// domain/branch.cpp: the class record of branches.
#include "domain/branch.h"

namespace foldapi {

const VClassRecord TVBranch::theClass = {"TVBranch", &TVArchiveItem::theClass, 21,
                                         []() -> VObject* { return new TVBranchHandle; }};

}  // namespace foldapi
