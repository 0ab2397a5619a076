// fuzz/check_archiveinfo.h: any bytes as an archive file: no crash, no hang, sound answers.
#pragma once

#include <string_view>

#include "fuzz_support.h"
#include "toolkit/archiveinfo.h"

namespace fuzz {

inline void checkArchiveInfo(std::string_view bytes) {
  const MemoryFile file(bytes);
  foldapi::TVArchiveInfo52 info(foldapi::VPathString(file.path()));
  size_t before = 0;
  for (int run = 0; run < 2; ++run) {
    const int32_t result = info.Load();
    require(result == 0 || result == 28, "a load gives 0 or 28");
    const foldapi::ArchiveSummary& read = info.summary();
    size_t length = 0;
    for (const foldapi::VString* text :
         {&read.accessList, &read.description, &read.lockers, &read.headerText}) {
      require(!text->contains('\0'), "a text has no NUL");
      length += text->length();
    }
    require(length <= bytes.size(), "no text but that of the file");
    require(info.IsCurrent() == (result == 0), "what was loaded is current, and only that");
    if (result != 0) {
      require(length == 0 && read.fileTime == 0 && read.lockCount == 0 && read.revisionCount == 0 &&
                  read.attributes == 0 && read.creationTime == 0,
              "a failed load leaves nothing");
    }
    require(run == 0 || length == before, "a second load gives the same");
    before = length;
  }
}

}  // namespace fuzz
