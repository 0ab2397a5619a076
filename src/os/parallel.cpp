// os/parallel.cpp: one thread beside the caller's.
#include "os/parallel.h"

#include <system_error>
#include <thread>

namespace os {

void shareWork(size_t count, const std::function<void(size_t begin, size_t end)>& work) {
  const size_t half = count / 2;
  std::thread other;
  try {
    other = std::thread(work, half, count);
  } catch (const std::system_error&) {  // No thread to be had.
    work(half, count);
  }
  work(0, half);
  if (other.joinable()) other.join();
}

}  // namespace os
