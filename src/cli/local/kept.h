// cli/local/kept.h: contents that a command is about to overwrite are put aside, for a while.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

// Where that is.
std::string keptOf(const std::string& top);

// What one command puts aside, next to what earlier ones did.
class Kept {
 public:
  explicit Kept(std::string top) : top_(std::move(top)) {}

  // Moves the file at `path` from the top to ".trevault/kept", under the present time. What lies
  // there for 14 days or longer goes; and, the oldest first, what is more than 1 GB, but nothing of
  // this command. Gives the new path. Throws Problem, and then the file is where it was.
  std::string keep(const std::string& path);

 private:
  void lookThrough(int64_t now);

  std::string top_;
  bool isKnown_ = false;              // Whether what was there was looked through.
  std::vector<std::string> earlier_;  // Directories of earlier commands, the newest first.
  uint64_t bytes_ = 0;                // In all that is kept.
};

}  // namespace cli
