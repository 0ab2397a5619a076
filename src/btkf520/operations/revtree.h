// btkf520/operations/revtree.h: an archive's revisions as the flat list that clients walk.
#pragma once

#include "btkf520/archive/model.h"
#include "btkf520/btkf520.h"

namespace btkf {

// Builds the tree of a model, to be freed by freeRevTree(). Never null: an archive
// without revisions gives one record that is nothing, level 1. Throws std::bad_alloc.
TrvsRevTree* makeRevTree(const ArchiveModel& model);
void freeRevTree(TrvsRevTree* tree);

// The whole operation. *tree changes only with TRVS_DONE.
[[nodiscard]] TrvsStatus fetchRevTree(const char* archive, TrvsRevTree** tree);

}  // namespace btkf
