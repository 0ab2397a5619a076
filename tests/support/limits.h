// support/limits.h: a disk that is full and a memory that is short, for this process alone.
#pragma once

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

namespace support {

// No file of this process may grow beyond `bytes`, as on a disk that is full.
class SizeLimit {
 public:
  explicit SizeLimit(rlim_t bytes) : oldHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit limit = {bytes, old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  SizeLimit(const SizeLimit&) = delete;
  SizeLimit& operator=(const SizeLimit&) = delete;
  ~SizeLimit() {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, oldHandler_);
  }

 private:
  rlimit old_;
  void (*oldHandler_)(int);
};

// The address space of this process may grow by `bytes` from now on; it can't be left again, so
// call it in a process of its own. Gives false where that can't be: the address sanitizer's
// shadow takes address space of its own, and an emulator doesn't enforce the limit.
inline bool limitMemory(rlim_t bytes) {
#ifdef __SANITIZE_ADDRESS__
  static_cast<void>(bytes);
  return false;
#else
  rlim_t used = 0;
  std::ifstream("/proc/self/statm") >> used;
  rlimit limit{};
  getrlimit(RLIMIT_AS, &limit);
  limit.rlim_cur = used * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + bytes;
  if (setrlimit(RLIMIT_AS, &limit) != 0) return false;
  const size_t tooMuch = static_cast<size_t>(bytes) + (1u << 20);
  void* const memory = mmap(nullptr, tooMuch, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return true;
  munmap(memory, tooMuch);
  return false;
#endif
}

}  // namespace support
