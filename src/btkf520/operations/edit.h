// btkf520/operations/edit.h: what an archive says about itself, and which revisions it has.
//
// The statuses of each are told in btkf520.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"

namespace btkf {

// Of a revision, or with null of the archive.
[[nodiscard]] TrvsStatus setDescription(const char* archive, const char* revision,
                                        const char* text);
[[nodiscard]] TrvsStatus getDescription(const char* archive, const char* revision,
                                        std::string* text);

[[nodiscard]] TrvsStatus setAttributes(const char* archive, uint32_t set, uint32_t clear);
[[nodiscard]] TrvsStatus getAttributes(const char* archive, uint32_t* attributes);

[[nodiscard]] TrvsStatus getOwner(const char* archive, std::string* user);

[[nodiscard]] TrvsStatus addAccess(const char* archive, const char* user);
[[nodiscard]] TrvsStatus removeAccess(const char* archive, const char* user);
[[nodiscard]] TrvsStatus listAccess(const char* archive, std::vector<std::string>* users);

// `range` as RevisionRange takes it, and with "+" after it with all branches.
[[nodiscard]] TrvsStatus deleteRevisions(const char* archive, const char* range);
// Their numbers: the trunk's from the oldest on, then those of each branch.
[[nodiscard]] TrvsStatus listRevisions(const char* archive, const char* range,
                                       std::vector<std::string>* numbers);

// Reads all of an archive. *damaged receives the numbers of the revisions that can't be checked out
// any more, with TRVS_NOT_AN_ARCHIVE.
[[nodiscard]] TrvsStatus verify(const char* archive, std::vector<std::string>* damaged);

}  // namespace btkf
