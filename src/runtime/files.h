// runtime/files.h: files by path text: their status, stamps and attributes, and what opens, reads,
// replaces, makes and removes them.
//
// Every function translates its path as nativePath() (nativepath.h) does, but tries the plain name
// first and searches without regard to case only if nothing has it, so a file that is there costs
// one call of the system. None reports to a sink: callers turn a failure into a message of their
// own. Drives, attributes and setFileTime() are for clients that show files; the library itself
// doesn't ask for them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "os/file.h"

namespace foldapi {

// The modification stamp of a file at one moment, and what identifies its content. `packed` is the
// packed local time that clients and data files know (see dates/packedtime.h); it ticks every two
// seconds, so comparisons look at the identity as well. All 0 for a file that can't be read.
struct FileStamp {
  uint32_t packed = 0;
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t size = 0;
  int64_t nanoseconds = 0;  // Since 1970.

  bool isSet() const { return packed != 0; }
  // Whether a file of that status is the one, unchanged. Says the same as a comparison with its
  // stamp, for less.
  bool isOf(const os::FileStatus& status) const {
    return status.nanoseconds == nanoseconds && status.size == size &&
           status.identity == os::FileIdentity{device, inode};
  }
  bool operator==(const FileStamp&) const = default;
};

FileStamp stampOf(const os::FileStatus& status);

// False for a file that can't be asked; *status is left alone then.
[[nodiscard]] bool readStat(std::string_view path, os::FileStatus* status);

constexpr int32_t kAttributeReadOnly = 0x1;
constexpr int32_t kAttributeDirectory = 0x10;
constexpr int32_t kAttributeArchive = 0x20;

FileStamp fileStamp(std::string_view path);

// The packed modification time, 0 when the file can't be read. Fills `out` if it isn't null.
uint32_t fileTime(std::string_view path, uint32_t* out = nullptr);
// Sets the modification time and keeps the access time. 0, or -1 on failure.
[[nodiscard]] int setFileTime(std::string_view path, uint32_t packed);

// Whether a regular file or a directory of that name exists. An empty path does not.
bool fileExists(std::string_view path);
// An empty path, a root and a bare drive count as directories.
bool isDirectory(std::string_view path);
// A set of kAttribute bits, -1 on failure.
int32_t getAttributes(std::string_view path);
// The drive letter that a path begins with, 0 without one.
char driveLetter(std::string_view path);
// Whether the path map knows no place for the drive, or the place is gone. True for no letter.
bool driveNotReady(char letter);
// kDone if the file may be opened like that. The owner's write bit decides, so a read-only file
// refuses root as well.
os::FileResult checkAccess(std::string_view path, os::File::Access access);

os::FileResult openFile(std::string_view path, os::File::Access access, os::File* file);
// Whether a file that is open for reading is still the one that the path names; see
// os::File::confirm().
[[nodiscard]] bool confirmFile(std::string_view path, os::File* file);

// Reads a whole file into `bytes`. False if it can't be opened or read, or memory is short.
[[nodiscard]] bool readFile(std::string_view path, std::string* bytes);

// Makes the file hold exactly `bytes`, or leaves it as it was, if it can't be written. A new file
// gets the usual rights, an old one keeps its own; a link stays one. Of several that replace a file
// at once the last one wins. Where the directory takes no sibling the file is written in place.
[[nodiscard]] bool replaceFile(std::string_view path, std::string_view bytes);

// Makes an empty file if there is none. False if there is none then.
[[nodiscard]] bool createFile(std::string_view path);
bool removeFile(std::string_view path);

}  // namespace foldapi
