// btkf520/operations/keywords.h: what a text says about its own revision.
#pragma once

#include <optional>
#include <string_view>

#include "btkf520/archive/bytes.h"
#include "btkf520/archive/model.h"

namespace btkf {

// Whether a content is text: no NUL in its first 8000 bytes.
bool isText(std::string_view bytes);

// Whether workfiles of the archive have keywords expanded, as far as they are text.
bool expandsKeywords(const ArchiveModel& model);
// Whether a text may have come of an expansion that changed something.
bool hasExpandedKeywords(std::string_view text);

// The content of a workfile for a revision: with `$Revision$`, `$Author$`, `$Date$`, `$Archive$`
// and `$Workfile$` expanded to `$Revision: 1.2 $` and so on. A keyword that was expanded before is
// expanded anew. Nothing if the content stays as it is: keywords are not to be expanded in this
// archive, or there are none, or it is no text. May throw std::bad_alloc.
std::optional<Bytes> expanded(const ArchiveModel& model, const Revision& revision,
                              std::string_view archive, std::string_view bytes);

}  // namespace btkf
