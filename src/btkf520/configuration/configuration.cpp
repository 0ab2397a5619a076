// btkf520/configuration/configuration.cpp: the settings, one function each: what values a directive
// may have.
#include "btkf520/configuration/configuration.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "btkf520/configuration/text.h"

namespace btkf {
namespace {

constexpr std::string_view kOtherExtensions = "*";
constexpr std::string_view kPathCharacters = "/\\:";

// The two sides of "left = right", trimmed. Nothing without "=".
std::optional<std::pair<std::string_view, std::string_view>> sides(std::string_view value) {
  const size_t equals = value.find('=');
  if (equals == std::string_view::npos) return {};
  return std::pair(trimmed(value.substr(0, equals)), trimmed(value.substr(equals + 1)));
}

bool setSwitch(std::string_view value, bool* target) {
  const std::string word = upperCase(value);
  const bool on = word.empty() || word == "ON" || word == "YES" || word == "TRUE" || word == "1";
  if (!on && word != "OFF" && word != "NO" && word != "FALSE" && word != "0") return false;
  *target = on;
  return true;
}

std::string extensionKey(std::string_view extension) {
  if (extension.starts_with('.')) extension.remove_prefix(1);
  return upperCase(extension);
}

const std::set<std::string>& events() {
  static const auto* const names = [] {
    auto* all = new std::set<std::string>;
    for (const std::string when : {"PRE", "POST"}) {
      for (const char* what :
           {"CREATE", "CHECKIN", "CHECKOUT", "LOCK", "UNLOCK", "LABEL", "PROMOTE", "LEAVE"}) {
        all->insert(when + what);
      }
    }
    return all;
  }();
  return *names;
}

}  // namespace

const std::map<std::string, Configuration::Setter>& Configuration::setters() {
  static const auto* const table = new std::map<std::string, Setter>{
      {"VCSDIR", &Configuration::setArchiveDirectories},
      {"ARCHIVESUFFIX", &Configuration::setArchiveSuffix},
      {"PROMOTE", &Configuration::setPromotion},
      {"DATEWORDS", &Configuration::setDateWords},
      {"DATEFORMAT", &Configuration::setDateFormat},
      {"EXCLUSIVELOCK", &Configuration::setExclusiveLock},
      {"MULTILOCK", &Configuration::setMultipleLocks},
      {"EXPANDKEYWORDS", &Configuration::setExpandKeywords},
      {"BRANCHWARN", &Configuration::setBranchWarning},
      {"JOURNAL", &Configuration::setJournal},
      {"USERID", &Configuration::setUserSource},
      {"ACCESSLIST", &Configuration::setAccessList},
      {"EVENTTRIGGER", &Configuration::setEventTrigger},
      {"ONERROR", &Configuration::setErrorRule},
  };
  return *table;
}

bool Configuration::set(const std::string& name, std::string_view value, const Origin& origin) {
  origin_ = origin;
  const auto setter = setters().find(name);
  if (setter == setters().end() || !(this->*setter->second)(value)) return false;
  origins_[name] = origin;
  return true;
}

Origin Configuration::originOf(const std::string& name) const {
  const auto found = origins_.find(name);
  return found == origins_.end() ? Origin() : found->second;
}

// In the order of docs/configuration.md.
std::vector<Setting> Configuration::settings() const {
  std::vector<Setting> all;
  const auto add = [&](const char* name, std::string value) {
    all.push_back({name, std::move(value), originOf(name)});
  };
  const auto addSwitch = [&](const char* name, bool isOn) { add(name, isOn ? "ON" : "OFF"); };
  add("VCSDIR", archiveDirectories_);
  auto suffixes = archiveSuffixes_;
  const Origin cleared = suffixes.empty() ? originOf("ARCHIVESUFFIX") : Origin();
  suffixes.try_emplace(std::string(kOtherExtensions), Suffix{std::string(kDefaultSuffix), cleared});
  for (const auto& [extension, suffix] : suffixes) {
    const std::string shown = extension.empty() ? "." : extension;
    all.push_back({"ARCHIVESUFFIX", shown + " = " + suffix.text, suffix.origin});
  }
  for (const PromotionModel::Link& link : promotion_.links()) {
    const std::string parent = link.parent.empty() ? "" : " = " + link.parent;
    all.push_back({"PROMOTE", link.child + parent, link.origin});
  }
  if (promotion_.isEmpty()) add("PROMOTE", "");
  add("DATEWORDS", dateWords_);
  add("DATEFORMAT", dateFormat_);
  addSwitch("EXCLUSIVELOCK", exclusiveLock_);
  addSwitch("MULTILOCK", multipleLocks_);
  addSwitch("EXPANDKEYWORDS", expandKeywords_);
  addSwitch("BRANCHWARN", branchWarning_);
  add("JOURNAL", journal_.text);
  add("USERID", userVariable_.empty() ? "ACCOUNT" : "ENVIRONMENT " + userVariable_);
  std::string users;
  for (const std::string& user : accessList_) users += (users.empty() ? "" : ", ") + user;
  add("ACCESSLIST", users);
  for (const auto& [event, command] : eventTriggers_) {
    all.push_back({"EVENTTRIGGER", event + " = " + command.text, command.origin});
  }
  if (eventTriggers_.empty()) add("EVENTTRIGGER", "");
  add("ONERROR", stopsOnError_ ? "STOP" : "CONTINUE");
  for (const auto& [name, origin] : disallowed_) all.push_back({"DISALLOW", name, origin});
  return all;
}

bool Configuration::isSetting(const std::string& name) { return setters().contains(name); }

std::vector<std::string> Configuration::archiveDirectories() const {
  std::vector<std::string> result;
  for (std::string_view piece : pieces(archiveDirectories_, ";")) {
    if (!trimmed(piece).empty()) result.emplace_back(trimmed(piece));
  }
  return result;
}

std::string Configuration::archiveSuffix(std::string_view extension) const {
  auto suffix = archiveSuffixes_.find(extensionKey(extension));
  if (suffix == archiveSuffixes_.end())
    suffix = archiveSuffixes_.find(std::string(kOtherExtensions));
  return suffix == archiveSuffixes_.end() ? std::string(kDefaultSuffix) : suffix->second.text;
}

Demand Configuration::eventTrigger(std::string_view event) const {
  const auto trigger = eventTriggers_.find(std::string(event));
  return trigger == eventTriggers_.end() ? Demand() : trigger->second;
}

bool Configuration::setArchiveDirectories(std::string_view value) {
  archiveDirectories_ = value;
  return true;
}

// "c = _v"; with nothing after "=" the extension has no suffix of its own any more.
bool Configuration::setArchiveSuffix(std::string_view value) {
  if (value.empty()) {
    archiveSuffixes_.clear();
    return true;
  }
  const auto both = sides(value);
  if (!both || both->first.empty()) return false;
  const auto [extension, suffix] = *both;
  if (value.find_first_of(kPathCharacters) != std::string_view::npos) return false;
  const std::string key = extensionKey(extension);
  if (suffix.empty()) {
    archiveSuffixes_.erase(key);
    return true;
  }
  if (archiveSuffixes_.size() == kMostSuffixes && !archiveSuffixes_.contains(key)) return false;
  archiveSuffixes_[key] = {std::string(suffix), origin_};
  return true;
}

// "child = parent", or a group alone.
bool Configuration::setPromotion(std::string_view value) {
  if (value.empty()) {
    promotion_ = PromotionModel();
    return true;
  }
  const auto both = sides(value);
  if (!both) return promotion_.link(value, "", origin_);
  const auto [child, parent] = *both;
  if (parent.empty() || parent.find('=') != std::string_view::npos) return false;
  return promotion_.link(child, parent, origin_);
}

bool Configuration::setDateWords(std::string_view value) {
  const auto words = dates::configuredWords(value.empty() ? dates::kDefaultWords : value);
  if (words) dateWords_ = *words;
  return words.has_value();
}

bool Configuration::setDateFormat(std::string_view value) {
  if (value.empty()) value = dates::kDefaultFormat;
  if (!dates::isConfiguredFormat(value)) return false;
  dateFormat_ = value;
  return true;
}

bool Configuration::setExclusiveLock(std::string_view value) {
  return setSwitch(value, &exclusiveLock_);
}

bool Configuration::setMultipleLocks(std::string_view value) {
  return setSwitch(value, &multipleLocks_);
}

bool Configuration::setExpandKeywords(std::string_view value) {
  return setSwitch(value, &expandKeywords_);
}

bool Configuration::setBranchWarning(std::string_view value) {
  return setSwitch(value, &branchWarning_);
}

bool Configuration::setJournal(std::string_view value) {
  journal_ = {std::string(value), origin_};
  return true;
}

// "ACCOUNT" or "ENVIRONMENT name".
bool Configuration::setUserSource(std::string_view value) {
  const std::vector<std::string_view> words = pieces(value, kBlanks);
  if (words.empty() || (words.size() == 1 && upperCase(words[0]) == "ACCOUNT")) {
    userVariable_.clear();
    return true;
  }
  if (words.size() != 2 || upperCase(words[0]) != "ENVIRONMENT") return false;
  if (!std::all_of(words[1].begin(), words[1].end(), isNameCharacter)) return false;
  userVariable_ = words[1];
  return true;
}

bool Configuration::setAccessList(std::string_view value) {
  std::vector<std::string> names;
  for (std::string_view piece : pieces(value, ",")) {
    if (!isGoodName(trimmed(piece))) return false;
    names.emplace_back(trimmed(piece));
  }
  if (names.empty() && !value.empty()) return false;
  accessList_ = std::move(names);
  return true;
}

// "event = command"; with nothing after "=" the event has no command any more.
bool Configuration::setEventTrigger(std::string_view value) {
  if (value.empty()) {
    eventTriggers_.clear();
    return true;
  }
  const auto both = sides(value);
  if (!both || !events().contains(upperCase(both->first))) return false;
  if (both->second.empty()) {
    eventTriggers_.erase(upperCase(both->first));
  } else {
    eventTriggers_[upperCase(both->first)] = {std::string(both->second), origin_};
  }
  return true;
}

bool Configuration::setErrorRule(std::string_view value) {
  const std::string word = upperCase(value);
  if (word != "" && word != "CONTINUE" && word != "STOP") return false;
  stopsOnError_ = word == "STOP";
  return true;
}

}  // namespace btkf
