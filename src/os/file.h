// os/file.h: files of the operating system: their status, and an open one that is read, written,
// synced and held.
//
// Paths are the system's own. Nothing here waits for another process, not even for the other end of
// a pipe, but writeToDescriptor(); what a signal interrupts is done again.
//
// Holding. A lock belongs to the open file: it ends with close() and with the process, and two open
// files of one process exclude each other too. It is a lock on the file that was opened, while
// others know a file by its path and may have put another one there: so after a lock is granted,
// confirm() tells whether it is the one to work on. A file that is opened for updating is known by
// its place, which is looked up once: there it is looked for, and there it is replaced. Other
// machines may change the file as well, and a network mount remembers what it was told before:
// confirm() and refresh() ask the server for what counts now. While another machine replaces a
// file, the name may lead nowhere for a moment, and an open file may be gone: then it is looked for
// again, and who reads from an open file learns it by kStale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "os/place.h"
#include "os/result.h"

namespace os {

// Which file it is, whatever its name: two paths lead to one file if these are equal.
struct FileIdentity {
  uint64_t device = 0;
  uint64_t inode = 0;
  bool operator==(const FileIdentity&) const = default;
};

// What the system tells about a file.
struct FileStatus {
  bool isDirectory = false;
  bool isRegular = false;
  bool isLink = false;         // Told by readEntryStatus() only.
  bool ownerMayWrite = false;  // Whoever asks: a read-only mark binds everybody.
  bool ownerMayRun = false;
  FileIdentity identity;
  uint32_t owner = 0;  // The user's number.
  uint64_t size = 0;
  int64_t nanoseconds = 0;  // The modification time, since 1970.
  // When content or rights changed last, which nobody can set; 0 where that isn't told along. Two
  // that differ in this alone are equal: who sets a right that was set already has changed nothing.
  int64_t changed = 0;

  bool operator==(const FileStatus& other) const {
    const auto compared = [](const FileStatus& status) {
      return std::tie(status.isDirectory, status.isRegular, status.isLink, status.ownerMayWrite,
                      status.ownerMayRun, status.identity.device, status.identity.inode,
                      status.owner, status.size, status.nanoseconds);
    };
    return compared(*this) == compared(other);
  }
};

// The file that all links lead to. *status is left alone unless the result is kDone.
FileResult readStatus(const char* path, FileStatus* status);
// The entry itself, which may be a link, even to nothing.
FileResult readEntryStatus(const char* path, FileStatus* status);

// The same for many entries. The directory of the last one stays open: what comes next in it is
// looked up by its name alone.
class StatusReader {
 public:
  StatusReader() = default;
  StatusReader(const StatusReader&) = delete;
  StatusReader& operator=(const StatusReader&) = delete;
  ~StatusReader();

  FileResult readStatus(const std::string& path, FileStatus* status);
  FileResult readEntryStatus(const std::string& path, FileStatus* status);

 private:
  bool look(const std::string& path, int linkFlags, FileStatus* status);

  int descriptor_ = -1;
  std::string directory_;
};

// By which a file is known to be as it was, with its rights: nobody can set the second time.
struct FileMark {
  FileIdentity identity;
  uint64_t size = 0;
  int64_t modified = 0;  // Nanoseconds since 1970, as the next.
  int64_t changed = 0;
  bool operator==(const FileMark&) const = default;
};
// Of the file that all links lead to, as its server knows it. Nothing if that can't be told.
std::optional<FileMark> fileMark(const char* path);

// Who may run a file whose mode changes: kAllowed is for all who may read it.
enum class Running { kAsBefore, kAllowed };

// A regular file, open until the object is destroyed.
class File {
 public:
  enum class Access {
    kRead,
    kUpdate,  // Reading and writing of an existing file.
  };
  enum class Lock { kShared, kExclusive };

  File() = default;
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  ~File() { close(); }

  // Closes what was open before. A link is followed, for updating by the rule of os/place.h.
  FileResult open(const char* path, Access access);
  // Opens the file that has the name there, no link.
  FileResult open(const Place& place, Access access);
  // The same for updating by this object alone: kBusy if another holds it.
  FileResult openLocked(const char* path);
  FileResult openLocked(const Place& place);
  bool isOpen() const { return descriptor_ >= 0; }
  // False if the system reports a failure, also one of an earlier write. Closed in any case.
  bool close();

