// os/parallel.cpp: one thread beside the caller's.
#include "os/parallel.h"

#include <exception>
#include <system_error>
#include <thread>

namespace os {

void shareWork(size_t count, const std::function<void(size_t begin, size_t end)>& work) {
  const size_t half = count / 2;
  std::exception_ptr thrown;
  const auto workThere = [&]() noexcept {
    try {
      work(half, count);
    } catch (...) {
      thrown = std::current_exception();
    }
  };
  {
    std::jthread other;  // Is waited for, whatever is thrown here.
    try {
      other = std::jthread(workThere);
    } catch (const std::system_error&) {  // No thread to be had.
      workThere();
    }
    work(0, half);
  }
  if (thrown != nullptr) std::rethrow_exception(thrown);
}

}  // namespace os
