// btkf520/platform_file.h: the files that archives and contents are read from and written to.
// Implemented by platform_file_posix.cpp.
//
// Paths are the operating system's. Nothing here waits for another process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "btkf520/platform.h"

namespace btkf {

enum class FileResult {
  kDone,
  kMissing,  // No such file, or no such directory.
  kExists,   // There is one already.
  kBusy,     // Locked by another.
  kRefused,  // Not allowed, or not a regular file.
  kNoSpace,  // The disk, or the user's share of it, is full.
  kFailed,   // Any other failure.
};

// A regular file, open for reading until the object goes.
class InputFile {
 public:
  InputFile() = default;
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  InputFile(InputFile&& other) noexcept;
  InputFile& operator=(InputFile&& other) noexcept;
  ~InputFile();

  // Closes what was open before.
  FileResult open(const std::string& path);
  bool isOpen() const { return descriptor_ >= 0; }

  uint64_t size() const { return size_; }  // At the time of open().
  FileIdentity identity() const { return identity_; }

  // False if not all of `size` bytes are there, or reading fails.
  bool readAt(uint64_t offset, char* buffer, size_t size) const;

  // Takes the file for this object alone: kDone, kBusy or kFailed. It holds until the object goes.
  FileResult lock();
  // Whether `path` leads to this very file, and not to another that has taken its name.
  bool isAt(const std::string& path) const;

 private:
  friend class SiblingFile;
  friend class MappedFile;
  void close();

  int descriptor_ = -1;
  uint64_t size_ = 0;
  FileIdentity identity_;
};

// The bytes of a whole file as memory, for contents: a wide file is mapped, a small one read. If
// the file changes meanwhile the bytes may change too, so the checksum is taken from them only once
// they are stored.
class MappedFile {
 public:
  MappedFile() = default;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile();

  // May throw std::bad_alloc. To be called once.
  FileResult open(const std::string& path);

  // Good until the object goes.
  std::string_view bytes() const { return {data_, size_}; }

 private:
  const char* data_ = nullptr;
  size_t size_ = 0;
  bool isMapped_ = false;
  std::string small_;
};

// A file that is written beside another and then takes its name: all or nothing. Its own name is
// the other's with ".new~" behind it, so the leftover of a killed writer is taken over by the next.
// Whoever writes it holds a lock on it, which goes on as the lock of the finished file.
class SiblingFile {
 public:
  SiblingFile() = default;
  SiblingFile(const SiblingFile&) = delete;
  SiblingFile& operator=(const SiblingFile&) = delete;
  // Removes the file unless it has taken the other's name.
  ~SiblingFile();

  // kBusy if another is writing it.
  FileResult open(const std::string& path);

  // Each goes on where the last ended.
  FileResult write(std::string_view bytes);
  FileResult copy(const InputFile& from, uint64_t offset, uint64_t size);

  uint64_t size() const;  // Written so far.

  // Gives the file the mode of `model`, and its owner and group where that is allowed.
  void imitate(const InputFile& model);

  // Brings all to the disk and takes over the name. *finished becomes the file, open and locked.
  // With `replace` false it gives kExists if there is a file of that name.
  FileResult finish(bool replace, InputFile* finished);

 private:
  std::string path_;
  std::string ownPath_;
  int descriptor_ = -1;
};

}  // namespace btkf
