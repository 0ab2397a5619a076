// support/handles.h: the children of open handles, in the order of a walk.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/handle.h"

namespace support {

inline std::vector<foldapi::TVHandle*> children(foldapi::TVHandle& parent) {
  std::vector<foldapi::TVHandle*> all;
  for (auto* it = &parent.first(nullptr); !it->isNull(); it = &parent.next(nullptr)) {
    all.push_back(it);
  }
  return all;
}

// "a b c "
inline std::string names(foldapi::TVHandle& parent) {
  std::string text;
  for (const foldapi::TVHandle* child : children(parent)) text += child->name().str() + " ";
  return text;
}

// The child of that name, or the null handle.
inline foldapi::TVHandle& child(foldapi::TVHandle& parent, std::string_view name) {
  for (foldapi::TVHandle* child : children(parent)) {
    if (child->name() == name) return *child;
  }
  return foldapi::theNullHandle();
}

}  // namespace support
