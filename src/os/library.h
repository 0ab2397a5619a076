// os/library.h: shared libraries that few runs need.
#pragma once

namespace os {

// A library that is loaded when the object is made. It stays until the process ends, so that its
// functions outlive the object.
class LoadedLibrary {
 public:
  // `name` as the loader knows it. Throws std::runtime_error if it isn't there.
  explicit LoadedLibrary(const char* name);

  // A function of type `Function`, a pointer; nobody checks that it is. Throws std::runtime_error
  // if there is none of that name.
  template <typename Function>
  Function find(const char* name) const {
    return reinterpret_cast<Function>(address(name));
  }

 private:
  void* address(const char* name) const;

  void* handle_;
};

}  // namespace os
