// pages/labelpages.h: the labels of a project, what is in one, and one against another.
#pragma once

#include "pages/parts.h"

namespace pages {

void writeLabels(Html& html, const Context& context);
void writeLabel(Html& html, const Context& context, const Label& label);
void writeBetween(Html& html, const Context& context, const Label& label, const Label& older);

}  // namespace pages
