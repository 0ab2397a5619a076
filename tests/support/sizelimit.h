// support/sizelimit.h: a disk that is full, for this process alone.
#pragma once

#include <sys/resource.h>

#include <csignal>

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

}  // namespace support
