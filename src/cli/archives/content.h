// cli/archives/content.h: contents of revisions.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "cli/archives/engine.h"

namespace cli {

// As a check-out gives it, or as it is stored, without keywords expanded. Throws Problem about
// `subject`, whose archive and revision are meant.
enum class Keywords { kExpanded, kStored };
std::string contentOf(const Subject& subject, Keywords keywords);
// The same piece by piece. Gives the engine's status; throws what `take` throws.
int32_t readContent(const Subject& subject, Keywords keywords,
                    const std::function<void(std::string_view bytes)>& take);

}  // namespace cli
