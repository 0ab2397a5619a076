// support/slowarchive.h: a second reader of archive files, for comparison with the engine's.
//
// Written from docs/archive-format.md alone, and sharing no code with the engine. It reads the
// whole file, believes what it reads, rebuilds parents again and again, and throws where something
// can't be: good for small archives and true copies, and short enough to be seen to be right. It
// does not look at checksums.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace support {

struct SlowRevision {
  std::string number;
  uint32_t checkInTime = 0;
  uint32_t workfileTime = 0;
  std::string author;
  std::string changeDescription;
  std::vector<std::string> lockers;
  std::vector<std::string> promotionGroups;
  uint64_t content = 0;
  uint64_t length = 0;
};

struct SlowFrame {
  uint64_t position = 0;
  std::vector<uint64_t> parents;  // The older first.
  std::string bytes;
};

class SlowArchive {
 public:
  explicit SlowArchive(const std::string& file);

  // The content of a revision, by the id that the index tells.
  std::string content(uint64_t id) const;
  // How many different frames that takes.
  size_t frameCount(uint64_t id) const;

  // From the information block, by tag; a name without its first byte and its NUL.
  std::vector<std::string> names(char tag) const;
  uint64_t value(char tag) const;

  std::string workName, owner, description;
  uint64_t creationTime = 0;
  uint64_t attributes = 0;
  std::vector<std::string> accessList;
  std::vector<std::string> branches;              // Their numbers.
  std::map<std::string, SlowRevision> revisions;  // By number.
  std::map<std::string, std::string> labels;      // Name to number.
  std::map<uint64_t, SlowFrame> frames;           // By content id.
  size_t informationSize = 0;                     // Of the information block.

 private:
  void readBlock(const std::string& block);
  void readIndex(const std::string& index, const std::string& packedFrames);

  std::vector<std::pair<char, std::string>> records_;
};

}  // namespace support
