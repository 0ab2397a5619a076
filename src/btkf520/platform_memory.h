// btkf520/platform_memory.h: memory in the units in which the operating system hands it out.
// Implemented by platform_memory_posix.cpp.
#pragma once

#include <cstddef>

namespace btkf {

// `size` bytes of any value. Wide memory comes in large pages where the system has them: filling
// it for the first time then costs a fraction. Throws std::bad_alloc.
void* allocateMemory(size_t size);

// Gives back what allocateMemory() gave, or null.
void freeMemory(void* memory);

}  // namespace btkf
