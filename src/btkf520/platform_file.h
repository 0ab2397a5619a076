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
  kBusy,     // Another has it.
  kRefused,  // Not allowed, or not a regular file.
  kFailed,   // Any other failure, such as a full disk.
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
  // The same, and takes the file for this object alone until it goes: kBusy if it is taken. What is
  // open then is the file that has the name, not one that just lost it.
  FileResult openLocked(const std::string& path);
  bool isOpen() const { return descriptor_ >= 0; }

  uint64_t size() const { return size_; }  // At the time of opening.

  // False if not all of `size` bytes are there, or reading fails.
  bool readAt(uint64_t offset, char* buffer, size_t size) const;
  // Whether the system has failed to read since the file was opened, so that what is missing may be
  // there all the same.
  bool hasFailed() const { return hasFailed_; }

 private:
  friend class MappedFile;
  friend class SiblingFile;
  FileResult take(int descriptor);
  void close();

  int descriptor_ = -1;
  uint64_t size_ = 0;
  mutable bool hasFailed_ = false;
};

// The bytes of a whole file as memory, for contents: a wide file is mapped, a small one read. If
// another writes to a mapped file meanwhile the bytes change; if it is cut short, reading what is
// gone ends the process, as with any mapped file.
class MappedFile {
 public:
  MappedFile() = default;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile();

  // To be called once. May throw std::bad_alloc.
  FileResult open(const std::string& path);

  // Good until the object goes.
  std::string_view bytes() const { return {data_, size_}; }

 private:
  const char* data_ = nullptr;
  size_t size_ = 0;
  std::string small_;  // What data_ points to unless the file is mapped.
};

// A file that is written beside another and then takes its name: all or nothing. Meanwhile it has
// the other's name, cut short if need be, with ".trvs-new" behind it. Whoever writes it has it
// locked, so what a killed writer left over is known as such and removed by the next; and the lock
// goes on when the file has got its name.
class SiblingFile {
 public:
  SiblingFile() = default;
  SiblingFile(const SiblingFile&) = delete;
  SiblingFile& operator=(const SiblingFile&) = delete;
  // Removes the file unless it is finished.
  ~SiblingFile();

  enum class Others {
    kPossible,  // Others may be writing the same file at this moment.
    kExcluded,  // The caller has the file at `path` for itself: what stands beside it is left over.
  };

  // To be called once. kBusy if another is writing it.
  FileResult open(const std::string& path, Others others = Others::kPossible);

  // Gives the file the mode of `model`, and its owner and group where that is allowed.
  void imitate(const InputFile& model);

  // Both add at the end, sooner or later. May throw std::bad_alloc.
  FileResult write(std::string_view bytes);
  FileResult copy(const InputFile& from, uint64_t offset, uint64_t size);
  // Writes what is still to be written, so that a full disk shows now.
  FileResult flush();
  // Both to be called when all is written: whether its owner may write, or nobody; and when it was
  // changed, in seconds since 1970. False if that failed.
  bool setWritable(bool isWritable) const;
  bool setChangeTime(int64_t seconds) const;

  enum class Naming { kReplace, kNew };  // kNew: kExists if there is a file of that name.
  enum class Safety { kOnDisk, kSoon };  // kOnDisk: a power cut does not undo it.

  // Takes over the name. With any result but kDone the other file is as it was. *finished, which
  // may be null, becomes the file, open and locked.
  FileResult finish(Naming naming, Safety safety, InputFile* finished);

 private:
  FileResult create();
  FileResult removeLeftover() const;
  FileResult removeUnlocked() const;
  FileResult writeOut(std::string_view bytes);
  FileResult takeName(Naming naming) const;

  std::string path_;
  std::string ownPath_;
  Others others_ = Others::kPossible;
  int descriptor_ = -1;
  std::string pending_;  // Not written yet, so that many small pieces make one write.
};

// Where a chain of symbolic links at `path` ends, so that a file is replaced and not the link to
// it. `path` itself if it is no link.
std::string linkTarget(const std::string& path);

}  // namespace btkf
