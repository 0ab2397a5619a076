// fuzz/fuzz_support.h: what the fuzzers of file formats share, and the tests that drive them with
// seeded damage.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace fuzz {

inline void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "broken promise: %s\n", what);
  std::abort();
}

// A file that lives in memory and has a path.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes) : descriptor_(::memfd_create("fuzz", MFD_CLOEXEC)) {
    require(::write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
            "the file could be made");
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { ::close(descriptor_); }

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

// A path for a file that is replaced: in a directory of this process.
inline std::string scratchPath(const std::string& name) {
  static const struct Directory {
    Directory() { require(::mkdtemp(path) != nullptr, "there is a directory"); }
    ~Directory() { std::filesystem::remove_all(path); }
    char path[30] = "/dev/shm/fuzz-XXXXXX";
  } directory;
  return std::string(directory.path) + "/" + name;
}

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeFile(const std::string& path, std::string_view bytes) {
  std::remove(path.c_str());  // It may be read-only.
  std::ofstream(path, std::ios::binary) << bytes;
}

// Does to `bytes` what disks, crashed writers and bad copies do to a file: a few small damages,
// decided by `seed` alone.
inline std::string damaged(std::string bytes, unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](size_t limit) { return static_cast<size_t>(random() % limit); };
  for (size_t count = 1 + below(4); count != 0; --count) {
    // Half of the damages are near the end, where the formats keep what leads to the rest.
    const size_t size = bytes.size();
    const size_t window = below(2) == 0 ? std::min<size_t>(size, 24) : size;
    const size_t place = size - below(window + 1);
    switch (below(6)) {
      case 0:
        if (place < size) bytes[place] = static_cast<char>(below(256));
        break;
      case 1:
        if (place < size) bytes[place] = "\x00\x7f\x80\xff\x01 09-"[below(9)];
        break;
      case 2:
        bytes.erase(place, 1 + below(8));
        break;
      case 3:
        bytes.insert(place, 1 + below(8), static_cast<char>(below(256)));
        break;
      case 4:
        bytes.insert(place, bytes.substr(below(size + 1), below(40)));
        break;
      default:
        bytes.resize(place);
        break;
    }
  }
  return bytes;
}

}  // namespace fuzz
