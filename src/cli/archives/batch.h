// cli/archives/batch.h: changes of many archives that wait for the disk together.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace cli {

// A batch of the engine, as long as the object lives. They don't nest.
class Batch {
 public:
  Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;
  ~Batch();

  // Brings all to the disk. Gives the archives whose change did not get there, each with its first
  // status, and goes on with a new batch.
  std::map<std::string, int32_t> settle();
};

}  // namespace cli
