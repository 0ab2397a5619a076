// base/vpathstring.cpp: the parts of a path value.
//
// Where a path is cut and how two are joined is decided in runtime/paths.h; here is only what
// becomes of the separator at the cut. Its test: vpathstring_test.cpp.
#include "base/vpathstring.h"

#include "runtime/files.h"
#include "runtime/paths.h"

namespace foldapi {

namespace {

bool isSeparator(char c) { return c == '\\' || c == '/'; }

// How much of `path` names the root: a drive or the start of a share, and one separator after it.
size_t rootLength(std::string_view path) {
  size_t length = 0;
  if (hasDrive(path)) {
    length = 2;
  } else if (path.size() >= 2 && isSeparator(path[0]) && path[1] == path[0]) {
    return 2;
  }
  if (length < path.size() && isSeparator(path[length])) ++length;
  return length;
}

}  // namespace

std::string_view VPathString::directoryPartOf(std::string_view path) {
  const size_t root = rootLength(path);
  size_t length = pathPartLength(path);
  if (length > root && isSeparator(path[length - 1])) --length;
  return path.substr(0, length);
}

std::string_view VPathString::fileNamePartOf(std::string_view path) {
  return path.substr(pathPartLength(path));
}

VPathString VPathString::directoryPart() const { return VPathString(directoryPartOf(text_)); }

VPathString VPathString::fileNamePart() const { return VPathString(fileNamePartOf(text_)); }

VPathString& VPathString::join(const VString& component, std::string_view like) {
  text_ = joinPath(text_, component.view(), like);
  return *this;
}

VBool VPathString::exists() const { return fileExists(text_); }

VBool VPathString::remove() const { return !isDirectory(text_) && removeFile(text_); }

}  // namespace foldapi
