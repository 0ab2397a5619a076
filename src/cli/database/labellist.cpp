// cli/database/labellist.cpp: a line "revision, archive, path" for each file, with tabs between.
#include "cli/database/labellist.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/place.h"
#include "os/sibling.h"
#include "os/stop.h"
#include "runtime/nativepath.h"

namespace cli {
namespace {

constexpr uint64_t kLargest = uint64_t{1} << 30;
constexpr size_t kLongestName = 200;
constexpr std::string_view kEnding = ".txt";
constexpr int kTries = 50;
constexpr unsigned kPause = 100;  // Milliseconds.

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

constexpr size_t kHashSize = 17;  // Of what follows.
std::string hashText(const std::string& label) { return fmt::format("~{:016x}", hashOf(label)); }

constexpr std::string_view kHead = "trevault label 1 ";

Problem unreadable(const std::string& path) {
  return {path, "can't be read", "see what it is, and who owns it"};
}

// Empty for a file that is not there. One that is being replaced is waited for, where that shows.
std::string textOf(const std::string& path) {
  std::string text;
  os::FileResult result = os::readFile(path.c_str(), kLargest, &text);
  for (int tries = 1; tries < kTries && result == os::FileResult::kBusy; ++tries) {
    os::sleepMilliseconds(kPause);
    result = os::readFile(path.c_str(), kLargest, &text);
  }
  if (result == os::FileResult::kDone || result == os::FileResult::kMissing) return text;
  throw unreadable(path);
}

std::string headOf(const std::string& label) { return std::string(kHead) + escaped(label, ""); }

}  // namespace

std::string fileNameOf(const std::string& label) {
  std::string name = escaped(label, "/\\:*?\"<>|");
  if (name.starts_with('.')) name.replace(0, 1, "%2E");
  if (name.size() <= kLongestName) return name;
  return name.substr(0, kLongestName - kHashSize) + hashText(label);
}

std::vector<std::string> listedLabels(const std::string& directory) {
  std::vector<std::string> labels;
  const std::string place = joined(directory, "labels");
  const bool isWhole = os::forEachEntry(place.c_str(), [&](const char* name) {
    if (!std::string_view(name).ends_with(kEnding)) return;
    const std::string text = textOf(joined(place, name));
    const std::string head = text.substr(0, text.find('\n'));
    if (head.starts_with(kHead)) labels.push_back(unescaped(head.substr(kHead.size())));
  });
  if (!isWhole && os::hasEntry(place.c_str())) throw unreadable(place);
  std::sort(labels.begin(), labels.end());
  return labels;
}

LabelList::LabelList(const std::string& directory, std::string label)
    : start_(joined(joined(directory, "labels"), fileNameOf(label))), label_(std::move(label)) {
  static_cast<void>(take(choosePath()));
}

// What is there now.
std::string LabelList::choosePath() {
  path_ = (start_ + hashText(label_)).append(kEnding);
  if (os::hasEntry(path_.c_str())) return textOf(path_);
  const std::string plain = start_ + std::string(kEnding);
  std::string text = textOf(plain);
  const std::string head = text.substr(0, text.find('\n'));
  if (head != headOf(label_) && equalsButForCase(head, headOf(label_))) return "";
  path_ = plain;
  return text;
}

// False for what is no list of this label.
bool LabelList::take(const std::string& text) {
  const auto lines = split(text, '\n');
  if (lines.empty() || lines.front() != headOf(label_)) return false;
  for (size_t i = 1; i < lines.size(); ++i) {
    const auto fields = split(lines[i], '\t');
    if (fields.size() != 3) continue;
    const std::string archive = unescaped(fields[1]);
    const foldapi::PlainPath place(archive);
    files_.push_back(
        {unescaped(fields[2]), place.isValid() ? place.text() : archive, fields[0], archive});
  }
  return true;
}

void LabelList::set(const std::vector<LabelledFile>& files) {
  std::set<std::string> archives;
  for (const LabelledFile& each : files) archives.insert(each.archive);
  change([&] {
    drop(archives);
    files_.insert(files_.end(), files.begin(), files.end());
  });
}

void LabelList::remove(const std::set<std::string>& archives) {
  change([&] { drop(archives); });
}

void LabelList::drop(const std::set<std::string>& archives) {
  std::erase_if(files_, [&](const LabelledFile& each) { return archives.contains(each.archive); });
}

// The file is held from its read to its replacement: what others put on the list in between would
// be lost.
void LabelList::change(const std::function<void()>& edit) {
  os::FileResult result = os::FileResult::kBusy;
  for (int tries = 0; tries < kTries; ++tries) {
    os::File old;
    files_.clear();
    static_cast<void>(choosePath());
    result = old.openLocked(path_.c_str());
    if (result == os::FileResult::kDone) result = read(&old);
    if (result == os::FileResult::kDone || result == os::FileResult::kMissing) {
      edit();
      result = store(old);
    }
    const bool isAnothers = result == os::FileResult::kBusy || result == os::FileResult::kStale ||
                            result == os::FileResult::kExists;
    if (!isAnothers) break;
    if (os::isStopWanted()) throw Problem{"trevault", "stopped", "", Exit::kCancelled};
    os::sleepMilliseconds(kPause);
  }
  if (result == os::FileResult::kDone) return;
  throw Problem{path_, fmt::format("can't be written; {} does not remember its files", label_),
                "see who owns the directory"};
}

os::FileResult LabelList::read(os::File* file) {
  std::string text;
  const os::FileResult result = file->readAll(kLargest, &text);
  if (result != os::FileResult::kDone || take(text)) return result;
  throw Problem{path_, fmt::format("is no list of the files of {}, or damaged", label_),
                "restore it from a back-up, or remove it"};
}

// By their paths; without files the list goes. `old` is open if there is a list.
os::FileResult LabelList::store(const os::File& old) {
  if (files_.empty()) {
    return old.isOpen() ? os::removeFile(path_.c_str()) : os::FileResult::kDone;
  }
  std::sort(files_.begin(), files_.end(), [](const LabelledFile& left, const LabelledFile& right) {
    return left.path < right.path;
  });
  std::string text = headOf(label_) + '\n';
  for (const LabelledFile& each : files_) {
    const std::string& archive = each.written.empty() ? each.archive : each.written;
    text +=
        fmt::format("{}\t{}\t{}\n", each.revision, escaped(archive, ""), escaped(each.path, ""));
  }
  const std::string directory = os::parentOf(path_);
  const bool isNew = !os::hasEntry(directory.c_str());
  if (!os::makeDirectory(directory)) return os::FileResult::kRefused;
  if (isNew) os::shareWithGroup(directory);
  os::File placed;
  os::Place place;
  os::FileResult result = os::Place::of(path_, &place);
  if (result != os::FileResult::kDone) return result;
  result = os::replaceFile(place, old.isOpen() ? &old : nullptr, text, &placed);
  if (result == os::FileResult::kDone && !old.isOpen()) os::shareWithGroup(path_);
  return result;
}

}  // namespace cli
