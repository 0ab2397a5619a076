// os/calls.h: what each system's side of this folder offers to the part that is the same on all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "os/file.h"
#include "os/place.h"

namespace os {

constexpr int kTries = 100;  // While others put new files where one is being opened.

// Whether that file has the name there; *now, which may be null, becomes its present status.
bool isAt(const Place& place, const FileIdentity& file, FileStatus* now);

// Of an open file, by its number. Reads up to `size` bytes; fewer at the end of the file, -1 on
// failure.
int64_t readUpTo(int file, uint64_t offset, void* buffer, size_t size);
// Of a call that asked an open file and has just failed.
FileResult failureOfOpenFile();

// Makes a file that nobody but its owner may open, if nothing has that name. Gives its number, or
// -1 with the failure kept for File::take().
int makeForOwner(const Place& place);
// Makes an empty file with the usual rights: kExists if something has that name.
FileResult makeNewFile(const std::string& path);
// Whether the system's rights let the process open it.
FileResult askAccess(const char* path, File::Access access);
// Removes the entry.
FileResult removeAt(const Place& place);

}  // namespace os
