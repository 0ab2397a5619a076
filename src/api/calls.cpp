// api/calls.cpp: what is kept from one call to the next.
#include "api/calls.h"

#include <array>
#include <string>

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

const char* clientText(const VString& text) {
  thread_local std::array<std::string, 16> ring;
  thread_local size_t next = 0;
  std::string& buffer = ring[next];
  next = (next + 1) % ring.size();
  buffer = text.str();
  return buffer.c_str();
}

}  // namespace foldapi::api
