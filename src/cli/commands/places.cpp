// cli/commands/places.cpp: init and where.
#include <fmt/format.h>

#include <algorithm>

#include "cli/archives/engine.h"
#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/commands/configuration.h"
#include "cli/local/kept.h"
#include "cli/local/walk.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/environment.h"
#include "runtime/nativepath.h"

namespace cli {
namespace {

// Makes both roots and stores them in the profile.
class Init : public Command {
 public:
  void declare(Options& options) override { options.dryRun(&isDry_); }
  void run(Session& session) override {
    const Roots roots = session.ownRoots();
    const std::string& team = roots.publicRoot.path;
    const bool isNew = !os::hasEntry(listOfProjects(team, foldapi::Side::kPublic).c_str());
    if (isNew && !isEmptyDirectory(team)) {
      throw Problem{team, "is not empty and no project database", "choose an empty directory",
                    Exit::kMisused};
    }
    const bool isOwnNew = !os::hasEntry(roots.privateRoot.path.c_str());
    const char* const made = isDry_ ? "would be made" : "made";
    std::string state = isNew ? made : "is there";
    if (!isDry_) state += make(roots, isNew);
    tell(session.output(), roots, state, isOwnNew ? made : "is there");
    session.output().set("made", isNew && !isDry_);
  }

 private:
  // Gives what there is to say of the public root.
  static std::string make(const Roots& roots, bool isNew) {
    const std::string& team = roots.publicRoot.path;
    makeRoot(roots.privateRoot.path);
    makeRoot(team);
    const std::string group = isNew ? os::shareWithGroup(team) : "";
    const size_t projects = Database(roots, Database::Making::kAllowed).projects().size();
    if (isNew) os::shareWithGroup(listOfProjects(team, foldapi::Side::kPublic));
    storeRoots(roots);
    std::string said;
    if (!group.empty()) said = fmt::format(", everybody in the group {} may write", group);
    if (projects > 0) said += ", with " + counted(projects, "project");
    return said;
  }

  static void makeRoot(const std::string& directory) {
    const std::string above = os::parentOf(directory);
    if (os::makeDirectories(directory)) {
      if (!os::directoryState(directory.c_str())) throw misuse(directory, "is no directory");
      return;
    }
    throw Problem{directory, "no permission to make it",
                  fmt::format("ask who owns {}, or choose another with --public", above)};
  }

  void tell(Output& output, const Roots& roots, const std::string& state,
            const std::string& ownState) const {
    for (const std::string& line :
         table({{"public root ", roots.publicRoot.path, "  " + state},
                {"private root", roots.privateRoot.path, "  " + ownState}})) {
      output.line(line);
    }
    output.line(fmt::format("both {} in the profile {}, and taken by every command",
                            isDry_ ? "would be" : "are", isDry_ ? "then" : "now"));
    output.set("public", roots.publicRoot.path);
    output.set("private", roots.privateRoot.path);
    output.set("profile", foldapi::profilePath());
  }

  bool isDry_ = false;
};

// Every place, and why it was taken.
class Where : public Command {
 public:
  void declare(Options&) override {}
  void run(Session& session) override {
    output_ = &session.output();
    tellUser(session);
    const auto& near = session.nearest();
    tell("work directory", near ? near->top : "none", near ? ".trevault is there" : "");
    tellProject(session);
    const Roots roots = session.roots();
    tell("public root", roots.publicRoot.path, roots.publicRoot.reason);
    tell("private root", roots.privateRoot.path, roots.privateRoot.reason);
    tell("profile", foldapi::profilePath(), profileReason());
  }

 private:
  void tellProject(Session& session) {
    Place project;
    try {
      project = session.projectName();
    } catch (const Problem& problem) {
      return tell("project", "none", problem.why);
    }
    const Project& open = session.project();
    tell("project", project.path, project.reason);
    if (session.nearest()) {
      const std::string& follows = session.nearest()->follows;
      tell("follows", follows == "trunk" ? "the trunk" : follows, "");
    }
    const auto texts = open.archiveDirectoryTexts();
    const auto directories = open.archiveDirectories();
    for (size_t i = 0; i < directories.size(); ++i) {
      tell("archives", directories[i], reasonOf(settings_, "VCSDIR", open));
      tellText(directories[i], texts[i]);
    }
    tell("configuration", open.configurationFile(), "of the project");
    tellText(open.configurationFile(), open.configurationText());
    if (session.nearest() && session.output().manner().verbose) {
      tell("kept", keptOf(session.nearest()->top),
           "what was overwritten, for 14 days and up to 1 GB");
    }
  }

  // The engine's user, if there is a project whose configuration may tell another one.
  void tellUser(Session& session) {
    try {
      const Project& open = session.project();
      open.useConfiguration();
      settings_ = presentSettings();
      for (const Setting& each : settings_) {
        if (each.name != "USERID" || each.file.empty()) continue;
        return tell("user", presentUser(), reasonOf(settings_, "USERID", open));
      }
    } catch (const Problem&) {
      settings_.clear();  // It is told at the project.
    }
    tell("user", os::accountName(), "the account");
  }

  static std::string reasonOf(const std::vector<Setting>& settings, const std::string& name,
                              const Project& project) {
    const auto last = std::find_if(settings.rbegin(), settings.rend(), [&](const Setting& each) {
      return each.name == name && !each.file.empty();
    });
    if (last == settings.rend()) return name;
    const bool isOwn = last->file == project.configurationFile();
    return fmt::format("{}, line {} of {}", name, last->line,
                       isOwn ? "the configuration" : shown(last->file));
  }

  static std::string profileReason() {
    return os::environmentVariable("KSTR_INI") ? "KSTR_INI" : "the default place";
  }

  // A path that is too long for its column has the reason on the next line.
  void tell(const std::string& name, const std::string& path, const std::string& reason) {
    constexpr size_t kPath = 44;
    std::string line = padded(name, kName) + shown(path);
    if (columnsOf(line) + 2 > kName + kPath && !reason.empty()) {
      output_->result({{"place", name}, {"path", path}, {"reason", reason}}, line);
      output_->line(std::string(kName + kPath, ' ') + reason);
      return;
    }
    if (!reason.empty()) line = padded(line, kName + kPath) + reason;
    output_->result({{"place", name}, {"path", path}, {"reason", reason}}, line);
  }

  // What stands for a path where other systems read it too.
  void tellText(const std::string& path, const std::string& text) {
    if (text == path || !output_->manner().verbose) return;
    output_->line(fmt::format("{}written {}", std::string(kName, ' '), shown(text)));
  }

  static constexpr size_t kName = 16;

  Output* output_ = nullptr;
  std::vector<Setting> settings_;
};

}  // namespace

std::unique_ptr<Command> makeInit() { return makeCommand<Init>(); }
std::unique_ptr<Command> makeWhere() { return makeCommand<Where>(); }

}  // namespace cli
