// pages/contents.h: contents of revisions, as far as pages show them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cli/archives/content.h"
#include "cli/pictures/xml.h"
#include "pages/html.h"
#include "pages/source.h"

namespace pages {

// kTooLarge: reading it, or making it of others, would keep all who ask waiting.
enum class Kind { kText, kImage, kBinary, kTooLarge };

struct Content {
  Kind kind = Kind::kText;
  std::string bytes;                         // Of a text and of an image.
  std::optional<cli::Literal> type;          // Of an image.
  std::optional<cli::StoredContent> stored;  // What the archive says of it.
};

// Throws Problem.
Content contentOf(const cli::FileRecord& file, const std::string& number);

// An image, or what is known of the bytes.
void writeContent(Html& html, const Content& content, std::string_view name);
// That what `command` tells about `path` is too large.
void writeTooLarge(Html& html, std::string_view command, const std::string& path);

}  // namespace pages
