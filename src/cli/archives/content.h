// cli/archives/content.h: contents of revisions.
#pragma once

#include <string>

#include "cli/archives/engine.h"

namespace cli {

// As a check-out gives it, or as it is stored, without keywords expanded. Throws Problem about
// `subject`, whose archive and revision are meant.
enum class Keywords { kExpanded, kStored };
std::string contentOf(const Subject& subject, Keywords keywords);

}  // namespace cli
