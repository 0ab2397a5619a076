// os/parallel.h: work that two processors share.
#pragma once

#include <cstddef>
#include <functional>

namespace os {

// Calls `work` with ranges that are all of 0 to `count` together, some of them at the same time:
// its calls may not touch one another's. Returns when all are done, and throws what one of them
// threw.
void shareWork(size_t count, const std::function<void(size_t begin, size_t end)>& work);

}  // namespace os
