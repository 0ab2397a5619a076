// runtime/platform_file.h: the steps beneath whole files that only the operating system can take.
#pragma once

#include <string>
#include <string_view>

#include "runtime/bytefile.h"
#include "runtime/files.h"

namespace foldapi {

// Makes one directory, or finds it made by somebody else.
bool makeDirectory(std::string_view path);

// Puts a new file that holds `bytes` in the place of the file at `path`, at once and for good, with
// the old one's mode and owner. `old` is the file that is to go, null if there is none. On success
// *placed is the new file, locked exclusively since before it could be seen.
//   kOk       done
//   kBusy     somebody else is doing the same
//   kMissing  no sibling can take the file's place here: it must be written where it stands
//   kRefused  failed, disk full for instance; the file is as it was
FileResult placeNewFile(std::string_view path, const FileStatus* old, std::string_view bytes,
                        ByteFile* placed);

// Writes `bytes` over the content of `file`, whose present size is `oldSize`, and syncs it. What
// goes behind the old end is written first, so a full disk leaves the content as it was.
bool overwriteInPlace(const ByteFile& file, uint64_t oldSize, std::string_view bytes);

// Brings the entry of a file or directory that was made or renamed to the device. `native` is the
// operating system's path.
void syncDirectoryOf(const std::string& native);

}  // namespace foldapi
