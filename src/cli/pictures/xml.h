// cli/pictures/xml.h: XML that is whole and escaped however it is written.
//
// Names of elements and attributes stand in the program; all else goes through one function that
// escapes it. What no XML may hold (bytes that are no UTF-8, control characters) becomes U+FFFD.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

// A text that the compiler has seen, so that nobody else has a say in it.
class Literal {
 public:
  template <size_t kSize>
  consteval Literal(const char (&text)[kSize]) : text_(text, kSize - 1) {}
  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

struct Attribute {
  Attribute(Literal attribute, std::string_view text) : name(attribute), value(text) {}
  Attribute(Literal attribute, double number);  // With one digit after the point.

  Literal name;
  std::string value;
};
using Attributes = std::initializer_list<Attribute>;

// Bytes that stand for `text`, inside of an element or between quotation marks.
void appendEscaped(std::string_view text, std::string* to);

class XmlWriter {
 public:
  // What is written up to close() lies inside of it.
  void open(Literal name, Attributes attributes = {});
  void close();
  void element(Literal name, Attributes attributes, std::string_view text = {});

  const std::string& written() const { return written_; }

 private:
  void start(Literal name, Attributes attributes);
  std::string written_;
  std::vector<Literal> open_;
};

}  // namespace cli
