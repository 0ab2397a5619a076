// pages/looks.h: the style sheet of all pages, and their script.
#pragma once

#include <string>
#include <string_view>

namespace pages {

std::string styleSheet();
// All that pages say is there without it.
std::string_view script();

}  // namespace pages
