// pages/html.cpp: elements, and addresses as they stand in a page.
#include "pages/html.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/text/text.h"

namespace pages {
namespace {

// What stands for itself in an address.
bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~+/").find(c) != std::string_view::npos;
}

}  // namespace

Html::Html(std::string_view address) {
  const auto depth = std::count(address.begin(), address.end(), '/');
  for (auto i = depth; i > 0; --i) up_ += "../";
  // So that no address is taken for another scheme.
  if (up_.empty()) up_ = "./";
}

Html::Scope Html::in(cli::Literal name, Attributes attributes) {
  begin(name, attributes);
  return {*this, name};
}

void Html::put(cli::Literal name, Attributes attributes, std::string_view text) {
  begin(name, attributes);
  this->text(text);
  end(name);
}

void Html::lone(cli::Literal name, Attributes attributes) { begin(name, attributes); }

void Html::text(std::string_view text) { cli::appendEscaped(text, &written_); }

Attribute Html::shows(cli::Literal type, std::string_view bytes) {
  return {"src", fmt::format("data:{};base64,{}", type.text(), cli::base64(bytes)), true};
}

Attribute Html::leading(std::string_view name, std::string_view address) {
  links_.emplace(address);
  std::string value = up_;
  for (const char c : address) {
    if (isPlain(c)) {
      value += c;
    } else {
      value += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
  }
  return {name, std::move(value), true};
}

void Html::begin(cli::Literal name, Attributes attributes) {
  written_.append("<").append(name.text());
  for (const Attribute& each : attributes) {
    written_.append(" ").append(each.name_).append("=\"");
    text(each.value_);
    written_ += '"';
  }
  written_ += '>';
}

void Html::end(cli::Literal name) { written_.append("</").append(name.text()).append(">"); }

}  // namespace pages
