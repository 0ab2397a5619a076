// pages/contents.cpp: what a content is shows in its first bytes.
#include "pages/contents.h"

#include <fmt/format.h>

#include "cli/text/text.h"

namespace pages {
namespace {

constexpr uint64_t kLargest = 4 << 20;
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

struct Enough {};

}  // namespace

Content contentOf(const cli::FileRecord& file, const std::string& number) {
  Content content;
  const auto stored = cli::contentsOf(file.archive, file.path);
  const auto found = stored.find(number);
  if (found != stored.end()) content.stored = found->second;
  const bool isLarge = content.stored && content.stored->size > int64_t{kLargest};
  const cli::Subject subject{.file = file.path, .archive = file.archive, .revision = number};
  try {
    cli::check(cli::readContent(subject, cli::Keywords::kStored,
                                [&](std::string_view bytes) {
                                  content.bytes += bytes;
                                  if (isLarge && content.bytes.size() > kLooked) throw Enough();
                                }),
               subject);
  } catch (const Enough&) {
  }
  content.type = imageType(content.bytes, file.path);
  const bool isBinary =
      std::string_view(content.bytes).substr(0, kLooked).find('\0') != std::string_view::npos;
  content.kind = content.type ? Kind::kImage : isBinary ? Kind::kBinary : Kind::kText;
  if (isLarge && content.kind != Kind::kBinary) content.kind = Kind::kTooLarge;
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

}  // namespace pages
