// support/slowarchive.h: a second reader of archive files, for comparison with the engine's.
//
// Written from docs/archive-format.md alone, and sharing no code with the engine. It reads the
// whole file, believes what it reads, rebuilds parents again and again, and throws where something
// can't be: good for small archives and true copies, and short enough to be seen to be right. It
// does not look at checksums, and takes the last part for a whole one.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace support {

struct SlowRevision {
  std::string changeDescription;
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

  // What the index says up to the frames, but for contents: texts and numbers as they come, a "|"
  // after each.
  std::string told;
  std::map<std::string, SlowRevision> revisions;  // By number.
  std::map<uint64_t, SlowFrame> frames;           // By content id.
  std::map<char, std::string> records;            // Of the information block, joined, by tag.
  size_t informationSize = 0;                     // Of that block.
  uint64_t partSize = 0;                          // Of the last part.
  uint64_t part = 0;                              // How many others come before it.

 private:
  void readBlock(const std::string& block);
  void readIndex(const std::string& index, const std::string& file);
};

}  // namespace support
