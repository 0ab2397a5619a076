// core/clienthandles.cpp: the table of slots that tokens name.
#include "core/clienthandles.h"

#include <cstdint>
#include <new>
#include <vector>

#include "core/handle.h"

namespace foldapi {

namespace {

struct Slot {
  TVHandle* handle = nullptr;
  uintptr_t generation = 1;
};

// Slot 0 stays empty, so that no token is null.
struct Slots {
  std::vector<Slot> all = std::vector<Slot>(1);
  std::vector<uint32_t> free;
};

Slots& theSlots() {
  static auto* slots = new Slots;
  return *slots;
}

// A token is, from the lowest bit: bits that are clear, as in an aligned pointer, the slot and the
// generation. A narrow machine has slots for as many handles as its memory holds.
constexpr bool kIsNarrow = sizeof(void*) < 8;
constexpr unsigned kAlignmentBits = kIsNarrow ? 2 : 4;
constexpr unsigned kSlotBits = kIsNarrow ? 23 : 28;
constexpr unsigned kGenerationShift = kAlignmentBits + kSlotBits;
constexpr uintptr_t kSlotMask = (uintptr_t{1} << kSlotBits) - 1;
constexpr uintptr_t kGenerationMask = ~uintptr_t{0} >> kGenerationShift;

void* makeToken(uint32_t slot) {
  const uintptr_t generation = theSlots().all[slot].generation;
  return reinterpret_cast<void*>(generation << kGenerationShift | uintptr_t{slot}
                                                                      << kAlignmentBits);
}

}  // namespace

void* clientToken(TVHandle& handle) {
  if (handle.isNull()) return nullptr;
  if (handle.clientSlot() != 0) return makeToken(handle.clientSlot());
  Slots& slots = theSlots();
  uint32_t slot;
  if (slots.free.empty()) {
    slot = static_cast<uint32_t>(slots.all.size());
    if (slot > kSlotMask)
      throw std::bad_alloc();  // A null token would look like the end of a walk.
    slots.free.reserve(slots.all.capacity() + 1);  // So that forgetting a handle needs no memory.
    slots.all.emplace_back();
  } else {
    slot = slots.free.back();
    slots.free.pop_back();
  }
  slots.all[slot].handle = &handle;
  handle.setClientSlot(slot);
  return makeToken(slot);
}

TVHandle* clientHandle(const void* token) {
  const auto bits = reinterpret_cast<uintptr_t>(token);
  const auto slot = static_cast<size_t>(bits >> kAlignmentBits & kSlotMask);
  const Slots& slots = theSlots();
  if (slot == 0 || slot >= slots.all.size()) return nullptr;
  if (makeToken(static_cast<uint32_t>(slot)) != token) return nullptr;
  return slots.all[slot].handle;
}

// A slot whose generations are used up is never given out again.
void forgetClientHandle(TVHandle& handle) {
  Slots& slots = theSlots();
  const uint32_t slot = handle.clientSlot();
  handle.setClientSlot(0);
  slots.all[slot].handle = nullptr;
  if (slots.all[slot].generation == kGenerationMask) return;
  ++slots.all[slot].generation;
  slots.free.push_back(slot);
}

}  // namespace foldapi
