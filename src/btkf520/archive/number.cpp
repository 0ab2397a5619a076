// btkf520/archive/number.cpp: revision numbers to text and back.
#include "btkf520/archive/number.h"

#include <charconv>

namespace btkf {
namespace {

// The component that `text` is, all of it.
std::optional<uint32_t> component(std::string_view text) {
  uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || value > Number::kLargestComponent) return {};
  return value;
}

}  // namespace

std::optional<Number> Number::parse(std::string_view text) {
  Components components;
  for (;;) {
    const size_t dot = text.find('.');
    const std::optional<uint32_t> value = component(text.substr(0, dot));
    if (!value || components.size() == kMostComponents) return {};
    components.push_back(*value);
    if (dot == std::string_view::npos) return Number(std::move(components));
    text.remove_prefix(dot + 1);
  }
}

std::string Number::text() const {
  std::string result;
  for (const uint32_t component : components_) {
    if (!result.empty()) result += '.';
    result += std::to_string(component);
  }
  return result;
}

Number Number::parent() const {
  if (components_.size() < 2) return {};
  return Number(components_.substr(0, components_.size() - 1));
}

Number Number::child(uint32_t last) const {
  Number result = *this;
  result.components_.push_back(last);
  return result;
}

Number Number::next() const {
  Number result = *this;
  if (!isEmpty()) ++result.components_.back();
  return result;
}

}  // namespace btkf
