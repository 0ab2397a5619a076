// toolkit/directives.cpp: edits a configuration file line by line, and tries it out first.
#include "toolkit/directives.h"

#include <algorithm>
#include <new>
#include <utility>

#include "btkf520/btkf520.h"
#include "os/file.h"
#include "runtime/files.h"
#include "runtime/nativepath.h"
#include "toolkit/bracket.h"

namespace foldapi {
namespace {

constexpr uint64_t kLargest = 1 << 20;  // Of a configuration file.
constexpr size_t kLongestValue = 8000;

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

// The name in upper case, and the value.
std::pair<std::string, std::string> parsed(const std::string& line) {
  const std::string text = trimmed(line);
  const size_t end = text.find_first_of(" \t=");
  if (text.starts_with('#') || end == std::string::npos) return {upper(text), ""};
  std::string value = trimmed(text.substr(end));
  if (value.starts_with('=')) value = trimmed(value.substr(1));
  return {upper(text.substr(0, end)), value};
}

bool isOneLine(const std::string& value) {
  return value.size() <= kLongestValue && std::none_of(value.begin(), value.end(), [](char c) {
           return static_cast<unsigned char>(c) < 0x20 && c != '\t';
         });
}

// Puts the directive there, and gives the number of its line.
int32_t setLine(std::vector<std::string>* lines, const std::string& name,
                const std::string& value) {
  const std::string subject = subjectOf(name, value);
  size_t place = lines->size();
  int depth = 0;
  for (size_t i = 0; i < lines->size(); ++i) {
    const auto& [found, what] = parsed((*lines)[i]);
    if (found == "IF") ++depth;
    if (found == "ENDIF") --depth;
    if (depth == 0 && subjectOf(found, what) == subject) place = i;
  }
  if (place == lines->size()) {
    while (!lines->empty() && trimmed(lines->back()).empty()) lines->pop_back();
    place = lines->size();
    lines->emplace_back();
  }
  (*lines)[place] = name + (subject == name ? " = " : " ") + value + '\r';
  return static_cast<int32_t>(place) + 1;
}

std::vector<std::string> linesOf(std::string_view text) {
  std::vector<std::string> lines;
  for (size_t end = 0; !text.empty(); text.remove_prefix(std::min(end + 1, text.size()))) {
    end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
  }
  return lines;
}

// A state of the toolkit for one load, which says what it thinks of the lines of one file.
class TrialLoad {
 public:
  TrialLoad() {
    if (TrvsNewState(&state_) != TRVS_DONE) throw std::bad_alloc();
    static_cast<void>(TrvsExchangeState(&state_));
    connectToolkit();
    const TrvsBadDirectiveCallback callback = take;
    const auto plain = reinterpret_cast<void (*)()>(callback);
    TrvsRegisterCallback(TRVS_CALLBACK_BAD_DIRECTIVE, reinterpret_cast<TrvsCallback>(plain));
    present_ = this;
  }
  TrialLoad(const TrialLoad&) = delete;
  TrialLoad& operator=(const TrialLoad&) = delete;
  ~TrialLoad() {
    present_ = nullptr;
    static_cast<void>(TrvsExchangeState(&state_));
    static_cast<void>(TrvsFreeState(state_));
  }

  int32_t run(const VPathString& rootPath, const VPathString& path) {
    int32_t mode = TRVS_READ_FIRST;
    if (fileExists(rootPath.view()) &&
        TrvsQueryConfiguration(rootPath.text(), 0, 0, TRVS_READ_MASTER) == TRVS_DONE) {
      mode = TRVS_READ_FOLLOWING;
    }
    path_ = path.str();
    return TrvsQueryConfiguration(path.text(), 0, 0, mode);
  }

  // Line 0 is the promotion model as a whole.
  int32_t complaintAt(int32_t line) const {
    const auto found = std::find_if(complaints_.begin(), complaints_.end(),
                                    [=](const auto& each) { return each.first == line; });
    return found == complaints_.end() ? TRVS_DONE : found->second;
  }

 private:
  static int32_t take(int32_t code, const char*, const char* file, int32_t line) noexcept {
    if (file == present_->path_) present_->complaints_.emplace_back(line, code);
    return TRVS_GO_ON;
  }

  static inline TrialLoad* present_ = nullptr;

  TrvsState* state_ = nullptr;  // The one that was in place before.
  std::string path_;
  std::vector<std::pair<int32_t, int32_t>> complaints_;
};

// Beside the file itself, so that what it includes is found.
SetResult tryOut(const VPathString& rootPath, const VPathString& path, std::string_view text,
                 const std::string& name, const std::vector<int32_t>& lines) {
  const VPathString trial = path + ".try";
  if (!replaceFile(trial.view(), text)) return {TRVS_CANNOT_WRITE, {}};
  TrialLoad load;
  const int32_t status = load.run(rootPath, trial);
  removeFile(trial.view());
  if (status != TRVS_DONE) return {status, {}};
  for (size_t i = 0; i < lines.size(); ++i) {
    const int32_t complaint = load.complaintAt(lines[i]);
    if (complaint != TRVS_DONE) return {complaint, i};
  }
  const int32_t ofModel = name == "PROMOTE" ? load.complaintAt(0) : TRVS_DONE;
  if (ofModel != TRVS_DONE) return {ofModel, lines.size() - 1};
  return {TRVS_DONE, {}};
}

}  // namespace

SetResult SetDirective(TVHandle& project, std::string name, const std::vector<std::string>& values,
                       Trial trial) {
  if (project.isNull()) return {TRVS_MISUSE, {}};
  const VPathString path = project.object()->projectConfig().path;
  os::File old;
  std::string text;
  const os::FileResult opened = old.openLocked(nativePath(path.view()).c_str());
  if (opened == os::FileResult::kBusy) return {TRVS_IN_USE, {}};
  if (opened != os::FileResult::kDone || old.readAll(kLargest, &text) != os::FileResult::kDone) {
    return {TRVS_CANNOT_READ_CONFIGURATION, {}};
  }
  if (TrvsCheckConfiguration(text.data(), static_cast<int32_t>(text.size())) != TRVS_DONE) {
    return {TRVS_INVALID_LINE, {}};
  }
  name = upper(std::move(name));
  std::vector<std::string> all = linesOf(text);
  std::vector<int32_t> lines;
  for (size_t i = 0; i < values.size(); ++i) {
    if (!isOneLine(values[i])) return {TRVS_INVALID_LINE, i};
    lines.push_back(setLine(&all, name, values[i]));
  }
  text.clear();
  for (const std::string& line : all) text += line + '\n';
  const SetResult result = tryOut(project.object()->rootConfig().path, path, text, name, lines);
  if (result.status != TRVS_DONE || trial == Trial::kOnly) return result;
  return {replaceFile(path.view(), text) ? TRVS_DONE : TRVS_CANNOT_WRITE, {}};
}

}  // namespace foldapi
