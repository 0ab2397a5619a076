// pages/filepages.h: a file, and two of its revisions side by side.
#pragma once

#include "pages/parts.h"

namespace pages {

void writeFile(Html& html, const Context& context, const File& file);
// `older` and `newer` by their places on the page: any two revisions of the file.
void writeRevisions(Html& html, const Context& context, const File& file,
                    const cli::RevisionInfo& older, const cli::RevisionInfo& newer);

}  // namespace pages
