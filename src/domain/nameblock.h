// domain/nameblock.h: TVNameBlock, the four names of a member as it keeps them: one after the other
// in one piece of memory. A large project has hundreds of thousands of them.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

namespace foldapi {

// The names themselves, somewhere else.
struct TVNameViews {
  std::string_view archivePath;
  std::string_view archiveName;
  std::string_view workPath;  // May be relative, and then hangs under the enclosing folders.
  std::string_view workName;

  bool operator==(const TVNameViews&) const = default;
};

class TVNameBlock {
 public:
  // In the order of a record.
  enum Field { kArchivePath, kArchiveName, kWorkPath, kWorkName };

  // Throws std::bad_alloc, also for more than four gigabytes.
  explicit TVNameBlock(const TVNameViews& names);
  TVNameBlock(TVNameBlock&& other) noexcept { swap(other); }
  TVNameBlock& operator=(TVNameBlock&& other) noexcept {
    swap(other);
    return *this;
  }
  ~TVNameBlock();

  // Both are good until the block changes.
  std::string_view operator[](Field field) const {
    const uint32_t begin = field == kArchivePath ? 0 : ends_[field - 1];
    return {bytes_ + begin, ends_[field] - begin};
  }
  TVNameViews views() const {
    return {(*this)[kArchivePath], (*this)[kArchiveName], (*this)[kWorkPath], (*this)[kWorkName]};
  }

  bool operator==(const TVNameBlock& other) const {
    return ends_ == other.ends_ && all() == other.all();
  }
  uint64_t fingerprint() const;

 private:
  std::string_view all() const { return {bytes_, ends_.back()}; }
  void swap(TVNameBlock& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(ends_, other.ends_);
  }

  char* bytes_ = nullptr;
  std::array<uint32_t, 4> ends_ = {};
};

}  // namespace foldapi
