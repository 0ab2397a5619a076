// api/load.cpp: how the library starts: when it is loaded, and when a client names the roots.
#include "api/calls.h"
#include "domain/projectroot.h"
#include "runtime/nativepath.h"
#include "store/format52.h"
#include "toolkit/bracket.h"

using foldapi::theApiSink;
using foldapi::theNullHandle;
using foldapi::TVProjectRootHandle;

namespace {

constexpr uint32_t kProcessAttach = 1;
constexpr uint32_t kThreadAttach = 2;

// The only handle that Init() gives out.
TVProjectRootHandle& theRootHandle() {
  static auto* handle = new TVProjectRootHandle;
  return *handle;
}

bool theProcessIsAttached = false;

bool attach() {
  foldapi::SetGlobalHandler(&theApiSink());
  const bool enabled = foldapi::EnableToolkit(theApiSink());
  theProcessIsAttached = true;
  return enabled;
}

}  // namespace

// Windows calls it for each thread that starts, and then gives the module. Such a thread may start
// within an operation of another one, which may even wait for it: it must leave the toolkit alone.
int32_t DllMain(void* module, uint32_t reason, void*) {
  return foldapi::api::guardedAside(0, [&] {
    const bool isSystems = module != nullptr && reason == kThreadAttach;
    if (isSystems || (reason != kProcessAttach && reason != kThreadAttach)) return 1;
    return attach() ? 1 : 0;
  });
}

TVHandle* Init(const char* publicRoot, const char* privateRoot) {
  return foldapi::api::guarded<TVHandle*>(nullptr, [&]() -> TVHandle* {
    if (!theProcessIsAttached) attach();  // There was no memory for it then.
    foldapi::registerFormat52();
    foldapi::reloadPathMap();
    const TVProjectRootHandle root =
        TVProjectRootHandle::create(publicRoot, privateRoot, theNullHandle(),
                                    {.sink = &theApiSink(), .version = foldapi::kFormat52});
    if (root.isNull()) return nullptr;
    theRootHandle() = root;
    return foldapi::api::tokenOf(theRootHandle());
  });
}
