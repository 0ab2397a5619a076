// cli/pictures/treestyle.h: the colours and fonts of trees.
#pragma once

#include <cstddef>
#include <string>

namespace cli {

// A style sheet, which touches nothing but what is inside of class "trevault-tree".
std::string treeStyle();

// The class of a branch: its own among those that are near. 0 is the trunk.
std::string branchColour(size_t branch);

}  // namespace cli
