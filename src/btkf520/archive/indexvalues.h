// btkf520/archive/indexvalues.h: the values of an index that stand in several of its places, as
// bytes, and what they may be.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archivefile/bytecodec.h"
#include "btkf520/archive/number.h"

namespace btkf {

// The longest text of a model, in bytes.
constexpr size_t kLongestText = 16 << 20;

inline bool isSoundText(std::string_view text) {
  return text.size() <= kLongestText && text.find('\0') == std::string_view::npos;
}

inline bool hasControls(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
}

// A NUL is a control, too.
inline bool isSoundName(std::string_view name) {
  return name.size() <= kLongestText && !hasControls(name);
}

template <typename Text>
bool areSoundNames(const std::vector<Text>& names) {
  return std::all_of(names.begin(), names.end(),
                     [](const Text& name) { return !name.empty() && isSoundName(name); });
}

inline bool isSoundNumber(const Number& number) {
  const Number::Components& components = number.components();
  return !number.isEmpty() && components.size() <= Number::kMostComponents &&
         std::all_of(components.begin(), components.end(),
                     [](uint32_t value) { return value <= Number::kLargestComponent; });
}

inline void putTexts(archivefile::ByteWriter* to, const std::vector<std::string>& texts) {
  to->put(texts.size());
  for (const std::string& text : texts) to->put(text);
}

template <typename Text>
void getTexts(archivefile::ByteReader* from, std::vector<Text>* texts) {
  texts->clear();
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    texts->emplace_back(from->view());
  }
}

inline void putNumber(archivefile::ByteWriter* to, const Number& number) {
  to->put(number.components().size());
  for (const uint32_t component : number.components()) to->put(component);
}

inline Number getNumber(archivefile::ByteReader* from) {
  Number::Components components(from->count(), 0);
  for (char32_t& component : components) component = from->number32();
  return Number(std::move(components));
}

}  // namespace btkf
