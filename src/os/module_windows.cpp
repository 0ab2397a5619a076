// os/module_windows.cpp: no part of the program is in a library of its own there.
#include "os/module.h"

namespace os {

std::string programDirectory() { return ""; }

Function loadFunction(const std::string& /*path*/, const char* /*name*/, std::string* why) {
  *why = "this build has no such part";
  return nullptr;
}

}  // namespace os
