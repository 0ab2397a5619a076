// cli/text/paths.cpp: absolute paths and relative ones.
#include "cli/text/paths.h"

#include <algorithm>
#include <vector>

#include "cli/text/text.h"
#include "os/directory.h"

namespace cli {
namespace {

std::vector<std::string> partsOf(std::string_view path) {
  std::vector<std::string> parts;
  for (std::string& part : split(path, '/')) {
    if (part.empty() || part == ".") continue;
    if (part != "..") {
      parts.push_back(std::move(part));
    } else if (!parts.empty()) {
      parts.pop_back();
    }
  }
  return parts;
}

// What a whole path begins with: "/", and where there are drives and shares "V:/" and "//". "" for
// a relative one.
std::string_view rootOf(std::string_view path) {
  const bool hasDrive = os::hasDrives() && path.size() >= 3 && path.substr(1, 2) == ":/";
  const bool isShare = os::hasDrives() && path.starts_with("//");
  return path.substr(0, hasDrive ? 3 : isShare ? 2 : path.starts_with('/') ? 1 : 0);
}

// Whether nothing in a path, but for its root, is to be taken out: most are so, and many are asked
// about.
bool isClean(std::string_view path) {
  path.remove_prefix(rootOf(path).size());
  for (size_t start = 0;;) {
    const size_t end = std::min(path.find('/', start), path.size());
    const std::string_view part = path.substr(start, end - start);
    if (part.empty() || part == "." || part == "..") return false;
    if (end == path.size()) return true;
    start = end + 1;
  }
}

}  // namespace

std::string absolutePath(std::string_view base, std::string_view path) {
  std::string whole(path);
  if (os::hasDrives()) std::replace(whole.begin(), whole.end(), '\\', '/');
  if (rootOf(whole) == "/" && rootOf(base).size() > 2) whole.insert(0, base.substr(0, 2));
  if (rootOf(whole).empty()) whole = std::string(base) + '/' + whole;
  const std::string_view root = rootOf(whole);
  if (!root.empty() && isClean(whole)) return whole;
  std::string result(root.empty() ? "/" : root);
  for (const std::string& part : partsOf(std::string_view(whole).substr(root.size()))) {
    result += part + '/';
  }
  if (result.size() > std::max<size_t>(root.size(), 1)) result.pop_back();
  return result;
}

bool isBelow(std::string_view top, std::string_view path) {
  if (!os::isSamePath(top, path.substr(0, top.size()))) return false;
  return path.size() == top.size() || top.ends_with('/') || path[top.size()] == '/';
}

std::string relativePath(std::string_view from, std::string_view path) {
  const bool isPlain = from.size() != path.size() && from != rootOf(from) && isBelow(from, path) &&
                       isClean(from) && isClean(path);
  if (isPlain) return std::string(path.substr(from.size() + 1));
  if (!os::isSamePath(rootOf(from), rootOf(path))) return std::string(path);  // No way leads there.
  const auto start = partsOf(from);
  const auto end = partsOf(path);
  size_t same = 0;
  while (same < start.size() && same < end.size() && os::isSamePath(start[same], end[same])) ++same;
  std::string result;
  for (size_t i = same; i < start.size(); ++i) result += result.empty() ? ".." : "/..";
  for (size_t i = same; i < end.size(); ++i) result += (result.empty() ? "" : "/") + end[i];
  return result.empty() ? "." : result;
}

std::string_view directoryPart(std::string_view path) {
  const size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? "" : path.substr(0, slash);
}

std::string_view namePart(std::string_view path) { return path.substr(path.rfind('/') + 1); }

std::string joined(std::string_view directory, std::string_view name) {
  if (directory.empty() || name.empty()) return std::string(directory) + std::string(name);
  return std::string(directory) + (directory.ends_with('/') ? "" : "/") + std::string(name);
}

}  // namespace cli
