// cli/text/text.cpp: numbers, names and tables as people read them.
#include "cli/text/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace cli {
namespace {

// The length of the UTF-8 sequence that `text` begins with, 0 for none.
size_t sequenceAt(std::string_view text) {
  const auto byte = [&](size_t place) {
    return place < text.size() ? static_cast<unsigned char>(text[place]) : 0U;
  };
  const unsigned first = byte(0);
  const size_t length = first < 0x80   ? 1
                        : first < 0xC2 ? 0
                        : first < 0xE0 ? 2
                        : first < 0xF0 ? 3
                                       : 4;
  if (first > 0xF4) return 0;
  for (size_t place = 1; place < length; ++place) {
    if ((byte(place) & 0xC0) != 0x80) return 0;
  }
  // No longer than need be, no halves of pairs, nothing beyond the last code point.
  const bool isOdd = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                     (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
  return isOdd ? 0 : length;
}

char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// How many letters must be put in, left out or changed.
size_t distance(std::string_view from, std::string_view to) {
  std::vector<size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < from.size(); ++i) {
    size_t corner = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < to.size(); ++j) {
      const size_t changed = corner + (from[i] == to[j] ? 0 : 1);
      corner = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, corner + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string number(uint64_t count) {
  std::string text = fmt::format("{}", count);
  if (count < 10'000) return text;
  for (size_t place = text.size(); place > 3; place -= 3) text.insert(place - 3, ",");
  return text;
}

std::string sizeText(uint64_t bytes) {
  constexpr uint64_t kThousand = 1000;
  if (bytes < kThousand) return fmt::format("{} B", bytes);
  double size = static_cast<double>(bytes) / kThousand;
  std::string_view units = "kMGT";
  while (size >= kThousand && units.size() > 1) {
    size /= kThousand;
    units.remove_prefix(1);
  }
  return fmt::format("{:.1f} {}B", size, units.front());
}

std::string counted(uint64_t count, std::string_view thing) {
  std::string text = number(count) + ' ' + std::string(thing);
  if (count == 1) return text;
  const bool hisses = thing.ends_with("ch") || thing.ends_with('s') || thing.ends_with('x');
  return text + (hisses ? "es" : "s");
}

bool isNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789.") == std::string_view::npos;
}

std::string lacking(uint64_t files, std::string_view what) {
  return fmt::format("{} {} {}", counted(files, "file"), files == 1 ? "has" : "have", what);
}

std::string_view firstLetter(std::string_view text) {
  return text.substr(0, std::max<size_t>(sequenceAt(text), 1));
}

bool isControl(std::string_view letter) {
  const bool turnsText =
      (letter >= "\u202A" && letter <= "\u202E") || (letter >= "\u2066" && letter <= "\u2069");
  if (turnsText) return true;
  const auto first = static_cast<unsigned char>(letter.front());
  return first < 0x20 || first == 0x7F || (letter.size() > 1 && letter < "\xC2\xA0");
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const size_t length = sequenceAt(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string asUtf8(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const size_t length = sequenceAt(text);
    result += length == 0 ? kNoText : text.substr(0, length);
    text.remove_prefix(std::max<size_t>(length, 1));
  }
  return result;
}

std::string shown(std::string_view text) {
  std::string result = "\"";
  bool isQuoted = false;
  for (std::string_view left = text; !left.empty();) {
    const size_t length = sequenceAt(left);
    const std::string_view sequence = left.substr(0, std::max<size_t>(length, 1));
    left.remove_prefix(sequence.size());
    const bool isEscaped = length == 0 || isControl(sequence);
    isQuoted = isQuoted || isEscaped;
    if (sequence == "\t" || sequence == "\n") {
      result += sequence == "\t" ? "\\t" : "\\n";
    } else if (isEscaped) {
      for (const char c : sequence) {
        result += fmt::format("\\{:03o}", static_cast<unsigned char>(c));
      }
    } else {
      if (sequence == "\"" || sequence == "\\") result += '\\';
      result += sequence;
    }
  }
  return isQuoted ? result + '"' : std::string(text);
}

std::string onTerminal(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::string_view sequence = firstLetter(text);
    if (sequence == "\t" || sequence == "\n" || !isControl(sequence)) {
      result += sequence;
    } else {
      for (const char c : sequence) {
        result += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
      }
    }
    text.remove_prefix(sequence.size());
  }
  return result;
}

size_t columnsOf(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string padded(std::string_view text, size_t columns) {
  const size_t wide = columnsOf(text);
  return std::string(text) + std::string(columns > wide ? columns - wide : 0, ' ');
}

std::vector<std::string> table(const std::vector<std::vector<std::string>>& rows) {
  std::vector<size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], columnsOf(row[i]));
  }
  std::vector<std::string> lines;
  for (const auto& row : rows) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) line += padded(row[i], widths[i] + 2);
    line.erase(line.find_last_not_of(' ') + 1);
    lines.push_back(std::move(line));
  }
  return lines;
}

bool equalsButForCase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

std::string nearest(std::string_view word, const std::vector<std::string>& known) {
  std::string best;
  size_t least = word.size() / 3 + 1;
  for (const std::string& each : known) {
    if (equalsButForCase(word, each)) return each;
    const size_t far = distance(word, each);
    if (far >= least) continue;
    least = far;
    best = each;
  }
  return best;
}

std::string offerNearest(std::string_view word, const std::vector<std::string>& known,
                         const std::string& otherwise) {
  const std::string near = nearest(word, known);
  return near.empty() ? otherwise : fmt::format("did you mean '{}'?", near);
}

std::string listed(const std::vector<std::string>& words) {
  std::string result;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i > 0) result += i + 1 == words.size() ? " and " : ", ";
    result += words[i];
  }
  return result;
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const size_t end = std::min(text.find(separator), text.size());
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

Ends endsOf(const std::string& range) {
  const size_t dots = range.find("..");
  if (dots == std::string::npos) return {.first = range, .last = ""};
  return {range.substr(0, dots), range.substr(dots + 2), true};
}

std::string base64(std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  for (size_t place = 0; place < bytes.size(); place += 3) {
    uint32_t group = 0;
    for (size_t i = 0; i < 3; ++i) {
      const bool isThere = place + i < bytes.size();
      group = group << 8 | (isThere ? static_cast<unsigned char>(bytes[place + i]) : 0U);
    }
    for (size_t i = 0; i < 4; ++i) {
      result += place + i <= bytes.size() ? kDigits[group >> (18 - 6 * i) & 63] : '=';
    }
  }
  return result;
}

uint64_t hashOf(std::string_view text) {
  uint64_t hash = 14695981039346656037U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return hash;
}

}  // namespace cli
