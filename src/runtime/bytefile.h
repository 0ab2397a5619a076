// runtime/bytefile.h: ByteFile, an open file read and written by bytes, and what replaces, makes
// and removes whole files.
//
// Paths are path texts (platform_path.h). Opening tries the plain name first and searches without
// regard to case only if nothing has it, so a file that is there costs one open. Implemented by
// platform_bytefile.cpp and, for whole files, by platform_replace.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/files.h"

namespace foldapi {

enum class FileResult {
  kOk,
  kMissing,   // No such file.
  kBusy,      // Locked by another open file.
  kRefused,   // No right to it, a drive that is not ready, or the device failed.
  kNoMemory,  // Also a file that is too large to be read as one text.
};

class ByteFile {
 public:
  enum class Mode {
    kRead,
    kUpdate,  // Reading and writing of an existing file.
  };
  enum class Lock { kShared, kExclusive };

  ByteFile() = default;
  ByteFile(ByteFile&& other) noexcept : descriptor_(other.descriptor_) { other.descriptor_ = -1; }
  ByteFile& operator=(ByteFile&& other) noexcept;
  ~ByteFile() { close(); }

  // Closes what was open. Never waits, not even for a file that is a pipe.
  FileResult open(std::string_view path, Mode mode);
  bool openRead(std::string_view path) { return open(path, Mode::kRead) == FileResult::kOk; }
  bool isOpen() const { return descriptor_ >= 0; }
  // False if the system reports a failure, also one of an earlier write. Closed in any case.
  bool close();

  // Size, time and identity, by one question to the system. All 0 on failure.
  FileStamp stamp() const;
  bool readStatus(FileStatus* status) const;

  // Reads up to `size` bytes from `offset` on: fewer at the end of the file, -1 on failure.
  int64_t readAt(uint64_t offset, void* buffer, size_t size) const;
  // Writes all of `bytes`; false on failure, with an unknown part of them written.
  bool writeAt(uint64_t offset, std::string_view bytes) const;
  // Adds `bytes` at the end by one write. On failure the file has its old size again.
  bool append(std::string_view bytes) const;
  bool setSize(uint64_t size) const;
  // Waits until what was written is on the device.
  bool sync() const;

  // Takes or changes the lock of this open file, without waiting; kBusy if another open file of any
  // process is in the way. The lock goes with close().
  FileResult tryLock(Lock lock) const;

 private:
  friend class SiblingFile;

  int descriptor_ = -1;
};

// Reads a whole file into `bytes`.
FileResult readFile(std::string_view path, std::string* bytes);

// Makes the file hold exactly `bytes`, or leaves it as it was, if it can't be written. A new file
// gets the usual rights, an old one keeps its own. Of several that replace a file at once the last
// one wins. Where the directory takes no sibling the file is written in place.
bool replaceFile(std::string_view path, std::string_view bytes);

// Makes an empty file if there is none. False if there is none then.
bool createFile(std::string_view path);
bool removeFile(std::string_view path);

}  // namespace foldapi
