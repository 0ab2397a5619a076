// cli/local/fetch.h: contents from archives to files.
#pragma once

#include <cstdint>
#include <string>

#include "cli/local/localfiles.h"

namespace cli {

enum class Old { kKept, kDropped };

// Puts a revision in the place of the file, whatever is there. `flags` are TRVS_GET_... Throws
// Problem.
void fetch(LocalFiles& local, const FileRecord& file, const std::string& number, uint32_t flags,
           Old old = Old::kDropped);
// The same at `path`, whose directory is made if need be.
void fetchTo(const std::string& path, LocalFiles& local, const FileRecord& file,
             const std::string& number, uint32_t flags);

}  // namespace cli
