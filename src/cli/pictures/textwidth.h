// cli/pictures/textwidth.h: how much room a text takes in a picture, whose fonts nobody knows here.
#pragma once

#include <string>
#include <string_view>

namespace cli {

struct Face {
  enum class Kind { kProportional, kFixed };
  Kind kind;
  double size;  // In pixels.
};

// In whole pixels, and rather too much than too little: as the wide ones among common fonts have
// it.
double widthOf(std::string_view text, Face face);
// As much of the first line as fits, "…" at the end of what doesn't.
std::string shortened(std::string_view text, Face face, double width);

}  // namespace cli
