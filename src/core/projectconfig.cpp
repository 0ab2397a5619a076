// core/projectconfig.cpp: when a configuration file counts as changed.
#include "core/projectconfig.h"

namespace foldapi {

VBool TVProjectConfig::hasChanged() const {
  os::FileStatus status;
  return readStat(path.view(), &status) ? !recorded_.isOf(status) : recorded_ != FileStamp();
}

void TVProjectConfig::recordTime() { recorded_ = fileStamp(path.view()); }

const TVProjectConfig& theEmptyConfig() {
  static const auto* config = new TVProjectConfig;
  return *config;
}

}  // namespace foldapi
