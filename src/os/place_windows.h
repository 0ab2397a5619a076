// os/place_windows.h: what a place is on Windows.
#pragma once

#include <string>

#include "os/place.h"

namespace os {

// The whole path of the directory, with "/" at its end. Links need a privilege here that nobody has
// by chance, so the path is as good as the directory itself.
class Place::Entry {
 public:
  std::string path;
};

}  // namespace os
