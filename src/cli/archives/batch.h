// cli/archives/batch.h: changes of many archives that wait for the disk together.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace cli {

// One batch of the engine after the other, from begin() to end() or to the end of the object. They
// don't nest.
class Batch {
 public:
  Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;
  ~Batch();

  static void begin();
  // Brings all to the disk. Gives the archives whose change did not get there, each with its first
  // status.
  static std::map<std::string, int32_t> end();
};

}  // namespace cli
