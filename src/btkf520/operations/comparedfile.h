// btkf520/operations/comparedfile.h: whether a file of the user's holds what a revision does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "btkf520/archive/archive.h"
#include "btkf520/btkf520.h"
#include "os/file.h"

namespace btkf {

// A file, open to be compared in little memory. What another changes in it meanwhile may be seen or
// not.
class ComparedFile {
 public:
  // TRVS_NO_WORKFILE, TRVS_CANNOT_OPEN. A link is followed.
  [[nodiscard]] TrvsStatus open(const std::string& path);
  os::File& file() { return file_; }

  // Whether these are all of its bytes. False as well if it can't be read.
  bool equals(std::string_view bytes) const;
  // The same of bytes with this length and checksum.
  bool seems(const Content& content) {
    return file_.size() == content.length && checksum() == content.checksum;
  }
  // The same for a content of an archive. Sizes come first, then checksums, and bytes only if both
  // agree. Statuses of Archive::read().
  [[nodiscard]] TrvsStatus compare(const Archive& archive, const Content& content, bool* isEqual);

 private:
  bool continuesWith(std::string_view bytes, uint64_t offset) const;
  std::optional<uint64_t> checksum();

  os::File file_;
  std::optional<uint64_t> checksum_;  // Once it was asked for.
};

}  // namespace btkf
