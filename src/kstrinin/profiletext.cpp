// kstrinin/profiletext.cpp: the grammar of a profile, in one walk over its lines.
//
// A profile is also edited by hand, so the text itself is the data: reading and writing both scan
// it, and writing replaces the bytes of one value only.
#include "kstrinin/profiletext.h"

#include <algorithm>

namespace kstrinin {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalNames(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

bool isQuoted(std::string_view value) {
  return value.size() >= 2 && value.front() == '"' && value.back() == '"';
}

std::string_view unquoted(std::string_view value) {
  return isQuoted(value) ? value.substr(1, value.size() - 2) : value;
}

// The form of a value that reads back as that value.
std::string written(std::string_view value) {
  if (trimmed(value) == value && !isQuoted(value)) return std::string(value);
  return '"' + std::string(value) + '"';
}

bool isComment(std::string_view line) {
  return !line.empty() && (line.front() == ';' || line.front() == '#');
}

// Where a key stands, or where it would be added.
struct Place {
  bool hasSection = false;
  bool hasKey = false;
  size_t valueBegin = 0;  // With the key: what stands after the "=", without the line end.
  size_t valueEnd = 0;
  size_t sectionEnd = 0;  // With the section: after its last line that is not blank.
};

Place findPlace(std::string_view text, std::string_view section, std::string_view key) {
  Place place;
  bool inSection = false;
  bool inFirst = false;  // New keys go to the first section of that name.
  size_t next = 0;
  for (size_t begin = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
       begin < text.size(); begin = next) {
    const size_t feed = text.find('\n', begin);
    next = feed == std::string_view::npos ? text.size() : feed + 1;
    std::string_view line = text.substr(begin, next - begin);
    while (!line.empty() && kLineEnds.find(line.back()) != std::string_view::npos) {
      line.remove_suffix(1);
    }
    const std::string_view content = trimmed(line);
    if (!content.empty() && content.front() == '[') {
      inSection = equalNames(content, section);
      inFirst = inSection && !place.hasSection;
      place.hasSection = place.hasSection || inSection;
    }
    if (inFirst && !content.empty()) place.sectionEnd = next;
    const size_t equals = line.find('=');
    if (!inSection || isComment(content) || equals == std::string_view::npos) continue;
    if (!equalNames(trimmed(line.substr(0, equals)), key)) continue;
    place.hasKey = true;
    place.valueBegin = begin + equals + 1;
    place.valueEnd = begin + line.size();
    return place;
  }
  return place;
}

}  // namespace

bool isSectionName(std::string_view section) {
  return section.size() > 2 && section.front() == '[' && section.back() == ']' &&
         section.find_first_of(kLineEnds) == std::string_view::npos;
}

bool isKeyName(std::string_view key) {
  return !key.empty() && trimmed(key) == key && !isComment(key) && key.front() != '[' &&
         key.find_first_of("=\r\n") == std::string_view::npos;
}

std::optional<std::string> findValue(std::string_view text, std::string_view section,
                                     std::string_view key) {
  const Place place = findPlace(text, section, key);
  if (!place.hasKey) return std::nullopt;
  const std::string_view value = text.substr(place.valueBegin, place.valueEnd - place.valueBegin);
  return std::string(unquoted(trimmed(value)));
}

void setValue(std::string* text, std::string_view section, std::string_view key,
              std::string_view value) {
  const Place place = findPlace(*text, section, key);
  if (place.hasKey) {
    text->replace(place.valueBegin, place.valueEnd - place.valueBegin, written(value));
    return;
  }
  std::string added;
  const size_t at = place.hasSection ? place.sectionEnd : text->size();
  if (at != 0 && (*text)[at - 1] != '\n') added = "\r\n";
  if (!place.hasSection) added.append(section).append("\r\n");
  added.append(key).append("=").append(written(value)).append("\r\n");
  text->insert(at, added);
}

}  // namespace kstrinin
