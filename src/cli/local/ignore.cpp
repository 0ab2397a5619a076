// cli/local/ignore.cpp: reads rules and holds paths against them.
#include "cli/local/ignore.h"

#include <algorithm>

#include "cli/text/paths.h"
#include "cli/text/pattern.h"
#include "cli/text/text.h"
#include "os/file.h"

namespace cli {
namespace {

constexpr uint64_t kLargest = 1 << 20;

}  // namespace

void IgnoreRules::read(const std::string& top, const std::string& directory) {
  std::string text;
  const std::string path = joined(joined(top, directory), kIgnoreFile);
  if (os::readFile(path.c_str(), kLargest, &text) != os::FileResult::kDone) return;
  for (std::string line : split(text, '\n')) {
    while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.pop_back();
    if (line.empty() || line.front() == '#') continue;
    Rule rule{.directory = directory, .pattern = ""};
    rule.takesBack = line.front() == '!';
    if (rule.takesBack) line.erase(0, 1);
    rule.isForDirectories = line.ends_with('/');
    if (rule.isForDirectories) line.pop_back();
    rule.isForPaths = line.find('/') != std::string::npos;
    if (line.starts_with('/')) line.erase(0, 1);
    rule.pattern = line;
    if (!line.empty()) rules_.push_back(std::move(rule));
  }
}

void IgnoreRules::leave(const std::string& directory) {
  std::erase_if(rules_, [&](const Rule& rule) {
    return directory.empty() || isBelow(directory, rule.directory);
  });
}

bool IgnoreRules::fits(const Rule& rule, std::string_view path) {
  if (!rule.directory.empty()) path.remove_prefix(rule.directory.size() + 1);
  return matches(rule.pattern, rule.isForPaths ? path : namePart(path));
}

bool IgnoreRules::ignores(std::string_view path, bool isDirectory) const {
  const auto last = std::find_if(rules_.rbegin(), rules_.rend(), [&](const Rule& rule) {
    return (isDirectory || !rule.isForDirectories) && fits(rule, path);
  });
  return last != rules_.rend() && !last->takesBack;
}

}  // namespace cli
