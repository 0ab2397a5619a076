// os/place.h: where a file is: an open directory and a name there.
//
// A path is looked up once. What is then opened, made and renamed is meant by the directory itself,
// whatever others put in the way of the path meanwhile.
//
// Links. Who may write a directory may put a link there that leads to a file of another user, who
// would change it without knowing. So a link at the end of a path is followed, for a change, only
// if its owner is the present user, root, or the owner of the file that it leads to. Nobody owns
// what is not there; and the present user counts only where he is heeded (os/environment.h). This
// is the one place that knows the rule. Links to directories on the way are the system's to follow:
// who can put one there can as well say in a data file where others are.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "os/result.h"

namespace os {

class Place {
 public:
  class Entry;  // What the system knows of an open directory.

  Place() = default;  // Nowhere.

  // The entry that `path` names, link or not; there need be none. kMissing if there is no such
  // directory.
  static FileResult of(const std::string& path, Place* place);
  // Where `path` leads, by the rule above: kForeignLink if not. There need be no file.
  static FileResult find(const std::string& path, Place* place);

  // Another name in the same directory.
  Place beside(std::string name) const;

  // The system's number of the open directory.
  int directory() const;
  const Entry* entry() const { return directory_.get(); }
  const std::string& name() const { return name_; }
  // Who must own the file, since a link of his led here.
  const std::optional<uint32_t>& owner() const { return owner_; }

  // Brings what the directory now says about the name to the device, so that a power cut does not
  // undo it. A directory that may not be read is synced with all of the disk of `file`, the open
  // entry. Where neither works there is nothing that could be taken back: false.
  bool sync(int file) const noexcept;

 private:
  FileResult enter(int start, const std::string& path);
  FileResult follow(bool* isLink);

  std::shared_ptr<const Entry> directory_;
  std::string name_;
  std::optional<uint32_t> owner_;
};

}  // namespace os
