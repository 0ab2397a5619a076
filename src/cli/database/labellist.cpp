// cli/database/labellist.cpp: a line "revision, archive, path" for each file, with tabs between.
#include "cli/database/labellist.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"
#include "os/sibling.h"

namespace cli {
namespace {

constexpr uint64_t kLargest = uint64_t{1} << 30;
constexpr size_t kLongestName = 200;

std::string escaped(std::string_view text, std::string_view which) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = byte >= 0x20 && c != '%' && which.find(c) == std::string_view::npos;
    result += isPlain ? std::string(1, c) : fmt::format("%{:02X}", byte);
  }
  return result;
}

std::string unescaped(std::string_view text) {
  const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%' || i + 2 >= text.size()) {
      result += text[i];
      continue;
    }
    result += static_cast<char>(digit(text[i + 1]) << 4 | digit(text[i + 2]));
    i += 2;
  }
  return result;
}

constexpr std::string_view kHead = "trevault label 1 ";

std::string headOf(const std::string& label) { return std::string(kHead) + escaped(label, ""); }

}  // namespace

std::string fileNameOf(const std::string& label) {
  std::string name = escaped(label, "/\\:*?\"<>|");
  if (name.starts_with('.')) name.replace(0, 1, "%2E");
  if (name.size() <= kLongestName) return name;
  return name.substr(0, kLongestName - 17) + fmt::format("~{:016x}", hashOf(label));
}

std::vector<std::string> listedLabels(const std::string& directory) {
  std::vector<std::string> labels;
  const std::string place = joined(directory, "labels");
  os::forEachEntry(place.c_str(), [&](const char* name) {
    std::string text;
    const std::string path = joined(place, name);
    if (os::readFile(path.c_str(), kLargest, &text) != os::FileResult::kDone) return;
    const std::string head = text.substr(0, text.find('\n'));
    if (head.starts_with(kHead)) labels.push_back(unescaped(head.substr(kHead.size())));
  });
  std::sort(labels.begin(), labels.end());
  return labels;
}

LabelList::LabelList(const std::string& directory, std::string label)
    : path_(joined(joined(directory, "labels"), fileNameOf(label) + ".txt")),
      label_(std::move(label)) {
  std::string text;
  if (os::readFile(path_.c_str(), kLargest, &text) != os::FileResult::kDone) return;
  const auto lines = split(text, '\n');
  if (lines.empty() || lines.front() != headOf(label_)) return;
  for (size_t i = 1; i < lines.size(); ++i) {
    const auto fields = split(lines[i], '\t');
    if (fields.size() != 3) continue;
    files_.push_back({unescaped(fields[2]), unescaped(fields[1]), fields[0]});
  }
}

void LabelList::set(const std::vector<LabelledFile>& files) {
  std::set<std::string> archives;
  for (const LabelledFile& each : files) archives.insert(each.archive);
  remove(archives);
  files_.insert(files_.end(), files.begin(), files.end());
}

void LabelList::remove(const std::set<std::string>& archives) {
  std::erase_if(files_, [&](const LabelledFile& each) { return archives.contains(each.archive); });
}

void LabelList::store() {
  if (files_.empty()) {
    static_cast<void>(os::removeFile(path_.c_str()));
    return;
  }
  std::sort(files_.begin(), files_.end(), [](const LabelledFile& left, const LabelledFile& right) {
    return left.path < right.path;
  });
  std::string text = headOf(label_) + '\n';
  for (const LabelledFile& each : files_) {
    text += fmt::format("{}\t{}\t{}\n", each.revision, escaped(each.archive, ""),
                        escaped(each.path, ""));
  }
  const std::string directory = os::parentOf(path_);
  const bool isNew = !os::hasEntry(directory.c_str());
  const bool hasDirectory = os::makeDirectory(directory);
  if (isNew) os::shareWithGroup(directory);
  os::File old;
  os::File placed;
  os::Place place;
  const bool isThere = old.open(path_.c_str(), os::File::Access::kUpdate) == os::FileResult::kDone;
  if (!hasDirectory || os::Place::of(path_, &place) != os::FileResult::kDone ||
      os::replaceFile(place, isThere ? &old : nullptr, text, &placed) != os::FileResult::kDone) {
    throw Problem{path_, fmt::format("can't be written; {} does not remember its files", label_),
                  "see who owns the directory"};
  }
  if (!isThere) os::shareWithGroup(path_);
}

}  // namespace cli
