// btkf520/configuration/origin.h: where a directive stands.
#pragma once

#include <memory>
#include <string>

namespace btkf {

struct Origin {
  std::shared_ptr<const std::string> file;  // A path text, shared by the file's lines. Null: none.
  int line = 0;                             // From 1; 0 for no file.
  bool isTrusted = false;  // Nobody but root and the present user can have written it.
};

}  // namespace btkf
