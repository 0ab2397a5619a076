// cli/archives/content.cpp: the engine hands a content over in pieces.
#include "cli/archives/content.h"

#include <exception>

#include "btkf520/btkf520.h"

namespace cli {
namespace {

struct Taker {
  const std::function<void(std::string_view)>& take;
  std::exception_ptr thrown;  // Nothing may be thrown through the engine.
};

int32_t takePiece(void* client, const void* bytes, uint64_t size) {
  auto* const taker = static_cast<Taker*>(client);
  try {
    taker->take({static_cast<const char*>(bytes), static_cast<size_t>(size)});
    return TRVS_GO_ON;
  } catch (...) {
    taker->thrown = std::current_exception();
    return TRVS_REFUSE;
  }
}

}  // namespace

int32_t readContent(const Subject& subject, Keywords keywords,
                    const std::function<void(std::string_view)>& take) {
  Taker taker{take, nullptr};
  const int32_t status = TrvsReadRevision(TRVS_CONTEXT, subject.archive.c_str(),
                                          subject.revision.c_str(), -1, &takePiece, &taker,
                                          keywords == Keywords::kExpanded ? TRVS_READ_EXPANDED : 0);
  if (taker.thrown != nullptr) std::rethrow_exception(taker.thrown);
  return status;
}

std::string contentOf(const Subject& subject, Keywords keywords) {
  std::string content;
  check(readContent(subject, keywords, [&](std::string_view bytes) { content += bytes; }), subject);
  return content;
}

}  // namespace cli
