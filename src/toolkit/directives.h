// toolkit/directives.h: sets any directive of a configuration file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/handle.h"

namespace foldapi {

struct SetResult {
  int32_t status;               // Of the toolkit.
  std::optional<size_t> value;  // Which of the values it is about. Else it is about the file.
};

enum class Trial { kOnly, kThenWrite };

// Has the project's configuration file give `name`, in any case, each of `values`, in one change.
// Each takes the place of the last line that settles the same thing, outside of conditionals, or
// comes at the end. Of PROMOTE, ARCHIVESUFFIX and EVENTTRIGGER lines with the same left side settle
// the same thing.
//
// The toolkit reads what comes out, after the master file, and the file stays as it is if it
// complains about one of the new lines; also with Trial::kOnly. May give TRVS_MISUSE for no
// project; TRVS_IN_USE; TRVS_CANNOT_READ_CONFIGURATION; TRVS_CANNOT_WRITE; TRVS_INVALID_LINE for a
// file that can't be meant as a configuration; and with a value what the toolkit says about its
// line. No state of the toolkit is changed, and nothing is reported to a sink.
[[nodiscard]] SetResult SetDirective(TVHandle& project, std::string name,
                                     const std::vector<std::string>& values, Trial trial);

}  // namespace foldapi
