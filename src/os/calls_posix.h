// os/calls_posix.h: what the POSIX side of this folder shares: calls that a signal interrupts, and
// what their failures mean.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>

#include "os/calls.h"
#include "os/file.h"
#include "os/rights_posix.h"

namespace os {

constexpr mode_t kModeBits = 0777;            // Of the owner, the group and all others.
constexpr size_t kLargestTransfer = 1 << 30;  // Of one call: the system cuts what is larger.

// Calls until no signal comes in between. Not for close(), which must not be called again.
template <typename Call>
auto uninterrupted(Call call) {
  decltype(call()) result;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

// Of an open file; false with errno set.
inline bool askStatus(int file, struct stat* status) {
  return uninterrupted([=] { return ::fstat(file, status); }) == 0;
}

// Whether an open file is of a kind of file system that only this machine changes: then nothing
// that the system remembers of it is out of date, and it can be synced as a whole. One that lies
// over others, or on another machine, may do less than it says.
bool isOnThisMachine(int file);

// What `error`, a value of errno, says.
FileResult resultOf(int error);

// What a call says that gives 0 if it worked.
inline FileResult resultOfCall(int result) {
  return result == 0 ? FileResult::kDone : resultOf(errno);
}

// Looks again for a file that another machine is just replacing, so that only its name is there, or
// not even that. Never waits for the other end of a pipe, and is not handed on to programs that are
// started. Gives a descriptor, or -1 with errno set. A file that is made gets `mode` less the
// umask.
int openDescriptor(const char* path, int flags, mode_t mode = kRightsOfNewFile);
// The same with a path in an open directory.
int openDescriptor(int directory, const char* path, int flags, mode_t mode = kRightsOfNewFile);
// The same, and never through a link.
int openDescriptor(const Place& place, int flags, mode_t mode = kRightsOfNewFile);

// Gives an entry of one open directory a name in another: kExists if something has that. A file
// system that can't do that in one step lets it have both names for a moment.
FileResult renameToFree(int from, const char* old, int to, const char* name);

// The mode of a file of mode `old` that its owner may write, or nobody. What would lend the owner's
// rights to those who run it is dropped.
mode_t modeFor(mode_t old, bool isWritable, Running running);

}  // namespace os
