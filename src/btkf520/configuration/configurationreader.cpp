// btkf520/configuration/configurationreader.cpp: from files to lines to directives.
//
// Structure is settled here: line ends, comments, conditionals, includes, and which file may say
// what. What a setting's value means is settled in configuration.cpp.
#include "btkf520/configuration/configurationreader.h"

#include <algorithm>
#include <utility>

#include "btkf520/configuration/text.h"

namespace btkf {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kSeparators = "/\\";

struct Directive {
  std::string name;  // In upper case.
  std::string_view value;
};

// Cuts "NAME = value" or "NAME value". Nothing for a line that is neither.
std::optional<Directive> parse(std::string_view line) {
  line = trimmed(line);
  if (line.find('\0') != std::string_view::npos) return {};
  const auto end = std::find_if_not(line.begin(), line.end(), isNameCharacter);
  const std::string_view name = line.substr(0, static_cast<size_t>(end - line.begin()));
  const std::string_view rest = line.substr(name.size());
  std::string_view value = trimmed(rest);
  const bool hasEquals = value.starts_with('=');
  if (name.empty() || (!rest.empty() && !hasEquals && rest.size() == value.size())) return {};
  if (hasEquals) value = trimmed(value.substr(1));
  return Directive{upperCase(name), value};
}

bool isComment(std::string_view line) {
  return trimmed(line).empty() || trimmed(line).starts_with('#');
}

bool isConditional(const std::string& name) {
  return name == "IF" || name == "ELSEIF" || name == "ELSE" || name == "ENDIF";
}

bool isAbsolute(std::string_view path) {
  return path.starts_with('/') || path.starts_with('\\') || hasDrive(path);
}

// Whether the file may be read a moment later: there was no free descriptor, or another machine was
// replacing it.
bool mayPass(os::FileResult result) {
  return result == os::FileResult::kFailed || result == os::FileResult::kStale;
}

// Where `including` says that `path` is, as text.
std::string placeOf(std::string_view path, const std::string& including) {
  if (isAbsolute(path)) return std::string(path);
  const size_t end = including.find_last_of(kSeparators);
  const size_t drive = hasDrive(including) ? 2 : 0;
  return including.substr(0, end == std::string::npos ? drive : end + 1).append(path);
}

// One text in the place of files, which includes empty ones.
class TextHost final : public ConfigurationHost {
 public:
  explicit TextHost(std::string_view text) : text_(text) {}
  bool hasBadOnes() const { return hasBadOnes_; }

 private:
  os::FileResult readFile(const std::string& /*path*/, size_t /*largest*/,
                          FileText* file) override {
    *file = {std::string(std::exchange(text_, "")), {0, ++files_}};
    return os::FileResult::kDone;
  }
  std::optional<std::string> variable(const std::string& /*name*/) override { return {}; }
  bool report(const BadDirective& /*directive*/) override { return hasBadOnes_ = true; }

  std::string_view text_;
  uint64_t files_ = 0;
  bool hasBadOnes_ = false;
};

}  // namespace

ConfigurationReader::ConfigurationReader(ConfigurationHost* host, TrvsReadMode mode,
                                         Configuration* configuration)
    : host_(host), mode_(mode), configuration_(configuration) {}

TrvsStatus ConfigurationReader::read(const std::string& path) {
  FileText file;
  if (host_->readFile(path, kLargestFile, &file) != os::FileResult::kDone) {
    return TRVS_CANNOT_READ_CONFIGURATION;
  }
  const PromotionModel before = configuration_->promotion();
  readText(path, file);
  if (state_ == State::kUnreadable) return TRVS_CANNOT_READ_CONFIGURATION;
  checkPromotion(path, before);
  return state_ == State::kCancelled ? TRVS_CANCELLED : TRVS_DONE;
}

void ConfigurationReader::readText(const std::string& path, const FileText& file) {
  ++files_;
  bytes_ += file.text.size();
  const bool mayBeTrusted = open_.empty() ? mode_ == TRVS_READ_MASTER : open_.back().isTrusted;
  open_.push_back({std::make_shared<const std::string>(path),
                   file.identity,
                   file.owner,
                   mayBeTrusted && file.isTrusted,
                   {},
                   {}});
  std::string_view rest = file.text;
  if (rest.starts_with(kByteOrderMark)) rest.remove_prefix(kByteOrderMark.size());
  while (!rest.empty() && state_ == State::kReading) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    open_.back().line = line;
    ++open_.back().number;
    const TrvsStatus status = takeLine();
    if (status != TRVS_DONE) report(status, line, path, open_.back().number);
  }
  const std::optional<Conditionals::Opening> unclosed = open_.back().conditionals.unclosed();
  if (unclosed && state_ == State::kReading) {
    report(TRVS_BAD_CONDITIONAL, unclosed->text, path, unclosed->line);
  }
  open_.pop_back();
}

TrvsStatus ConfigurationReader::takeLine() {
  const OpenFile& file = open_.back();
  const bool reading = file.conditionals.isReading();
  if (isComment(file.line)) return TRVS_DONE;
  std::optional<Directive> directive;
  if (file.line.size() <= kLongestLine) directive = parse(file.line);
  if (!directive) return reading ? TRVS_INVALID_LINE : TRVS_DONE;
  if (isConditional(directive->name)) return takeConditional(directive->name, directive->value);
  return reading ? takeDirective(directive->name, directive->value) : TRVS_DONE;
}

