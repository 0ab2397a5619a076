// cli/commands/config.cpp: config get, set and list: the project's configuration.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/commands/configuration.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/text.h"

namespace cli {
namespace {

using Need = Options::Need;

std::vector<Setting> settingsOf(Session& session) {
  session.project().useConfiguration();
  return presentSettings();
}

// The directive as files have it. Throws Problem if there is none of that name.
std::string known(std::string name, const std::vector<Setting>& settings) {
  for (char& c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  std::vector<std::string> names;
  for (const Setting& each : settings) names.push_back(each.name);
  if (std::find(names.begin(), names.end(), name) != names.end()) return name;
  const std::string near = nearest(name, names);
  throw misuse(name, "no such directive",
               near.empty() ? "'trevault config list -a' lists them"
                            : fmt::format("did you mean {}?", near));
}

void tell(Output& output, const std::vector<Setting>& settings) {
  std::vector<std::vector<std::string>> rows;
  for (const Setting& each : settings) {
    rows.push_back({each.name, shown(each.value), each.place()});
  }
  const auto lines = table(rows);
  for (size_t i = 0; i < lines.size(); ++i) {
    const Setting& each = settings[i];
    const bool isDefault = each.file.empty();
    output.result({{"name", each.name},
                   {"value", each.value},
                   {"file", isDefault ? Value() : Value(each.file)},
                   {"line", isDefault ? Value() : Value(each.line)},
                   {"default", isDefault}},
                  lines[i]);
  }
}

// What a line of a file has for it: an empty value would turn a switch on.
std::string lineValue(const std::string& name, const std::string& value) {
  const bool isSwitch = name == "EXCLUSIVELOCK" || name == "MULTILOCK" ||
                        name == "EXPANDKEYWORDS" || name == "BRANCHWARN";
  return isSwitch && value.empty() ? "OFF" : value;
}

// Why a directive can't have a value.
const char* wordsFor(int32_t status) {
  switch (status) {
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

// What came of setting `values` of the directive.
void check(const foldapi::SetResult& result, const std::string& file, const std::string& name,
           const std::vector<std::string>& values) {
  if (result.status == TRVS_DONE) return;
  if (result.value) {
    throw misuse(fmt::format("{} '{}'", name, values[*result.value]), wordsFor(result.status));
  }
  switch (result.status) {
    case TRVS_IN_USE:
      throw Problem{file, "another program is changing it", "try again"};
    case TRVS_INVALID_LINE:
      throw Problem{file, "is no configuration: there is no directive among its lines",
                    "see who names it as one"};
    case TRVS_CANNOT_WRITE:
      throw Problem{file, "can't be written", "see whether the disk is full, and who owns it"};
    default:
      throw Problem{file, "can't be read or changed", "see who owns it"};
  }
}

class ConfigGet : public Command {
 public:
  void declare(Options& options) override {
    options.word(&name_, "NAME", Need::kRequired, "the directive");
  }

  void run(Session& session) override {
    auto settings = settingsOf(session);
    const std::string name = known(name_, settings);
    std::erase_if(settings, [&](const Setting& each) { return each.name != name; });
    tell(session.output(), settings);
  }

 private:
  std::string name_;
};

class ConfigList : public Command {
 public:
  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "also what no file says");
  }

  void run(Session& session) override {
    auto settings = settingsOf(session);
    std::erase_if(settings, [&](const Setting& each) { return each.file.empty() && !isAll_; });
    tell(session.output(), settings);
  }

 private:
  bool isAll_ = false;
};

class ConfigSet : public Command {
 public:
  void declare(Options& options) override {
    options.dryRun(&isDry_);
    options.flag(&isMaster_, "--master", "in the file of all projects");
    options.word(&name_, "NAME", Need::kRequired, "the directive");
    options.words(&values_, "VALUE", Need::kRequired, "as a line of the file has it, '' for none");
  }

  void run(Session& session) override {
    if (isMaster_) session.use(session.database().openMaster());
    const std::string name = known(name_, settingsOf(session));
    const bool mayHaveSeveral =
        name == "PROMOTE" || name == "ARCHIVESUFFIX" || name == "EVENTTRIGGER";
    if (values_.size() > 1 && !mayHaveSeveral) throw misuse(name, "takes one value", "quote it");
    for (std::string& value : values_) value = lineValue(name, value);
    const std::string file = session.project().configurationFile();
    const auto trial = isDry_ ? foldapi::Trial::kOnly : foldapi::Trial::kThenWrite;
    check(session.project().setDirective(name, values_, trial), file, name, values_);
    for (const std::string& value : values_) {
      session.output().result({{"name", name},
                               {"action", isDry_ ? "would set" : "set"},
                               {"value", value},
                               {"file", file}},
                              "");
    }
    session.output().line(
        fmt::format("{} {} in {}", isDry_ ? "would set" : "set", name, shown(file)));
    hintAt(name, session.output());
  }

 private:
  static void hintAt(const std::string& name, Output& output) {
    const char* attribute = name == "EXCLUSIVELOCK"    ? "exclusive-locks"
                            : name == "EXPANDKEYWORDS" ? "keywords"
                                                       : nullptr;
    if (attribute == nullptr) return;
    output.hint(
        fmt::format("holds for archives made from now on; 'trevault attributes --set {} .' "
                    "changes those that are there",
                    attribute));
  }

  bool isDry_ = false;
  bool isMaster_ = false;
  std::string name_;
  std::vector<std::string> values_;
};

}  // namespace

std::unique_ptr<Command> makeConfigGet() { return makeCommand<ConfigGet>(); }
std::unique_ptr<Command> makeConfigList() { return makeCommand<ConfigList>(); }
std::unique_ptr<Command> makeConfigSet() { return makeCommand<ConfigSet>(); }

}  // namespace cli
