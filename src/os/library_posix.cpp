// os/library_posix.cpp: shared libraries on POSIX systems.
#include <dlfcn.h>

#include <stdexcept>

#include "os/library.h"

namespace os {

LoadedLibrary::LoadedLibrary(const char* name) : handle_(::dlopen(name, RTLD_LAZY | RTLD_LOCAL)) {
  if (handle_ == nullptr) throw std::runtime_error(::dlerror());
}

void* LoadedLibrary::address(const char* name) const {
  void* const found = ::dlsym(handle_, name);
  if (found == nullptr) throw std::runtime_error(::dlerror());
  return found;
}

}  // namespace os
