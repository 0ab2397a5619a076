// btkf520/operations/edit.h: what an archive says about itself, and which revisions it has.
//
// The statuses of each are told in btkf520.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "btkf520/archive/status.h"

namespace btkf {

// Of a revision, or with null of the archive.
Status setDescription(const char* archive, const char* revision, const char* text);
Status getDescription(const char* archive, const char* revision, std::string* text);

Status setAttributes(const char* archive, uint32_t set, uint32_t clear);
Status getAttributes(const char* archive, uint32_t* attributes);

Status addAccess(const char* archive, const char* user);
Status removeAccess(const char* archive, const char* user);
Status listAccess(const char* archive, std::vector<std::string>* users);

// `range` as RevisionRange takes it, and with "+" behind it with all branches.
Status deleteRevisions(const char* archive, const char* range);
// Their numbers: the trunk's from the oldest on, then those of each branch.
Status listRevisions(const char* archive, const char* range, std::vector<std::string>* numbers);

// Reads all of an archive. *damaged receives the numbers of the revisions that can't be checked out
// any more, with kNotAnArchive.
Status verify(const char* archive, std::vector<std::string>* damaged);

}  // namespace btkf
