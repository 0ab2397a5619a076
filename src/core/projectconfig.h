// core/projectconfig.h: TVProjectConfig, the configuration of a project or of the root.
#pragma once

#include "base/vpathstring.h"
#include "base/vstring.h"
#include "runtime/files.h"

namespace foldapi {

class TVProjectConfig {
 public:
  TVProjectConfig() = default;
  explicit TVProjectConfig(VPathString file) : path(std::move(file)) {}

  // Whether the file differs from the one whose time was recorded last. True before the first
  // recordTime(); a file that is gone differs from one that was there.
  VBool hasChanged() const;
  void recordTime();

  VPathString path;     // The configuration file, as the data files name it.
  VString archiveDirs;  // The archive directories, separated by ";".

 private:
  // The packed time that stands for "nothing recorded yet" is no moment that a file can have.
  FileStamp recorded_ = {.packed = 1};
};

// What an object without an owner chain answers.
const TVProjectConfig& theEmptyConfig();

}  // namespace foldapi
