// os/pages_posix.cpp: memory on Linux, which gives large pages to those who ask, and maps files.
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "os/calls_posix.h"
#include "os/environment.h"
#include "os/pages.h"

namespace os {
namespace {

struct Piece {
  void* place = nullptr;
  size_t size = 0;
};

constexpr size_t kLargePage = 2 << 20;
constexpr mode_t kForOwner = S_IRUSR | S_IWUSR;
constexpr const char* kUsualDirectory = "/var/tmp";  // Unlike /tmp never in memory.

void* allocateOrdinary(size_t size) {
  if (size < 2 * kLargePage) return std::malloc(size);
  const size_t wholePages = (size + kLargePage - 1) / kLargePage * kLargePage;
  void* const memory = std::aligned_alloc(kLargePage, wholePages);
  if (memory != nullptr) ::madvise(memory, wholePages, MADV_HUGEPAGE);
  return memory;
}

// A descriptor, or -1.
int makeNamelessFile(const std::string& directory) {
  const int made = openDescriptor(directory.c_str(), O_TMPFILE | O_RDWR | O_EXCL, kForOwner);
  if (made >= 0) return made;
  std::string name = directory + "/trvs-XXXXXX";  // A file system that makes names only.
  const int named = ::mkostemp(name.data(), O_CLOEXEC);
  if (named >= 0) ::unlink(name.c_str());
  return named;
}

bool isOnDisk(int file) {
  struct statfs status;
  if (::fstatfs(file, &status) != 0) return false;
  const auto type = static_cast<unsigned long>(status.f_type);
  return type != TMPFS_MAGIC && type != RAMFS_MAGIC;
}

// Asks for room that is sure, and not for more than the process may write: that is a signal.
bool takeRoom(int file, size_t size) {
  rlimit limit;
  if (::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur < size) return false;
  return uninterrupted([=] { return ::fallocate(file, 0, 0, static_cast<off_t>(size)); }) == 0;
}

// Null if there can be no such file.
void* mapNamelessFile(const std::string& directory, size_t size) {
  if (!directory.starts_with('/')) return nullptr;
  const int file = makeNamelessFile(directory);
  if (file < 0) return nullptr;
  void* const memory = isOnDisk(file) && takeRoom(file, size)
                           ? ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
                           : MAP_FAILED;
  ::close(file);
  return memory == MAP_FAILED ? nullptr : memory;
}

// Whether the system says that it has no such memory: it may hand out more than there is, and end
// those that make use of it.
bool isShort(size_t size) {
  std::FILE* const file = std::fopen("/proc/meminfo", "re");
  if (file == nullptr) return false;
  uint64_t free = 0;
  bool isKnown = false;
  char line[256];
  while (std::fgets(line, sizeof line, file) != nullptr) {
    unsigned long long kilobytes = 0;
    const bool isMemory = std::sscanf(line, "MemAvailable: %llu", &kilobytes) == 1;
    isKnown = isKnown || isMemory;
    if (isMemory || std::sscanf(line, "SwapFree: %llu", &kilobytes) == 1) free += kilobytes;
  }
  std::fclose(file);
  return isKnown && size / 1024 > free;
}

// What stays with the process, in pieces of few sizes.
class Pool {
 public:
  // That of the piece for `size` bytes.
  static size_t sizeOf(size_t size) {
    if (size < kLeast) return size;
    const size_t step = std::bit_ceil(size) / 8;
    return (size + step - 1) / step * step;
  }

  // Null if there is none.
  void* take(size_t size) {
    if (size < kLeast) return nullptr;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Piece& each : pieces_) {
      if (each.size != size) continue;
      kept_ -= size;
      return std::exchange(each, {}).place;
    }
    return nullptr;
  }

  // Whether it is kept.
  bool keep(void* place, size_t size) {
    if (size < kLeast) return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (kept_ + size > kMost) return false;
    for (Piece& each : pieces_) {
      if (each.place != nullptr) continue;
      each = {place, size};
      kept_ += size;
      return true;
    }
    return false;
  }

 private:
  static constexpr size_t kLeast = 64 << 10;
  static constexpr size_t kMost = 8 << 20;

  std::mutex mutex_;
  std::array<Piece, 16> pieces_{};
  size_t kept_ = 0;
};

// Never destroyed, as the spares below: calls late in a process's life still find them.
Pool& pool() {
  static auto* const pool = new Pool;
  return *pool;
}

}  // namespace

void* takeAgain(size_t size) {
  const size_t whole = Pool::sizeOf(size);
  void* const kept = pool().take(whole);
  void* const place = kept != nullptr ? kept : std::malloc(whole > 0 ? whole : 1);
  if (place == nullptr) throw std::bad_alloc();
  return place;
}

void giveBack(void* place, size_t size) noexcept {
  if (!pool().keep(place, Pool::sizeOf(size))) std::free(place);
}

// Ordinary memory of wide pieces that nobody uses at present.
class Memory::Spares {
 public:
  void addUser() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++users_;
  }
  void removeUser() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (--users_ == 0) freeAll();
  }

  // False if it is not kept.
  bool keep(void* place, size_t size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (users_ == 0) return false;
    for (Piece& each : pieces_) {
      if (each.place != nullptr) continue;
      each = {place, size};
      return true;
    }
    return false;
  }

  // Null if none fits. *size becomes that of the piece.
  void* take(size_t* size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Piece& each : pieces_) {
      if (each.size < *size || each.size / 2 > *size) continue;
      *size = each.size;
      return std::exchange(each, {}).place;
    }
    return nullptr;
  }

  void clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    freeAll();
  }

 private:
  void freeAll() {
    for (Piece& each : pieces_) {
      std::free(each.place);
      ordinary_ -= std::exchange(each, {}).size;
    }
  }

  std::mutex mutex_;
  std::array<Piece, 8> pieces_{};
  int users_ = 0;
};

Memory::Spares& Memory::spares() {
  static auto* const spares = new Spares;
  return *spares;
}

Memory::Reuse::Reuse() { spares().addUser(); }
Memory::Reuse::~Reuse() { spares().removeUser(); }

// Counts a wide piece. False if it is beyond the limit.
bool Memory::takeOrdinary(size_t size) {
  if (ordinary_.fetch_add(size) + size <= mostOrdinary) return true;
  spares().clear();
  return ordinary_ <= mostOrdinary;
}

Memory::Memory(size_t size) : size_(size) {
  if (size > PTRDIFF_MAX - kLargePage) throw std::bad_alloc();
  place_ = size < kWide ? takeAgain(size) : spares().take(&size_);
  if (place_ != nullptr) return;
  const bool isTooMuch = !takeOrdinary(size);
  if (isTooMuch) {
    const std::string directory = environmentVariable("TMPDIR").value_or("");
    place_ = mapNamelessFile(directory, size);
    if (place_ == nullptr) place_ = mapNamelessFile(kUsualDirectory, size);
    isMapped_ = place_ != nullptr;
  }
  if (isMapped_) ordinary_ -= size;
  if (!isMapped_ && !(isTooMuch && isShort(size))) place_ = allocateOrdinary(size);
  if (place_ != nullptr) return;
  ordinary_ -= size;
  throw std::bad_alloc();
}

Memory::~Memory() {
  if (isMapped_) {
    ::munmap(place_, size_);
    return;
  }
  if (size_ < kWide) {
    giveBack(place_, size_);
  } else if (!spares().keep(place_, size_)) {
    std::free(place_);
    ordinary_ -= size_;
  }
}

}  // namespace os
