// os/widepieces_posix.cpp: memory on Linux, which gives large pages to those who ask, and maps
// files.
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "os/calls_posix.h"
#include "os/environment.h"
#include "os/pages.h"
#include "os/widepieces.h"

namespace os {
namespace {

constexpr mode_t kForOwner = S_IRUSR | S_IWUSR;
constexpr const char* kUsualDirectory = "/var/tmp";  // Unlike /tmp never in memory.
constexpr size_t kStep = 64 << 10;                   // A multiple of any system's pages.

size_t inSteps(size_t size) { return (size + kStep - 1) / kStep * kStep; }

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
void* mapFileIn(const std::string& directory, size_t size) {
  if (!directory.starts_with('/')) return nullptr;
  const int file = makeNamelessFile(directory);
  if (file < 0) return nullptr;
  void* const memory = isOnDisk(file) && takeRoom(file, size)
                           ? ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
                           : MAP_FAILED;
  ::close(file);
  return memory == MAP_FAILED ? nullptr : memory;
}

}  // namespace

// More than is needed is mapped, and what stands around the highest aligned place goes again: the
// next piece then comes right before this one.
void* mapMemory(size_t size, size_t alignment, Touched touched) {
  if (size > PTRDIFF_MAX - alignment) throw std::bad_alloc();
  const size_t whole = inSteps(size);
  const size_t mapped = whole + alignment;
  void* const memory =
      ::mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  char* const end = static_cast<char*>(memory) + mapped;
  char* const place = end - whole - reinterpret_cast<uintptr_t>(end - whole) % alignment;
  if (place != memory) ::munmap(memory, static_cast<size_t>(place - static_cast<char*>(memory)));
  if (place + whole != end) ::munmap(place + whole, static_cast<size_t>(end - place) - whole);
  if (touched == Touched::kWhole) ::madvise(place, whole, MADV_HUGEPAGE);
  return place;
}

void unmapMemory(void* place, size_t size) noexcept { ::munmap(place, inSteps(size)); }

void* allocateWide(size_t size) {
  if (size < 2 * kLargestPage) return std::malloc(size);
  const size_t wholePages = (size + kLargestPage - 1) / kLargestPage * kLargestPage;
  void* const memory = std::aligned_alloc(kLargestPage, wholePages);
  if (memory != nullptr) ::madvise(memory, wholePages, MADV_HUGEPAGE);
  return memory;
}

void* mapNamelessFile(size_t size) {
  void* const place = mapFileIn(environmentVariable("TMPDIR").value_or(""), size);
  return place != nullptr ? place : mapFileIn(kUsualDirectory, size);
}

void unmapNamelessFile(void* place, size_t size) { ::munmap(place, size); }

// Whether the system says that it has no such memory: it may hand out more than there is, and end
// those that make use of it.
bool isMemoryShort(size_t size) {
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

}  // namespace os
