// btkf520/operations/names.cpp: cutting and joining path texts and names.
#include "btkf520/operations/names.h"

#include "btkf520/archive/number.h"
#include "btkf520/configuration/text.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/workfile.h"

namespace btkf {
namespace {

constexpr std::string_view kSeparators = "/\\";

// Without a directory.
std::string archiveName(std::string_view workfile) {
  const std::string_view name = fileName(workfile);
  const size_t dot = name.rfind('.');
  const std::string_view extension = dot == std::string_view::npos ? "" : name.substr(dot + 1);
  return std::string(name) + configuration().archiveSuffix(extension);
}

// An archive that a batch is making counts.
bool isFile(std::string_view text) {
  const auto path = systemPath(std::string(text));
  if (!path) return false;
  const auto status = statusAt(*path);
  return status ? status->isRegular : Surroundings::current().batch().hasWaiting(*path);
}

// Whether a "(" was found at `at`, and something before it.
bool hasArchiveBefore(size_t at) { return at != 0 && at != std::string_view::npos; }

// The "(" that belongs to the ")" at the end, npos for none.
size_t outermostPair(std::string_view text) {
  int depth = 0;
  for (size_t at = text.size(); at-- > 0;) {
    if (text[at] == ')') ++depth;
    if (text[at] == '(' && --depth == 0) return at;
  }
  return std::string_view::npos;
}

}  // namespace

Target Target::parse(std::string_view text) {
  if (!text.ends_with(')') || isFile(text)) return {std::string(text), ""};
  size_t at = text.size();
  do {
    at = text.rfind('(', at - 1);
  } while (hasArchiveBefore(at) && !isFile(text.substr(0, at)));
  if (!hasArchiveBefore(at)) at = outermostPair(text);
  if (!hasArchiveBefore(at)) return {std::string(text), ""};
  return {std::string(text.substr(0, at)), std::string(text.substr(at + 1, text.size() - at - 2))};
}

std::string_view fileName(std::string_view path) {
  const size_t separator = path.find_last_of(kSeparators);
  if (separator != std::string_view::npos) return path.substr(separator + 1);
  return path.substr(hasDrive(path) ? 2 : 0);
}

std::string joined(std::string_view directory, std::string_view name) {
  std::string result(directory);
  const bool isDrive = hasDrive(directory) && directory.size() == 2;
  if (!result.empty() && !isDrive && kSeparators.find(result.back()) == std::string_view::npos) {
    const size_t separator = directory.find_first_of(kSeparators);
    result += separator == std::string_view::npos ? '/' : directory[separator];
  }
  return result.append(name);
}

std::string archivePathText(std::string_view workfile) {
  const std::string name = archiveName(workfile);
  const std::vector<std::string> directories = configuration().archiveDirectories();
  for (const std::string& directory : directories) {
    const std::string text = joined(directory, name);
    const auto path = systemPath(text);
    if (path && (statusAt(*path) || isFile(text))) return text;
  }
  return directories.empty() ? name : joined(directories.front(), name);
}

bool isGoodLabel(std::string_view name) { return isGoodName(name) && !Number::parse(name); }

}  // namespace btkf
