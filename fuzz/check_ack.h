// fuzz/check_ack.h: any bytes as the file of an archive cache: no crash, no hang, a bounded cache.
#pragma once

#include <string_view>

#include "fuzz_support.h"
#include "store/archivecache.h"

namespace fuzz {

inline void checkAck(std::string_view bytes) {
  constexpr int kCapacity = 3;
  const MemoryFile file(bytes);
  foldapi::TVArchiveCache cache(foldapi::VPathString(file.path()), kCapacity);
  require(cache.load(foldapi::TVArchiveCache::Keep::kNothing), "a file that is there is read");
  require(cache.size() <= kCapacity, "no more than fits");
  const int size = cache.size();
  require(cache.load(foldapi::TVArchiveCache::Keep::kSummaries), "a file that is there is read");
  require(cache.size() == size, "reading it again adds nothing, or fails again");
  cache.loadIfCurrent();
  require(cache.version() == foldapi::TVArchiveCache::kVersion, "a used cache is of this version");
  const int32_t version = cache.readVersion();
  require(cache.size() == (version == foldapi::TVArchiveCache::kVersion ? size : 0),
          "no other version is used");
}

}  // namespace fuzz
