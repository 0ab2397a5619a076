// The listener of spytoolkit.h.
#include "toolkit/spytoolkit.h"

#include <dlfcn.h>

#include <utility>

namespace {

std::string theReadCalls;
std::vector<toolkit_test::Registered> theRegistered;

template <typename Function>
Function* behind(const char* name, Function*) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

int32_t TrvsQueryConfiguration(const char* path, int32_t reserved1, int32_t reserved2,
                               int32_t readMode) {
  theReadCalls += std::to_string(readMode) + " " + path + "\n";
  if (reserved1 != 0 || reserved2 != 0) theReadCalls += "reserved values used\n";
  static const auto real = behind("TrvsQueryConfiguration", &TrvsQueryConfiguration);
  return real(path, reserved1, reserved2, readMode);
}

int32_t TrvsRegisterCallback(int32_t id, TrvsCallback callback) {
  theRegistered.push_back({id, callback});
  static const auto real = behind("TrvsRegisterCallback", &TrvsRegisterCallback);
  return real(id, callback);
}

namespace toolkit_test {

std::string readCalls() { return std::exchange(theReadCalls, ""); }
std::vector<Registered> registeredCallbacks() { return std::exchange(theRegistered, {}); }

}  // namespace toolkit_test
