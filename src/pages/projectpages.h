// pages/projectpages.h: all projects, and the files of one.
#pragma once

#include "pages/parts.h"

namespace pages {

void writeProjects(Html& html, const Source& source);
void writeFiles(Html& html, const Context& context);

}  // namespace pages
