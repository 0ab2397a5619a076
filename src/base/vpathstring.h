// base/vpathstring.h: VPathString, a VString that names a file or a directory.
//
// Path text is data: nothing here folds case, rewrites separators or looks at the disk, but for the
// two tests that say so.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "base/vstring.h"

namespace foldapi {

class VPathString : public VString {
 public:
  VPathString() = default;
  VPathString(const char* text) : VString(text) {}
  VPathString(std::string text) : VString(std::move(text)) {}
  VPathString(std::string_view text) : VString(text) {}
  VPathString(const VString& text) : VString(text) {}

  // The path without its last component and the separator before that. A root stays as it is.
  VPathString directoryPart() const;
  // The last component: what stands after the last "\", "/" or the ":" of a drive.
  VPathString fileNamePart() const;
  // Appends a component with one separator between: the one that the operands use already or, where
  // they have none, that `like` uses.
  VPathString& join(const VString& component, std::string_view like = {});

  // The same parts of a text that is no value of its own, as views into it.
  static std::string_view directoryPartOf(std::string_view path);
  static std::string_view fileNamePartOf(std::string_view path);

  VBool exists() const;
  // Removes the file; tells whether that worked.
  [[nodiscard]] VBool remove() const;
};

}  // namespace foldapi
