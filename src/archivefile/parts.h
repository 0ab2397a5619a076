// archivefile/parts.h: how an archive file is made of parts, and which of them is the last whole
// one.
//
// After the header of the file come parts, one after the other. Each begins with its own length and
// ends with all that a reader needs: an index, the information block and the trailer. The last
// whole part says what the archive is. What comes after it was torn by a kill or a power cut, or is
// being written. docs/archive-format.md has the details.
//
// A part proves itself: it has a checksum of everything that may have reached the disk after its
// end. That is the whole part if it is narrow, since it is written at once; a wider one's body is
// synced before its end is written.
//
// What is torn and what is damaged isn't the same: a torn part was never promised to anybody, a
// damaged one may have been. Where the power was cut the file is short, or all that it has in one
// sector, or in more, of what was written last is zeros. What has all its bytes, no such sector,
// and yet no proof, is damaged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "os/file.h"

namespace archivefile {

// The first bytes of every archive. Bytes that text conversion spoils are among them.
constexpr std::string_view kHeader =
    "\x89"
    "BTKF\r\n\x1A";
constexpr size_t kPartHeaderSize = 12;
constexpr size_t kTrailerSize = 9;
// The last bytes of a part: the engine's record, the end of the block, and the trailer.
constexpr size_t kEndSize = 77;
// As many parts as a file may have.
constexpr uint32_t kMostParts = 1024;
// A narrow part is no longer, and no proof covers more, but for that of a longer block.
constexpr uint64_t kNarrow = 4096;

// An index in the file, as one zstd frame.
struct IndexPlace {
  uint64_t offset = 0;
  uint32_t storedSize = 0;
  uint32_t size = 0;      // Unpacked.
  uint64_t checksum = 0;  // Of the stored bytes.
};

// What the engine's record says, the last one of the block.
struct EndRecord {
  uint64_t partSize = 0;
  uint32_t part = 0;       // How many others come before it.
  IndexPlace index;        // It ends where the block begins.
  IndexPlace full;         // What the index was packed against. Without an offset: nothing.
  uint32_t proofSize = 0;  // How many bytes before the proof it covers. So do the few after it.
  uint64_t proof = 0;
};

// The end of a whole part.
struct End {
  uint64_t offset = 0;    // Where the part ends.
  uint64_t tailSize = 0;  // Of block and trailer.
  EndRecord record;

  uint64_t begin() const { return offset - record.partSize; }
  uint64_t blockBegin() const { return offset - tailSize; }
  uint64_t proofBegin() const;
};

std::string encodePartHeader(uint64_t offset, uint64_t partSize);

// Block and trailer: `records` are those of the block but for the engine's, which gets a proof that
// covers `before`, what stands before the block, and all of the block.
std::string encodeTail(std::string_view records, std::string_view before, EndRecord* record);

// How many bytes before the end of the file the block begins, the trailer counted. Nothing if
// `trailer`, the last nine bytes of the file, is none.
std::optional<uint32_t> tailSize(std::string_view trailer);

// An open file whose last bytes are read at once, and others when they are asked for.
class LastBytes {
 public:
  // Reads up to `size` bytes into `room`. Both must outlive the object.
  LastBytes(const os::File& file, char* room, size_t size);

  uint64_t fileSize() const { return fileSize_; }
  bool hasFailed() const { return file_.hasFailed(); }  // A reading of it.
  // What was read at once; empty if nothing could be.
  std::string_view last() const { return last_; }
  // Of these bytes what was read at once; empty if `begin` was not.
  std::string_view known(uint64_t begin, uint64_t end) const;
  [[nodiscard]] bool copy(uint64_t offset, char* to, size_t size) const;

 private:
  const os::File& file_;
  uint64_t fileSize_;
  std::string_view last_;
};

bool hasHeader(const LastBytes& file);
// Whether a whole part ends at `offset`. Takes time in proportion to its block at most.
[[nodiscard]] bool readEnd(const LastBytes& file, uint64_t offset, End* end);
// Goes from part to part, by their headers alone, and calls `take` with the end of each.
void forEachPart(const LastBytes& file, const std::function<void(uint64_t end)>& take);
enum class Found {
  kNone,     // Or what is there couldn't all be read.
  kWhole,    // What comes after it, if anything does, may be torn.
  kDamaged,  // After the last whole part is what was whole once.
};
// The end of the last whole part. *end is left alone if there is none.
[[nodiscard]] Found findEnd(const LastBytes& file, End* end);
// Of what comes after it: whether that was never promised for certain, as long as nobody but
// writers makes the file shorter: it has neither header nor end, or ends before the header says.
bool isCutOff(const LastBytes& file, const End& end);

}  // namespace archivefile
