// os/mappedfile_posix.cpp: mapped files on POSIX systems.
#include <sys/mman.h>

#include "os/mappedfile.h"

namespace os {
namespace {

constexpr size_t kWideFile = 1 << 20;  // From here on files are mapped.

}  // namespace

MappedFile::~MappedFile() {
  if (data_ != nullptr && data_ != small_.data()) ::munmap(const_cast<char*>(data_), size_);
}

FileResult MappedFile::open(const char* path) {
  File file;
  const FileResult result = file.open(path, File::Access::kRead);
  if (result != FileResult::kDone) return result;
  const auto size = static_cast<size_t>(file.size());
  if (size < kWideFile) {
    small_.resize(size);
    if (!file.readAt(0, small_.data(), size)) return FileResult::kFailed;
    data_ = small_.data();
  } else {
    void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.descriptor_, 0);
    if (memory == MAP_FAILED) return FileResult::kFailed;
    data_ = static_cast<const char*>(memory);
  }
  size_ = size;
  return FileResult::kDone;
}

}  // namespace os
