// os/entries_posix.cpp: entries of directories on Linux.
#include <dirent.h>

#include <cerrno>
#include <memory>
#include <string_view>

#include "os/entries.h"

namespace os {
namespace {

EntryKind kindOf(unsigned char type) {
  switch (type) {
    case DT_UNKNOWN:
      return EntryKind::kUnknown;
    case DT_REG:
      return EntryKind::kFile;
    case DT_DIR:
      return EntryKind::kDirectory;
    case DT_LNK:
      return EntryKind::kLink;
    default:
      return EntryKind::kOther;
  }
}

}  // namespace

bool forEachEntryOfKind(const char* path,
                        const std::function<void(const char* name, EntryKind kind)>& take) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(path), ::closedir);
  if (stream == nullptr) return false;
  while (true) {
    errno = 0;  // The end of the directory leaves it alone.
    const dirent* const entry = ::readdir(stream.get());
    if (entry == nullptr) return errno == 0;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") take(entry->d_name, kindOf(entry->d_type));
  }
}

}  // namespace os
