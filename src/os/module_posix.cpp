// os/module_posix.cpp: libraries by way of the loader.
#include <dlfcn.h>
#include <unistd.h>

#include "os/directory.h"
#include "os/module.h"

namespace os {

std::string programDirectory() {
  char path[4096];
  const ssize_t size = ::readlink("/proc/self/exe", path, sizeof path);
  if (size <= 0 || static_cast<size_t>(size) == sizeof path) return "";
  return parentOf({path, static_cast<size_t>(size)});
}

Function loadFunction(const std::string& path, const char* name, std::string* why) {
  void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const function = library == nullptr ? nullptr : ::dlsym(library, name);
  if (function == nullptr) {
    const char* const text = ::dlerror();
    *why = text == nullptr ? "" : text;
  }
  return reinterpret_cast<Function>(function);
}

}  // namespace os
