// runtime/paths.cpp: the grammar of path text, kept away from every disk.
//
// Databases move between systems, so a text like "c:\x" must read the same on all of them: both
// separators count everywhere, and what a function writes follows what it was given.
#include "runtime/paths.h"

#include <algorithm>

#include "os/directory.h"
#include "runtime/files.h"
#include "runtime/mbstring.h"
#include "runtime/nativepath.h"

namespace foldapi {
namespace {

// What the system's own people write between the parts of a path.
char platformSeparator() { return os::hasDrives() ? '\\' : '/'; }

bool isSeparatorByte(char c) { return c == '\\' || c == '/'; }

// Whether the byte at `at` is a separator and not the trail byte of a character.
bool isSeparatorAt(std::string_view path, size_t at) {
  return isSeparatorByte(path[at]) && mbTrailOffset(path, at) == 0;
}

// Where a directory may end: a ":" anywhere else belongs to a name.
bool isDelimiterAt(std::string_view path, size_t at) {
  return isSeparatorAt(path, at) || (at == 1 && hasDrive(path));
}

bool endsInSeparator(std::string_view path) {
  return !path.empty() && isSeparatorAt(path, path.size() - 1);
}

bool endsInDelimiter(std::string_view path) {
  return !path.empty() && isDelimiterAt(path, path.size() - 1);
}

// The first separator at or after `from`, the length with none.
size_t findSeparator(std::string_view path, size_t from) {
  while (from < path.size() && !isSeparatorAt(path, from)) ++from;
  return from;
}

// The separator to write: the first one of the operands, in their order.
char separatorOf(std::string_view first, std::string_view second = {},
                 std::string_view third = {}) {
  for (const std::string_view path : {first, second, third}) {
    const size_t at = findSeparator(path, 0);
    if (at < path.size()) return path[at];
  }
  return platformSeparator();
}

bool isShare(std::string_view path) { return path.starts_with("\\\\") || path.starts_with("//"); }

size_t prefixLength(std::string_view path) { return hasDrive(path) || isShare(path) ? 2 : 0; }

// The output of normalisePath() as it grows.
class NormalisedPath {
 public:
  explicit NormalisedPath(std::string_view path) : separator_(separatorOf(path)) {
    root_ = prefixLength(path);
    if (root_ < path.size() && isSeparatorAt(path, root_)) ++root_;
    out_ = path.substr(0, root_);
  }

  size_t rootLength() const { return root_; }
  bool needsDot() const { return out_.empty() || (out_.size() == 2 && hasDrive(out_)); }
  std::string take() { return std::move(out_); }

  void add(std::string_view component) {
    if (!out_.empty() && !endsInDelimiter(out_)) out_ += separator_;
    out_ += component;
  }

  // Takes one step up. False if that would climb above the root.
  bool climb() {
    if (needsDot() || endsInParent()) {
      add("..");
      return true;
    }
    if (endsInSeparator(out_)) return false;
    size_t cut = pathPartLength(out_);
    if (cut > root_) --cut;  // The separator is cut as well, but for the root's.
    out_.resize(cut);
    return true;
  }

 private:
  bool endsInParent() const { return std::string_view(out_).substr(pathPartLength(out_)) == ".."; }

