// kstrinin/profilefile.h: where the profile is, and how its file is read and changed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "os/file.h"
#include "os/place.h"
#include "os/sibling.h"

namespace kstrinin {

constexpr uint64_t kLargestProfile = uint64_t{16} << 20;

// The path of the user's profile, "" when there is no home to look in.
std::string userProfilePath();

// A change of the profile at a path, from before it is read until it is written: nobody else
// changes it meanwhile. What they all ask for is the sibling that takes its place, so that a first
// write excludes others too, and then the file itself, which several users may share.
class ProfileUpdate {
 public:
  // Makes the directories of `path` if need be, and waits a few seconds at most. A link at `path`
  // stays one, if it is followed at all: see os/place.h.
  explicit ProfileUpdate(const std::string& path);

  bool isHeld() const { return isHeld_; }
  // Replaces the content of the file, or makes it: all or nothing. An existing file keeps its mode
  // and, where allowed, its owner. Where the directory takes no new file, an existing one is
  // written in place.
  bool replace(std::string_view text);

 private:
  os::FileResult hold();

  os::Place place_;
  os::SiblingFile sibling_;
  os::File old_;
  bool isHeld_ = false;
};

}  // namespace kstrinin
