// os/pages.h: memory in the units in which the operating system hands it out.
#pragma once

#include <cstddef>

namespace os {

// `size` bytes of any value. Wide memory comes in large pages where the system has them: filling
// it for the first time then costs a fraction. Throws std::bad_alloc.
void* allocateMemory(size_t size);

// Gives back what allocateMemory() gave, or null.
void freeMemory(void* memory);

}  // namespace os
