// api/calls.cpp: what is kept from one call to the next.
#include "api/calls.h"

#include <array>
#include <mutex>
#include <string>
#include <utility>

#include "toolkit/messages.h"

namespace foldapi::api {

std::unique_ptr<TVChildList>& theParkedList() {
  static auto* list = new std::unique_ptr<TVChildList>;
  return *list;
}

void tellNoMemory() noexcept {
  try {
    theApiSink().error(theNullHandle(), FolderMessage(kFolderNoMemory));
  } catch (...) {  // None left for the message either.
  }
}

namespace {

struct Ring {
  std::array<std::string, 16> buffers;
  size_t next = 0;
  Ring* nextFree = nullptr;
};

// Rings of threads that have ended. None is ever deleted: exit handlers run after what belongs to
// the main thread has ended, and may read texts and ask for more.
std::mutex theRingsMutex;
Ring* theFreeRings = nullptr;

Ring* takeRing() {
  const std::lock_guard<std::mutex> lock(theRingsMutex);
  if (theFreeRings == nullptr) return new Ring;
  return std::exchange(theFreeRings, theFreeRings->nextFree);
}

thread_local Ring* theRing = nullptr;

// Gives the ring of a thread back when the thread ends.
struct RingKeeper {
  ~RingKeeper() {
    const std::lock_guard<std::mutex> lock(theRingsMutex);
    Ring* const ring = std::exchange(theRing, nullptr);
    if (ring == nullptr) return;
    ring->nextFree = std::exchange(theFreeRings, ring);
  }
};

// Once: what a thread asks for while it ends is its last.
void keepRing() {
  thread_local bool isKept = false;
  if (std::exchange(isKept, true)) return;
  thread_local const RingKeeper keeper;
  static_cast<void>(keeper);
}

}  // namespace

const char* clientText(const VString& text) {
  if (theRing == nullptr) {
    theRing = takeRing();
    keepRing();
  }
  std::string& buffer = theRing->buffers[theRing->next];
  theRing->next = (theRing->next + 1) % theRing->buffers.size();
  buffer = text.str();
  return buffer.c_str();
}

}  // namespace foldapi::api
