// btkf520/operations/editplaces.h: where an edit is shown that could stand in several places.
#pragma once

#include <vector>

#include "btkf520/operations/linediff.h"

namespace btkf {

// Lines that were added between equal ones, a function after another, can be told in several ways:
// each takes a line less at one end and one more at the other. Moves each such edit to where it
// begins and ends best for a reader. Edits that come to touch become one.
void placeEdits(const Lines& first, const Lines& second, const LineRules& rules,
                std::vector<Edit>* edits);

}  // namespace btkf
