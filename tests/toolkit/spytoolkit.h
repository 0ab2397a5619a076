// toolkit/spytoolkit.h: the toolkit with a listener in between. The functions of this program stand
// in front of the library's own, note the call and hand it on, so every answer is a real one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"

namespace toolkit_test {

struct Registered {
  int32_t id;
  TrvsCallback callback;
};

// Since the last look: the files read, "10 <path>" for each in order, and the callbacks registered.
std::string readCalls();
std::vector<Registered> registeredCallbacks();

}  // namespace toolkit_test
