// api/load_posix.cpp: has the library attach itself once when it is loaded, where no system does
// it. Nothing here depends on other statics.
#include "foldapi/foldapi.h"

namespace {

constexpr uint32_t kProcessAttach = 1;

__attribute__((constructor)) void attachProcess() { DllMain(nullptr, kProcessAttach, nullptr); }

}  // namespace
