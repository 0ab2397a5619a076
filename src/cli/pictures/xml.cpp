// cli/pictures/xml.cpp: elements, and the one place that escapes.
#include "cli/pictures/xml.h"

#include <fmt/format.h>

#include "cli/text/text.h"

namespace cli {

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
  append(text);
  written_.append("</").append(name.text()).append(">\n");
}

void XmlWriter::start(Literal name, Attributes attributes) {
  written_.append("<").append(name.text());
  for (const Attribute& each : attributes) {
    written_.append(" ").append(each.name.text()).append("=\"");
    append(each.value);
    written_ += '"';
  }
}

void XmlWriter::append(std::string_view text) {
  const std::string legible = asUtf8(text);
  for (std::string_view left = legible; !left.empty();) {
    const std::string_view letter = firstLetter(left);
    left.remove_prefix(letter.size());
    if (letter == "&") {
      written_ += "&amp;";
    } else if (letter == "<") {
      written_ += "&lt;";
    } else if (letter == ">") {
      written_ += "&gt;";
    } else if (letter == "\"") {
      written_ += "&quot;";
    } else if (letter == "\n" || letter == "\t") {
      written_ += letter;
    } else {
      const bool isNone = isControl(letter) || letter == "\xEF\xBF\xBE" || letter == "\xEF\xBF\xBF";
      written_ += isNone ? kNoText : letter;
    }
  }
}

}  // namespace cli
