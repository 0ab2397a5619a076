// cli/commands/configuration.cpp: lists directives, and edits files of them line by line.
#include "cli/commands/configuration.h"

#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/file.h"
#include "os/sibling.h"
#include "runtime/nativepath.h"

namespace cli {
namespace {

constexpr uint64_t kLargest = 1 << 20;

std::string upper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

std::string trimmed(const std::string& text) {
  const size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

// What a directive settles: its name, and for those that settle several things which one.
std::string subjectOf(const std::string& name, const std::string& value) {
  const bool isKeyed = name == "PROMOTE" || name == "ARCHIVESUFFIX" || name == "EVENTTRIGGER";
  if (!isKeyed || value.empty()) return name;
  std::string key = trimmed(value.substr(0, value.find('=')));
  if (name == "PROMOTE") return name + ' ' + key;
  if (name == "ARCHIVESUFFIX" && key.size() > 1 && key.front() == '.') key.erase(0, 1);
  return name + ' ' + upper(key);
}

struct Directive {
  std::string name;
  std::string value;
};

Directive parsed(const std::string& line) {
  const std::string text = trimmed(line);
  const size_t end = text.find_first_of(" \t=");
  if (text.starts_with('#') || end == std::string::npos) return {upper(text), ""};
  std::string value = trimmed(text.substr(end));
  if (value.starts_with('=')) value = trimmed(value.substr(1));
  return {upper(text.substr(0, end)), value};
}

// What the engine said about the file that is tried out.
struct Complaint {
  int32_t code = 0;
  int line = 0;
};
std::vector<Complaint>* theComplaints = nullptr;

int32_t takeComplaint(int32_t code, const char*, const char*, int32_t number) {
  if (theComplaints != nullptr) theComplaints->push_back({code, number});
  return TRVS_GO_ON;
}

template <typename Function>
void registerForBadDirectives(Function* function) {
  const auto plain = reinterpret_cast<void (*)()>(function);
  TrvsRegisterCallback(TRVS_CALLBACK_BAD_DIRECTIVE, reinterpret_cast<TrvsCallback>(plain));
}

std::string wordsFor(int32_t code) {
  switch (code) {
    case TRVS_NO_TOP_GROUP:
      return "promotion would go in a circle";
    case TRVS_SEVERAL_TOP_GROUPS:
      return "there would be several top groups";
    case TRVS_DISALLOWED:
      return "the master file does not allow it here";
    default:
      return "not a value that it can have";
  }
}

}  // namespace

std::string Setting::place() const {
  return file.empty() ? "default" : fmt::format("{}:{}", shown(namePart(file)), line);
}

std::vector<Setting> presentSettings() {
  const auto texts =
      fetchList([](char* buffer, int32_t size) { return TrvsListConfiguration(buffer, size); },
                {.file = "trevault"});
  std::vector<Setting> settings;
  for (size_t i = 0; i + 3 < texts.size(); i += 4) {
    const std::string file = texts[i + 2].empty() ? "" : foldapi::nativePath(texts[i + 2]);
    settings.push_back({texts[i], texts[i + 1], file, std::stoi(texts[i + 3])});
  }
  return settings;
}

std::string withSetting(const std::string& text, const std::string& name, const std::string& value,
                        int* line) {
  std::vector<std::string> lines = split(text, '\n');
  const std::string subject = subjectOf(name, value);
  size_t place = lines.size();
  int depth = 0;
  for (size_t i = 0; i < lines.size(); ++i) {
    const Directive directive = parsed(lines[i]);
    if (directive.name == "IF") ++depth;
    if (directive.name == "ENDIF") --depth;
    if (depth == 0 && subjectOf(directive.name, directive.value) == subject) place = i;
  }
  if (place == lines.size()) {
    while (!lines.empty() && trimmed(lines.back()).empty()) lines.pop_back();
    place = lines.size();
    lines.emplace_back();
  }
  const bool isPair = subject != name;
  lines[place] = fmt::format("{}{}{}\r", name, isPair ? " " : " = ", value);
  *line = static_cast<int>(place) + 1;
  std::string result;
  for (const std::string& each : lines) result += each + '\n';
  return result;
}

void SettingChange::run(bool isDry) {
  os::File old;
  const os::FileResult opened = old.openLocked(path_.c_str());
  if (opened == os::FileResult::kBusy) {
    throw Problem{path_, "another program is changing it", "try again"};
  }
  std::string text;
  if (opened != os::FileResult::kDone || old.readAll(kLargest, &text) != os::FileResult::kDone) {
    throw Problem{path_, "can't be read or changed", "see who owns it"};
  }
  if (TrvsCheckConfiguration(text.data(), static_cast<int32_t>(text.size())) != TRVS_DONE) {
    throw Problem{path_, "is no configuration: there is no directive among its lines",
                  "see who names it as one"};
  }
  std::vector<int> lines;
  for (const std::string& value : values_) {
    text = withSetting(text, name_, value, &lines.emplace_back());
  }
  tryOut(text, lines);
  if (isDry) return;
  const os::Place place = old.place();
  os::File placed;
  if (os::replaceFile(place, &old, text, &placed) != os::FileResult::kDone) {
    throw Problem{path_, "can't be written", "see whether the disk is full, and who owns it"};
  }
}

// Beside the file itself, so that what it includes is found. It adds to what holds already.
void SettingChange::tryOut(const std::string& text, const std::vector<int>& lines) const {
  os::SiblingFile trial;
  const std::string path = path_ + ".try";
  const bool isWritten =
      trial.open(path) == os::FileResult::kDone && trial.write(text) == os::FileResult::kDone &&
      trial.giveRights(nullptr) == os::FileResult::kDone &&
      trial.finish(os::SiblingFile::Naming::kReplace, os::SiblingFile::Safety::kSoon, nullptr) ==
          os::FileResult::kDone;
  if (!isWritten) throw Problem{path, "can't be written", "see who owns the directory"};
  std::vector<Complaint> complaints;
  theComplaints = &complaints;
  registerForBadDirectives(takeComplaint);
  const int32_t status = TrvsQueryConfiguration(path.c_str(), 0, 0, TRVS_READ_FOLLOWING);
  theComplaints = nullptr;
  static_cast<void>(os::removeFile(path.c_str()));
  check(status, {.file = path_});
  for (const Complaint& each : complaints) {
    const auto found = std::find(lines.begin(), lines.end(), each.line);
    const bool isModel = each.line == 0 && name_ == "PROMOTE";
    if (found == lines.end() && !isModel) continue;
    const std::string value =
        isModel ? values_.back() : values_[static_cast<size_t>(found - lines.begin())];
    throw misuse(fmt::format("{} '{}'", name_, value), wordsFor(each.code));
  }
}

}  // namespace cli
