// cli/pictures/xml.cpp: elements, and the one place that escapes.
#include "cli/pictures/xml.h"

#include <fmt/format.h>

#include "cli/text/text.h"

namespace cli {
namespace {

// Whether it is written as it is, and begins a letter that all know.
bool isPlain(char c) {
  return c >= ' ' && c <= '~' && c != '&' && c != '<' && c != '>' && c != '"';
}

std::string_view escaped(std::string_view letter) {
  if (letter == "&") return "&amp;";
  if (letter == "<") return "&lt;";
  if (letter == ">") return "&gt;";
  if (letter == "\"") return "&quot;";
  if (letter == "\n" || letter == "\t") return letter;
  const bool isNone =
      isControl(letter) || !isUtf8(letter) || letter == "\xEF\xBF\xBE" || letter == "\xEF\xBF\xBF";
  return isNone ? kNoText : letter;
}

}  // namespace

void appendEscaped(std::string_view text, std::string* to) {
  while (!text.empty()) {
    size_t plain = 0;
    while (plain < text.size() && isPlain(text[plain])) ++plain;
    to->append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) break;
    const std::string_view letter = firstLetter(text);
    to->append(escaped(letter));
    text.remove_prefix(letter.size());
  }
}

Attribute::Attribute(Literal attribute, double number)
    : name(attribute), value(fmt::format("{:.1f}", number)) {
  if (value.ends_with(".0")) value.resize(value.size() - 2);
}

void XmlWriter::open(Literal name, Attributes attributes) {
  start(name, attributes);
  written_ += ">\n";
  open_.push_back(name);
}

void XmlWriter::close() {
  written_.append("</").append(open_.back().text()).append(">\n");
  open_.pop_back();
}

void XmlWriter::element(Literal name, Attributes attributes, std::string_view text) {
  start(name, attributes);
  if (text.empty()) {
    written_ += "/>\n";
    return;
  }
  written_ += '>';
  appendEscaped(text, &written_);
  written_.append("</").append(name.text()).append(">\n");
}

void XmlWriter::start(Literal name, Attributes attributes) {
  written_.append("<").append(name.text());
  for (const Attribute& each : attributes) {
    written_.append(" ").append(each.name.text()).append("=\"");
    appendEscaped(each.value, &written_);
    written_ += '"';
  }
}

}  // namespace cli
