// cli/archives/batch.cpp: what the engine tells of changes that it had to undo.
#include "cli/archives/batch.h"

#include <utility>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"

namespace cli {
namespace {

std::map<std::string, int32_t>* theUndone = nullptr;  // While there is a batch.

int32_t takeUndone(const char* archive, const char*, int32_t status) {
  if (theUndone != nullptr) theUndone->emplace(archive, status);
  return TRVS_GO_ON;
}

}  // namespace

Batch::Batch() {
  static std::map<std::string, int32_t> undone;
  undone.clear();
  theUndone = &undone;
  attachEngine(TRVS_CALLBACK_UNDONE, &takeUndone);
  begin();
}

Batch::~Batch() {
  static_cast<void>(TrvsEndBatch(TRVS_CONTEXT));
  theUndone = nullptr;
}

void Batch::begin() { static_cast<void>(TrvsBeginBatch(TRVS_CONTEXT)); }

std::map<std::string, int32_t> Batch::end() {
  static_cast<void>(TrvsEndBatch(TRVS_CONTEXT));
  return std::exchange(*theUndone, {});
}

}  // namespace cli
