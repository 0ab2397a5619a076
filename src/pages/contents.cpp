// pages/contents.cpp: what a content is shows in its first bytes.
#include "pages/contents.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "cli/text/text.h"
#include "pages/parts.h"

namespace pages {
namespace {

constexpr int64_t kLargest = 4 << 20;
constexpr size_t kLargestImage = 2 << 20;
constexpr int64_t kLargestOther = 64 << 20;  // In the same archive.
constexpr size_t kLooked = 8000;

// Images that browsers show, and that can run nothing there.
std::optional<cli::Literal> imageType(std::string_view bytes, std::string_view name) {
  if (bytes.starts_with("\x89PNG\r\n\x1a\n")) return cli::Literal("image/png");
  if (bytes.starts_with("\xff\xd8\xff")) return cli::Literal("image/jpeg");
  if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a")) return cli::Literal("image/gif");
  if (bytes.starts_with("RIFF") && bytes.substr(0, 12).ends_with("WEBP")) {
    return cli::Literal("image/webp");
  }
  const bool isDrawing = name.ends_with(".svg") && bytes.find("<svg") < kLooked;
  if (isDrawing) return cli::Literal("image/svg+xml");
  return {};
}

// Also of one that is kept as what differs from others.
bool isTooLarge(const std::map<std::string, cli::StoredContent>& stored,
                const std::string& number) {
  return std::any_of(stored.begin(), stored.end(), [&](const auto& each) {
    return each.second.size > (each.first == number ? kLargest : kLargestOther);
  });
}

Kind kindOf(const Content& content) {
  if (content.type) {
    return content.bytes.size() > kLargestImage ? Kind::kTooLarge : Kind::kImage;
  }
  const std::string_view start = std::string_view(content.bytes).substr(0, kLooked);
  return start.find('\0') != std::string_view::npos ? Kind::kBinary : Kind::kText;
}

}  // namespace

Content contentOf(const cli::FileRecord& file, const std::string& number) {
  Content content;
  const auto stored = cli::contentsOf(file.archive, file.path);
  const auto found = stored.find(number);
  if (found != stored.end()) content.stored = found->second;
  if (isTooLarge(stored, number)) {
    content.kind = Kind::kTooLarge;
    return content;
  }
  content.bytes = cli::contentOf({.file = file.path, .archive = file.archive, .revision = number},
                                 cli::Keywords::kStored);
  content.type = imageType(content.bytes, file.path);
  content.kind = kindOf(content);
  return content;
}

void writeContent(Html& html, const Content& content, std::string_view name) {
  if (content.kind == Kind::kImage) {
    const auto figure = html.in("p", {{"class", "image"}});
    html.lone("img", {Html::shows(*content.type, content.bytes), {"alt", name}});
  }
  if (!content.stored) return;
  const auto facts = html.in("dl", {{"class", "facts"}});
  html.put("dt", "Size");
  html.put("dd", cli::sizeText(static_cast<uint64_t>(content.stored->size)));
  html.put("dt", "Checksum");
  html.put("dd", {{"class", "number"}, {"title", "XXH64"}}, content.stored->checksum);
}

void writeTooLarge(Html& html, std::string_view command, const std::string& path) {
  writeNothing(html, "Too large to be shown here; " + toldBy(command, path));
}

}  // namespace pages
