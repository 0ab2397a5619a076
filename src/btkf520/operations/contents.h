// btkf520/operations/contents.h: questions about the contents of revisions, without a workfile for
// an answer.
//
// The statuses of each are told in btkf520.h.
#pragma once

#include <string>
#include <vector>

#include "btkf520/archive/bytes.h"
#include "btkf520/btkf520.h"

namespace btkf {

// Five texts for each revision in a range: number, length, checksum, the workfile's time, author.
[[nodiscard]] TrvsStatus listContents(const char* archive, const char* range,
                                      std::vector<std::string>* texts);

// The number of the newest revision that has the content of the workfile.
[[nodiscard]] TrvsStatus findContent(const char* target, std::string* number);

// Hands a revision's content to a sink, with keywords expanded or as it is stored.
// TRVS_CANNOT_WRITE if the sink takes no more.
enum class Keywords { kAsStored, kExpanded };
[[nodiscard]] TrvsStatus readRevision(const char* archive, const char* revision, Keywords keywords,
                                      const BytesSink& sink);

}  // namespace btkf
