// kstrinin/profiletext.h: finding and changing one value in the text of a profile.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kstrinin {

// Whether `section` is a name in brackets, fit for one line.
bool isSectionName(std::string_view section);
// Whether a line "key=value" would be read back as a line with that key.
bool isKeyName(std::string_view key);

// The value of the first line with that key in a section of that name; nullopt without one.
std::optional<std::string> findValue(std::string_view text, std::string_view section,
                                     std::string_view key);

// Changes the value of that line, or adds a line after the last one of the section, or a section
// at the end. Every other byte stays. `value` holds no line end.
void setValue(std::string* text, std::string_view section, std::string_view key,
              std::string_view value);

}  // namespace kstrinin
