// btkf520/operations/plaintext.h: texts of archives and clients as lines that people read.
#pragma once

#include <string>
#include <string_view>

namespace btkf {

// `text` with control characters as "\x1b", but for those in `kept`: so no text moves a terminal's
// cursor, or looks like a line of its own. Those beyond ASCII are known in UTF-8 only: in other
// code pages they are letters.
inline std::string plainText(std::string_view text, std::string_view kept = "") {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string result;
  result.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool isAfter = i > 0 && text[i - 1] == '\xc2' && byte >= 0x80 && byte < 0xa0;
    const bool isControl = byte < ' ' || byte == 0x7f || isAfter;
    if (!isControl || kept.find(text[i]) != std::string_view::npos) {
      result += text[i];
    } else {
      result.append("\\x").append(1, kDigits[byte >> 4]).append(1, kDigits[byte & 15]);
    }
  }
  return result;
}

}  // namespace btkf