  char separator_;
  size_t root_;
  std::string out_;
};

// What of `base` a path is compared with, if the path names its drive or server or leaves it out.
std::string_view comparedPart(std::string_view base, std::string_view path) {
  const bool isHighByte = !path.empty() && static_cast<unsigned char>(path[0]) >= 128;
  if (hasDrive(base) && (!hasDrive(path) || isHighByte)) return base.substr(2);
  if (isShare(base) && !isShare(path)) return base.substr(findSeparator(base, 2));
  return base;
}

struct FileParts {
  std::string_view directory;  // Its last separator included.
  std::string_view stem;
  std::string_view extension;  // Without the ".".
};

FileParts splitFile(std::string_view path) {
  const size_t start = pathPartLength(path);
  const std::string_view file = path.substr(start);
  const size_t dot = mbFindLastByte(file, '.');
  if (dot == std::string_view::npos || dot == 0) return {path.substr(0, start), file, {}};
  return {path.substr(0, start), file.substr(0, dot), file.substr(dot + 1)};
}

// The end of the part of `path` that no directory can be made for: drive, or server and share.
size_t endOfMount(std::string_view path) {
  if (!isShare(path)) return prefixLength(path);
  const size_t serverEnd = findSeparator(path, 2);
  return std::min(findSeparator(path, serverEnd + 1), path.size());
}

// Which characters a pass of cleanFileName() drops; later passes drop more.
bool isDropped(uint16_t character, uint16_t lastSeen, int pass) {
  if (pass >= 4 && character == lastSeen) return true;
  if (character > 0xff) return false;
  const uint16_t classes = characterClasses(static_cast<char>(character));
  if (pass >= 3 && (classes & kCharVowel) != 0) return true;
  if (pass >= 2 && character == '_') return true;
  return character < 128 && (classes & kCharGraphic) == 0;
}

// One pass; tells whether it came to the end of `source`.
bool cleanInPass(std::string_view source, size_t limit, int pass, std::string* target) {
  target->clear();
  uint16_t lastSeen = 0;
  for (size_t at = 0; mbCharLength(source, at) != 0;) {
    if (target->size() == limit) return false;
    uint16_t character = mbNext(source, &at);
    if (character <= 0xff &&
        (characterClasses(static_cast<char>(character)) & kCharAlphanumeric) == 0) {
      character = '_';
    }
    const bool drop = isDropped(character, lastSeen, pass);
    lastSeen = character;
    if (drop) continue;
    char bytes[2];
    const size_t length = mbPut(character, bytes);
    if (target->size() + length > limit) return false;
    target->append(bytes, length);
  }
  return true;
}

}  // namespace

bool hasDrive(std::string_view path) {
  if (path.size() < 2 || path[1] != ':') return false;
  const auto letter = static_cast<unsigned char>(path[0] | 0x20);
  return letter >= 'a' && letter <= 'z';
}

bool hasPathPrefix(std::string_view path) {
  return prefixLength(path) != 0 || path.starts_with(platformSeparator());
}

std::string normalisePath(std::string_view path) {
  NormalisedPath out(path);
  for (size_t at = out.rootLength(); at < path.size();) {
    const size_t end = findSeparator(path, at);
    std::string_view component = path.substr(at, end - at);
    at = end + 1;
    if (component == "..") {
      if (!out.climb()) return {};
      continue;
    }
    while (component.ends_with('.')) component.remove_suffix(1);
    if (!component.empty()) out.add(component);
  }
  const bool needsDot = out.needsDot();
  std::string result = out.take();
  if (needsDot && path.size() > result.size()) result += '.';
  return result;
}

std::string joinPath(std::string_view dir, std::string_view name, std::string_view like) {
  if (hasPathPrefix(name)) return std::string(name);
  std::string result;
  result.reserve(dir.size() + name.size() + 1);
  result = dir;
  if (!dir.empty() && !name.empty() && !endsInDelimiter(dir) && !isSeparatorAt(name, 0)) {
    result += separatorOf(dir, name, like);
  }
  result += name;
  return result;
}

std::string buildPath(std::string_view dir, std::string_view name, std::string_view like) {
  std::string result = unifySeparators(dir);
  if (!result.empty() && !endsInDelimiter(result)) result += separatorOf(result, name, like);
  return result.append(name);
}

std::string relativePath(std::string_view base, std::string_view path) {
  const std::string_view compared = comparedPart(base, path);
  const std::string_view start = path.substr(0, compared.size());
  const bool isBelow =
      prefixLength(base) != 0 ? mbCompareNoCase(start, compared) == 0 : start == compared;
  if (base.empty() || !isBelow || start.size() != compared.size()) return std::string(path);
  const std::string_view rest = path.substr(compared.size());
  if (rest.empty()) return {};
  if (!isSeparatorAt(path, compared.size())) return std::string(path);
  return std::string(rest.substr(1));
}

size_t pathPartLength(std::string_view path) {
  for (size_t end = path.size(); end != 0; --end) {
    if (isDelimiterAt(path, end - 1)) return end;
  }
  return 0;
}

std::string unifySeparators(std::string_view path) {
  std::string result(path);
  const char separator = separatorOf(path);
  for (size_t i = 0; i < result.size(); ++i) {
    if (isSeparatorAt(path, i)) result[i] = separator;
  }
  return result;
}

int makeDirectories(std::string_view path) {
  const size_t length = pathPartLength(path);
  if (length == 0 || isDirectory(path.substr(0, length))) return 0;
  for (size_t at = endOfMount(path); at < length; ++at) {
    if (!isSeparatorAt(path, at)) continue;
    if (at != 0 && (path[at - 1] == '.' || (at == 2 && hasDrive(path)))) continue;
    const std::string_view directory = path.substr(0, at);
    if (!isDirectory(directory) && !os::makeDirectory(nativePath(directory))) return -1;
  }
  return 0;
}

std::string limitToShortName(std::string_view path) {
  constexpr size_t kStemLimit = 8, kExtensionLimit = 3;
  const FileParts parts = splitFile(path);
  std::string result(parts.directory);
  result += parts.stem.substr(0, kStemLimit);
  if (!parts.extension.empty()) {
    result.append(".").append(parts.extension.substr(0, kExtensionLimit));
  }
  return result;
}

std::string cleanFileName(std::string_view source, size_t limit) {
  constexpr int kPasses = 4;
  std::string target;
  for (int pass = 1; pass <= kPasses; ++pass) {
    if (cleanInPass(source, limit, pass, &target)) break;
  }
  return target;
}

}  // namespace foldapi
