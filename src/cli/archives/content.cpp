// cli/archives/content.cpp: the engine hands a content over in pieces.
#include "cli/archives/content.h"

#include "btkf520/btkf520.h"

namespace cli {
namespace {

int32_t take(void* client, const void* bytes, uint64_t size) {
  static_cast<std::string*>(client)->append(static_cast<const char*>(bytes), size);
  return TRVS_GO_ON;
}

}  // namespace

std::string contentOf(const Subject& subject, Keywords keywords) {
  std::string content;
  check(TrvsReadRevision(TRVS_CONTEXT, subject.archive.c_str(), subject.revision.c_str(), -1, &take,
                         &content, keywords == Keywords::kExpanded ? TRVS_READ_EXPANDED : 0),
        subject);
  return content;
}

}  // namespace cli
