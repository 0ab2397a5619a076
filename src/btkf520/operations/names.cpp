// btkf520/operations/names.cpp: cutting and joining path texts and names.
#include "btkf520/operations/names.h"

#include "btkf520/archive/number.h"
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

}  // namespace

Target Target::parse(std::string_view text) {
  if (text.ends_with(')')) {
    int depth = 0;
    for (size_t i = text.size(); i-- > 1;) {
      if (text[i] == ')') ++depth;
      if (text[i] == '(' && --depth == 0) {
        return {std::string(text.substr(0, i)),
                std::string(text.substr(i + 1, text.size() - i - 2))};
      }
    }
  }
  return {std::string(text), ""};
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
    if (path && statusAt(*path)) return text;
  }
  return directories.empty() ? name : joined(directories.front(), name);
}

bool isGoodLabel(std::string_view name) { return isGoodName(name) && !Number::parse(name); }

}  // namespace btkf
