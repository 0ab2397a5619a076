// pages/words.h: which words of two lines differ.
#pragma once

#include <string_view>
#include <vector>

namespace pages {

struct Piece {
  std::string_view text;
  bool isChanged = false;
};

// The pieces of either line, which are all of it. Words, blanks and signs count as a whole; lines
// with very many of them differ in one piece. The lines must outlive the result.
struct Pieces {
  std::vector<Piece> first;
  std::vector<Piece> second;
};
Pieces changedWords(std::string_view first, std::string_view second);

}  // namespace pages
