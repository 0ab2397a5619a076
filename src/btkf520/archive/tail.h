// btkf520/archive/tail.h: the end of an archive file: the information block and the trailer.
//
// Clients read a summary of the archive from there without the toolkit: the last nine bytes say
// where the block begins, and its records tell each one thing. Its size depends on the description,
// the access list and the locks, not on the history. One record of it is the engine's own and says
// where the index is. docs/archive-format.md has the details.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "btkf520/archive/model.h"

namespace btkf {

constexpr size_t kTrailerSize = 9;
// The last bytes of every archive: the engine's record, the end of the block, and the trailer.
constexpr size_t kEndSize = 29;

// Where the index is, and what it must be. It ends where the block begins.
struct IndexPlace {
  uint32_t storedSize = 0;  // As one zstd frame.
  uint32_t size = 0;        // Unpacked.
  uint64_t checksum = 0;    // Of the stored bytes.
};

// Block and trailer of an archive.
std::string encodeTail(const ArchiveModel& model, const IndexPlace& place);

// How many bytes before the end of the file the block begins, the trailer counted. Nothing if
// `trailer`, the last nine bytes of the file, is none.
std::optional<uint32_t> tailSize(std::string_view trailer);

// The engine's record, which is the last of the block: so nobody has to read a block before it is
// known what stands in it. `end` is the last kEndSize bytes of a file. Nothing for any others.
std::optional<IndexPlace> findIndex(std::string_view end);

}  // namespace btkf
