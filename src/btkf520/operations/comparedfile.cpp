// btkf520/operations/comparedfile.cpp: comparisons, the cheapest first.
#include "btkf520/operations/comparedfile.h"

#include <algorithm>
#include <array>

#include "btkf520/archive/contentframes.h"
#include "btkf520/operations/workfile.h"

namespace btkf {
namespace {

constexpr size_t kPiece = 32 << 10;

// Hands `file` to `take` piece by piece, from `offset` on, until it wants no more. False if it
// doesn't want them all, or not all of `size` bytes are there.
template <typename Take>
bool forEachPiece(const os::File& file, uint64_t offset, uint64_t size, const Take& take) {
  std::array<char, kPiece> piece;
  while (size > 0) {
    const auto count = static_cast<size_t>(std::min<uint64_t>(size, piece.size()));
    if (!file.readAt(offset, piece.data(), count) || !take(std::string_view(piece.data(), count))) {
      return false;
    }
    offset += count;
    size -= count;
  }
  return true;
}

}  // namespace

TrvsStatus ComparedFile::open(const std::string& path) {
  return readFailure(file_.open(path.c_str(), os::File::Access::kRead), TRVS_NO_WORKFILE);
}

bool ComparedFile::equals(std::string_view bytes) const {
  return file_.size() == bytes.size() && continuesWith(bytes, 0);
}

TrvsStatus ComparedFile::compare(const Archive& archive, const Content& content, bool* isEqual) {
  *isEqual = false;
  if (!seems(content)) return TRVS_DONE;
  uint64_t offset = 0;
  bool differs = false;
  const TrvsStatus status = archive.read(content, [&](std::string_view bytes) {
    differs = !continuesWith(bytes, offset);
    offset += bytes.size();
    return !differs;
  });
  *isEqual = status == TRVS_DONE;
  return differs ? TRVS_DONE : status;
}

bool ComparedFile::continuesWith(std::string_view bytes, uint64_t offset) const {
  return forEachPiece(file_, offset, bytes.size(), [&](std::string_view piece) {
    const bool isSame = bytes.starts_with(piece);
    bytes.remove_prefix(piece.size());
    return isSame;
  });
}

std::optional<uint64_t> ComparedFile::checksum() {
  if (checksum_) return checksum_;
  Checksum sum;
  const bool isWhole = forEachPiece(file_, 0, file_.size(), [&](std::string_view piece) {
    sum.add(piece);
    return true;
  });
  if (isWhole) checksum_ = sum.value();
  return checksum_;
}

}  // namespace btkf
