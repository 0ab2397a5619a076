// os/entries.h: what a directory tells of its entries without a look at any of them.
#pragma once

#include <functional>

namespace os {

// kUnknown where the file system keeps that to itself.
enum class EntryKind { kUnknown, kFile, kDirectory, kLink, kOther };

// Calls `take` with each entry but "." and "..". False if the directory can't be read to its end:
// then those before that were taken.
bool forEachEntryOfKind(const char* path,
                        const std::function<void(const char* name, EntryKind kind)>& take);

}  // namespace os
