// os/widepieces.h: where each system has wide pieces of memory from. For os/pages.cpp alone.
#pragma once

#include <cstddef>

namespace os {

// In large pages where the system has them; std::free() takes it back. Null without memory.
void* allocateWide(size_t size);

// A file on a disk without a name, as os/pages.h tells. Null if there can be none, or the system
// does by itself what such a file is for.
void* mapNamelessFile(size_t size);
void unmapNamelessFile(void* place, size_t size);

// Whether the system says that it has no such memory, though it would hand it out.
bool isMemoryShort(size_t size);

}  // namespace os
