// cli/pictures/textwidth.cpp: letters in classes of about the same width.
#include "cli/pictures/textwidth.h"

#include <cmath>

#include "cli/text/text.h"

namespace cli {
namespace {

constexpr std::string_view kEllipsis = "…";

bool isOneOf(char letter, std::string_view letters) {
  return letters.find(letter) != std::string_view::npos;
}

// In parts of the font's size.
double proportional(char letter) {
  if (isOneOf(letter, "ijlI.,:;'|` ")) return 0.34;
  if (isOneOf(letter, "frt()[]{}/\\-!\"*")) return 0.44;
  if (isOneOf(letter, "mwMW@%&")) return 1.0;
  const bool isWide = (letter >= 'A' && letter <= 'Z') || isOneOf(letter, "#+<=>^~");
  return isWide ? 0.8 : 0.645;
}

double widthOfLetter(std::string_view letter, Face::Kind kind) {
  const bool isFixed = kind == Face::Kind::kFixed;
  if (letter.size() == 1) return isFixed ? 0.62 : proportional(letter.front());
  // UTF-8 orders as code points do.
  const bool isMark = letter >= "\u0300" && letter < "\u0370";  // Stands over the letter before.
  if (isMark) return 0;
  if (letter >= "\U0001F000") return 1.4;  // Pictures.
  if (letter >= "\u2E80") return 1.1;      // Of East Asia.
  if (letter >= "\u0900") return 1;
  return isFixed ? 0.62 : 0.8;
}

// How many bytes fit.
size_t fitting(std::string_view text, Face face, double width) {
  size_t end = 0;
  while (end < text.size()) {
    const std::string_view letter = firstLetter(text.substr(end));
    width -= widthOfLetter(letter, face.kind) * face.size;
    if (width < 0) break;
    end += letter.size();
  }
  return end;
}

}  // namespace

double widthOf(std::string_view text, Face face) {
  const std::string legible = asUtf8(text);
  double width = 0;
  for (std::string_view left = legible; !left.empty();) {
    const std::string_view letter = firstLetter(left);
    width += widthOfLetter(letter, face.kind) * face.size;
    left.remove_prefix(letter.size());
  }
  return std::ceil(width);
}

std::string shortened(std::string_view text, Face face, double width) {
  const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
  std::string legible = asUtf8(line);
  if (line.size() == text.size() && fitting(legible, face, width) == legible.size()) return legible;
  legible.resize(fitting(legible, face, width - widthOf(kEllipsis, face)));
  legible.erase(legible.find_last_not_of(' ') + 1);
  return legible.append(kEllipsis);
}

}  // namespace cli
