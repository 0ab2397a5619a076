// pages/addresses.cpp: names of pages.
#include "pages/addresses.h"

#include <fmt/format.h>

#include "cli/text/text.h"

namespace pages {
namespace {

constexpr size_t kLongest = 80;

}  // namespace

std::string slugOf(std::string_view name) {
  std::string slug;
  bool isWhole = !name.empty() && name.size() <= kLongest && name.front() != '.';
  for (const char c : name.substr(0, kLongest)) {
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
    if (isLetter) {
      slug += c;
    } else if (c == '/') {
      slug += '+';
    } else {
      const bool isCapital = c >= 'A' && c <= 'Z';
      slug += isCapital ? static_cast<char>(c - 'A' + 'a') : '_';
      isWhole = isWhole && c == '_';
    }
  }
  if (slug.starts_with('.')) slug.front() = '_';
  return isWhole ? slug : fmt::format("{}~{:08x}", slug, cli::hashOf(name) >> 32);
}

// No project has the name of a file that stands beside its directory.
Addresses::Addresses(std::string_view project) : top_(slugOf(project)) {
  if (top_.find('.') != std::string::npos) top_ += '~';
  top_ += '/';
}

std::string Addresses::revisions(std::string_view path, std::string_view from,
                                 std::string_view to) const {
  return fmt::format("{}revisions/{}/{}..{}.html", top_, slugOf(path), from, to);
}

std::string Addresses::chosenRevisions(std::string_view path) const {
  return fmt::format("{}revisions/{}/choose", top_, slugOf(path));
}

std::string Addresses::between(std::string_view label, std::string_view older) const {
  return fmt::format("{}between/{}/{}.html", top_, slugOf(label), slugOf(older));
}

std::string Addresses::chosenLabel(std::string_view name) const {
  return fmt::format("{}between/{}/choose", top_, slugOf(name));
}

}  // namespace pages
