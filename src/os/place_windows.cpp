// os/place_windows.cpp: looks up places on Windows.
#include "os/place_windows.h"

#include <utility>

#include "os/calls_windows.h"
#include "os/directory.h"

namespace os {

FileResult Place::of(const std::string& path, Place* place) {
  *place = {};
  const auto whole = systemPath(path);
  if (!whole) return resultOf(::GetLastError());
  const std::string text = pathText(*whole);
  const size_t end = text.rfind('/') + 1;
  Entry entry;
  entry.path = text.substr(0, end);
  if (!directoryState(entry.path.c_str())) return FileResult::kMissing;
  place->directory_ = std::make_shared<const Entry>(std::move(entry));
  place->name_ = text.substr(end);
  if (place->name_.empty()) place->name_ = ".";
  return FileResult::kDone;
}

// Who may make links here is an administrator: they are followed.
FileResult Place::find(const std::string& path, Place* place) {
  const FileResult result = of(path, place);
  const auto whole = result == FileResult::kDone ? systemPath(*place) : std::nullopt;
  if (!whole) return result;
  const DWORD attributes = ::GetFileAttributesW(whole->c_str());
  const bool isLink =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  return isLink ? of(realPath(path), place) : result;
}

Place Place::beside(std::string name) const {
  Place other = *this;
  other.name_ = std::move(name);
  return other;
}

// A sync of the file brings what was noted of its name before.
bool Place::sync(int file) const noexcept {
  return file != -1 && ::FlushFileBuffers(handleOf(file)) != FALSE;
}

}  // namespace os
