// kstrinin/platform_profile.h: what the profile library asks of the operating system.
// Implemented by platform_profile_posix.cpp.
#pragma once

#include <cstddef>
#include <string>

namespace kstrinin {

constexpr size_t kLargestProfile = size_t{16} << 20;

// The path of the user's profile, "" when there is no home to look in.
std::string userProfilePath();

// A file's access to disk failed or not; Missing is no failure of its own.
enum class ReadResult { kRead, kMissing, kCannotOpen, kCannotRead, kTooLarge };

// Reads the whole file into *text, which stays as it was unless the result is kRead.
ReadResult readProfileFile(const std::string& path, std::string* text);

// Keeps other writers of the profiles in one directory away while it lives. It locks the directory
// and not the file: a rewrite replaces the file, and the first write has none.
class ProfileLock {
 public:
  // Makes the directories of `path` if need be, and waits a few seconds at most.
  explicit ProfileLock(const std::string& path);
  ProfileLock(const ProfileLock&) = delete;
  ProfileLock& operator=(const ProfileLock&) = delete;
  ~ProfileLock();

  bool isHeld() const { return held_; }

 private:
  int directory_ = -1;
  bool held_ = false;
};

// Replaces the content of the file, or makes it: all or nothing. An existing file keeps its mode
// and, where allowed, its owner; a link stays a link. Where the directory takes no new file, an
// existing one is written in place.
bool replaceProfileFile(const std::string& path, const std::string& text);

}  // namespace kstrinin
