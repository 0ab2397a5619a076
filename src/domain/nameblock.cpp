// domain/nameblock.cpp: names laid out in memory that goes with its neighbours'.
#include "domain/nameblock.h"

#include <limits>
#include <new>

#include "os/fingerprint.h"
#include "runtime/bulkmemory.h"

namespace foldapi {

TVNameBlock::TVNameBlock(const TVNameViews& names) {
  const std::array fields = {names.archivePath, names.archiveName, names.workPath, names.workName};
  uint64_t end = 0;
  for (size_t i = 0; i < fields.size(); ++i) {
    end += fields[i].size();
    ends_[i] = static_cast<uint32_t>(end);
  }
  if (end > std::numeric_limits<uint32_t>::max()) throw std::bad_alloc();
  char* to = bytes_ = static_cast<char*>(BulkMemory::take(ends_.back()));
  for (const std::string_view field : fields) to += field.copy(to, field.size());
}

TVNameBlock::~TVNameBlock() {
  if (bytes_ != nullptr) BulkMemory::give(bytes_, ends_.back());
}

// Where a name ends counts as its bytes do.
uint64_t TVNameBlock::fingerprint() const {
  const std::string_view ends(reinterpret_cast<const char*>(ends_.data()), sizeof ends_);
  return os::fingerprintText(all(), os::fingerprintText(ends, 0));
}

}  // namespace foldapi