TrvsStatus ConfigurationReader::takeConditional(const std::string& name, std::string_view value) {
  OpenFile& file = open_.back();
  Conditionals& conditionals = file.conditionals;
  std::optional<bool> condition = false;
  bool inPlace = true;
  if (name == "IF") {
    if (conditionals.asksForIf()) condition = evaluate(value);
    conditionals.open(condition, {file.number, std::string(file.line.substr(0, kReportedLine))});
  } else if (name == "ELSEIF") {
    if (conditionals.asksForElseif()) condition = evaluate(value);
    inPlace = conditionals.elseif(condition);
  } else {
    // Whatever stands after ELSE or ENDIF was meant for another line: they act, and are reported.
    inPlace = name == "ELSE" ? conditionals.otherwise() : conditionals.close();
    inPlace = inPlace && value.empty();
  }
  return inPlace && condition ? TRVS_DONE : TRVS_BAD_CONDITIONAL;
}

TrvsStatus ConfigurationReader::takeDirective(const std::string& name, std::string_view value) {
  if (mode_ == TRVS_READ_FOLLOWING && configuration_->isDisallowed(name)) return TRVS_DISALLOWED;
  TrvsStatus status = TRVS_DONE;
  if (name == "INCLUDE") {
    status = include(value);
  } else if (name == "DISALLOW") {
    status = disallow(value);
  } else if (!configuration_->set(name, value, origin())) {
    status = TRVS_INVALID_LINE;
  }
  hasTakenAny_ = hasTakenAny_ || status == TRVS_DONE;
  return status;
}

TrvsStatus ConfigurationReader::include(std::string_view value) {
  if (value.empty()) return TRVS_BAD_INCLUDE;
  if (open_.size() == kDeepestNesting) return TRVS_NESTED_TOO_DEEP;
  if (files_ == kMostFiles) return TRVS_BAD_INCLUDE;
  const std::string path = placeOf(value, *open_.back().path);
  FileText file;
  const os::FileResult result =
      host_->readFile(path, std::min(kLargestFile, kMostBytes - bytes_), &file);
  if (mayPass(result)) {
    state_ = State::kUnreadable;
    return TRVS_DONE;
  }
  if (result != os::FileResult::kDone) return TRVS_BAD_INCLUDE;
  // A file that includes itself would nest for ever: no need to open twenty levels to know.
  const bool recursive = std::any_of(open_.begin(), open_.end(), [&](const OpenFile& outer) {
    return outer.identity == file.identity;
  });
  if (recursive) return TRVS_NESTED_TOO_DEEP;
  readText(path, file);
  return TRVS_DONE;
}

Origin ConfigurationReader::origin() const {
  return {open_.back().path, open_.back().number, open_.back().isTrusted};
}

// Names that are known are disallowed even if others in the line are not: that is the safe side.
TrvsStatus ConfigurationReader::disallow(std::string_view value) {
  const std::vector<std::string_view> names = pieces(value, " \t,");
  if (mode_ != TRVS_READ_MASTER || names.empty()) return TRVS_INVALID_LINE;
  bool allKnown = true;
  for (std::string_view piece : names) {
    const std::string name = upperCase(piece);
    if (name == "INCLUDE" || Configuration::isSetting(name)) {
      configuration_->disallow(name, origin());
    } else {
      allKnown = false;
    }
  }
  return allKnown ? TRVS_DONE : TRVS_INVALID_LINE;
}

// "NAME", "NOT NAME", "NAME == text" or "NAME != text". Nothing for anything else.
std::optional<bool> ConfigurationReader::evaluate(std::string_view condition) const {
  const std::vector<std::string_view> words = pieces(condition, kBlanks);
  const bool negated = words.size() == 2 && upperCase(words[0]) == "NOT";
  if (negated) condition = words[1];
  const auto end = std::find_if_not(condition.begin(), condition.end(), isNameCharacter);
  const std::string name(condition.begin(), end);
  const std::string_view comparison = trimmed(condition.substr(name.size()));
  if (name.empty()) return {};
  const std::string value = host_->variable(name).value_or("");
  if (comparison.empty()) return value.empty() == negated;
  if (negated) return {};
  const bool equals = comparison.starts_with("==");
  if (!equals && !comparison.starts_with("!=")) return {};
  return (trimmed(comparison.substr(2)) == value) == equals;
}

// A broken model is worse than the one before: with two top groups or a circle nobody knows what a
// revision promotes to.
void ConfigurationReader::checkPromotion(const std::string& path, const PromotionModel& before) {
  const PromotionModel::Fault fault = configuration_->promotion().fault();
  if (fault == PromotionModel::Fault::kNone) return;
  configuration_->restorePromotion(before);
  if (state_ == State::kCancelled) return;
  report(fault == PromotionModel::Fault::kCycle ? TRVS_NO_TOP_GROUP : TRVS_SEVERAL_TOP_GROUPS, "",
         path, 0);
}

// Whoever can write one file can have another included that only the present user may read: what
// that says is not for a message.
void ConfigurationReader::report(TrvsStatus code, std::string_view line, const std::string& path,
                                 int number) {
  if (!open_.empty() && open_.back().owner != open_.front().owner) line = "";
  const bool goOn = host_->report({code, std::string(line.substr(0, kReportedLine)), path, number});
  if (!goOn) {
    state_ = State::kCancelled;
  } else if (configuration_->stopsOnError()) {
    state_ = State::kStopped;
  }
}

bool readsAsConfiguration(std::string_view text) {
  if (text.size() > ConfigurationReader::kLargestFile) return false;
  TextHost host(text);
  Configuration unused;
  ConfigurationReader reader(&host, TRVS_READ_MASTER, &unused);
  return reader.read("") == TRVS_DONE && (reader.hasTakenAny() || !host.hasBadOnes());
}

}  // namespace btkf
