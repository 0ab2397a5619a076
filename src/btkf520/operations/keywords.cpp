// btkf520/operations/keywords.cpp: keyword expansion.
#include "btkf520/operations/keywords.h"

#include <algorithm>
#include <utility>

#include "btkf520/configuration/text.h"
#include "btkf520/operations/names.h"
#include "dates/packedtime.h"

namespace btkf {
namespace {

constexpr size_t kTextProbe = 8000;
// Of a keyword expanded before, with ": " and " $". Longer is no keyword, so none is made.
constexpr size_t kLongestValue = 1024;

std::optional<std::string> valueOf(std::string_view keyword, const ArchiveModel& model,
                                   const Revision& revision, std::string_view archive) {
  if (keyword == "Revision") return revision.number.text();
  if (keyword == "Author") return revision.author;
  if (keyword == "Date") return dates::isoText(revision.checkInTime);
  if (keyword == "Archive") return std::string(fileName(archive));
  if (keyword == "Workfile") return model.workName;
  return {};
}

// A value must not end its own keyword, or be longer than the next expansion believes: that would
// take the rest for text.
std::string withoutEnds(std::string value) {
  value.resize(std::min(value.size(), kLongestValue - std::string_view(":  $").size()));
  for (char& c : value) {
    if (c == '$' || c == '\r' || c == '\n') c = '_';
  }
  return value;
}

// The keyword that `text` begins with after its first "$", and its size up to the closing "$".
// Size 0 if there is none: "$Name$", or "$Name: anything on this line $".
std::pair<std::string_view, size_t> keywordAt(std::string_view text) {
  size_t end = 1;
  while (end < text.size() && isLetter(text[end])) ++end;
  const std::string_view name = text.substr(1, end - 1);
  if (end < text.size() && text[end] == '$') return {name, end + 1};
  if (!text.substr(end).starts_with(": ")) return {name, 0};
  const size_t close = text.substr(0, end + kLongestValue).find_first_of("$\r\n", end);
  if (close == std::string_view::npos || text[close] != '$') return {name, 0};
  return {name, close + 1};
}

// Gives the text with its keywords expanded piece by piece. Whether there were any.
template <typename Take>
bool expandTo(const ArchiveModel& model, const Revision& revision, std::string_view archive,
              std::string_view bytes, const Take& take) {
  size_t copied = 0;
  for (size_t at = bytes.find('$'); at != std::string_view::npos;) {
    const auto [keyword, size] = keywordAt(bytes.substr(at));
    const auto value = size == 0 ? std::nullopt : valueOf(keyword, model, revision, archive);
    if (value) {
      for (const std::string_view piece :
           {bytes.substr(copied, at + 1 - copied), keyword, std::string_view(": ")}) {
        take(piece);
      }
      take(withoutEnds(*value) + " $");
      copied = at + size;
    }
    at = bytes.find('$', value ? copied : at + 1);
  }
  take(bytes.substr(copied));
  return copied != 0;
}

}  // namespace

bool isText(std::string_view bytes) {
  return bytes.substr(0, kTextProbe).find('\0') == std::string_view::npos;
}

bool expandsKeywords(const ArchiveModel& model) {
  return model.has(TRVS_ATTRIBUTE_KEYWORDS) && !model.has(TRVS_ATTRIBUTE_BINARY);
}

bool hasExpandedKeywords(std::string_view text) {
  for (size_t at = text.find('$'); at != std::string_view::npos; at = text.find('$', at + 1)) {
    const auto [keyword, size] = keywordAt(text.substr(at));
    if (size > keyword.size() + std::string_view("$$").size()) return true;
  }
  return false;
}

// In two passes, since memory for a wide text is taken once and at its size.
std::optional<Bytes> expanded(const ArchiveModel& model, const Revision& revision,
                              std::string_view archive, std::string_view bytes) {
  if (!expandsKeywords(model) || !isText(bytes)) return {};
  uint64_t size = 0;
  const auto count = [&](std::string_view piece) { size += piece.size(); };
  if (!expandTo(model, revision, archive, bytes, count)) return {};
  Bytes result(size);
  char* end = result.data();
  expandTo(model, revision, archive, bytes,
           [&](std::string_view piece) { end = std::copy(piece.begin(), piece.end(), end); });
  return result;
}

}  // namespace btkf
