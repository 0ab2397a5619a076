// os/widepieces_windows.cpp: memory on Windows, which hands out no more than it has room for, and
// moves what nobody uses to its paging file by itself.
#include <cstdlib>

#include "os/widepieces.h"

namespace os {

void* allocateWide(size_t size) { return std::malloc(size); }

void* mapNamelessFile(size_t /*size*/) { return nullptr; }

void unmapNamelessFile(void* /*place*/, size_t /*size*/) {}

bool isMemoryShort(size_t /*size*/) { return false; }

}  // namespace os
