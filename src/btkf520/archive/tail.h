// btkf520/archive/tail.h: the information block, which stands near the end of an archive file.
//
// Clients read a summary of the archive from there without the toolkit: its records tell each one
// thing. Its size depends on the description, the access list and the locks, not on the history.
// docs/archive-format.md has the details.
#pragma once

#include <string>

#include "btkf520/archive/model.h"

namespace btkf {

// All records of the block but the last, the engine's own: see archivefile/parts.h.
std::string encodeRecords(const ArchiveModel& model);

}  // namespace btkf
