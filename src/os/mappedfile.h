// os/mappedfile.h: a whole file as memory.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "os/file.h"

namespace os {

// The bytes of a whole file, for contents: a wide file is mapped, a small one read. If another
// writes to a mapped file meanwhile the bytes change; if it is cut short, reading what is gone ends
// the process, as with any mapped file.
class MappedFile {
 public:
  MappedFile() = default;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile();

  // To be called once. May throw std::bad_alloc.
  FileResult open(const char* path);

  // Good until the object is destroyed.
  std::string_view bytes() const { return {data_, size_}; }

 private:
  const char* data_ = nullptr;
  size_t size_ = 0;
  std::string small_;  // What data_ points to unless the file is mapped.
};

}  // namespace os