  // As it was when the file was opened, or at the last refresh(). Stays after close().
  const FileStatus& status() const { return status_; }
  uint64_t size() const { return status_.size; }
  // Whether half of the files that the process may have open are open, or all but a few.
  bool isAmongLast() const;
  // Asks again.
  [[nodiscard]] bool refresh();

  // Where it was found for updating, or by its place. Stays after close(), as the next.
  const Place& place() const { return place_; }

  // Takes or changes the lock of this open file.
  FileResult tryLock(Lock lock) const;
  // Whether its place still has this file, and not one that was put there. For one that was opened
  // for reading by `path`: whether that leads to it. If so, status() is the present one.
  [[nodiscard]] bool confirm();
  [[nodiscard]] bool confirm(const char* path);

  // False if not all of `size` bytes are there, or reading fails.
  [[nodiscard]] bool readAt(uint64_t offset, void* buffer, size_t size) const;
  // Whether reading has failed since the file was opened, or gave less than size() tells, so that
  // what is missing may be there all the same. failure() is kDone if not.
  bool hasFailed() const { return failure_ != FileResult::kDone; }
  FileResult failure() const { return failure_; }

  // Reads the whole file, of `largest` bytes at most: kTooLarge for more. *bytes changes only with
  // kDone, and status() is of what was read then. May throw std::bad_alloc.
  FileResult readAll(uint64_t largest, std::string* bytes);

  // Writes all of `bytes`; false on failure, with an unknown part of them written.
  [[nodiscard]] bool writeAt(uint64_t offset, std::string_view bytes) const;
  // Adds `bytes` at the end by one write. On failure the file has its old size again.
  [[nodiscard]] bool append(std::string_view bytes);
  bool setSize(uint64_t size) const;
  // Whether its owner may write, or nobody.
  FileResult setWritable(bool isWritable, Running running = Running::kAsBefore) const;
  // When it was changed, in seconds since 1970. Keeps the time of the last access.
  FileResult setModificationTime(int64_t seconds) const;
  // Waits until what was written is on the device.
  [[nodiscard]] bool sync() const;
  // The same without what nobody needs to read it, such as the time of the change.
  [[nodiscard]] bool syncContent() const;
  // The same for what the directory of place() says about its name: see Place::sync().
  bool syncName() const noexcept { return place_.sync(descriptor_); }

 private:
  friend class SiblingFile;
  friend class Syncs;

  FileResult take(int descriptor);
  FileResult openToLock(const Place& place, Access access);

  int descriptor_ = -1;
  mutable FileResult failure_ = FileResult::kDone;
  FileStatus status_;
  Place place_;
};

// Opens a file and reads all of it, as File::readAll() does. *status may be null.
FileResult readFile(const char* path, uint64_t largest, std::string* bytes,
                    FileStatus* status = nullptr);

// Adds to the end of a file, in one piece; makes the file. kRefused for a link, for anything but a
// regular file, and for one that isn't empty and doesn't begin as `isExpected` wants: it is asked
// about the first 64 bytes at most.
FileResult appendToFile(const char* path, std::string_view text,
                        bool (*isExpected)(std::string_view start));

// Makes an empty file, with the usual rights, if there is none: kExists if something else has that
// name.
FileResult makeFile(const std::string& path);

// Whether the process may open the file like that: kRefused if not. The owner's right to write
// decides too, so a read-only file refuses root as well.
FileResult checkAccess(const char* path, File::Access access);

// Writes all of `bytes` to a descriptor that somebody else has opened, wherever it leads. Waits as
// long as that takes. kFailed, also for one that doesn't wait and takes no more, with an unknown
// part of them written.
FileResult writeToDescriptor(int descriptor, std::string_view bytes);

FileResult removeFile(const char* path);
// Keeps the time of the last access.
FileResult setModificationTime(const char* path, int64_t seconds);
// See File::setWritable(). The process must be allowed to read the file.
FileResult setWritable(const char* path, bool isWritable);

}  // namespace os
