// cli/commands/places.cpp: init and where.
#include <fmt/format.h>

#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/environment.h"
#include "runtime/nativepath.h"

namespace cli {
namespace {

constexpr const char* kList = "trvsproj.pub";

bool isEmptyOrDatabase(const std::string& directory) {
  bool isEmpty = true;
  bool isDatabase = false;
  os::forEachEntry(directory.c_str(), [&](const char* name) {
    isEmpty = false;
    isDatabase = isDatabase || std::string_view(name) == kList;
  });
  return isEmpty || isDatabase;
}

// Makes both roots and stores them in the profile.
class Init : public Command {
 public:
  void declare(Options&) override {}
  void run(Session& session) override {
    const Roots roots = session.roots();
    const std::string& team = roots.publicRoot.path;
    if (!isEmptyOrDatabase(team)) {
      throw Problem{team, "is not empty and no project database", "choose an empty directory",
                    Exit::kMisused};
    }
    const bool isNew = !os::hasEntry(joined(team, kList).c_str());
    const bool isOwnNew = !os::hasEntry(roots.privateRoot.path.c_str());
    makeRoot(team);
    makeRoot(roots.privateRoot.path);
    const size_t projects = session.database(Database::Making::kAllowed).projects().size();
    storeRoots(roots);
    tell(session.output(), roots, isNew, isOwnNew, projects);
  }

 private:
  static void makeRoot(const std::string& directory) {
    const std::string above = os::parentOf(directory);
    if (os::makeDirectories(directory)) {
      if (!os::directoryState(directory.c_str())) throw misuse(directory, "is no directory");
      return;
    }
    throw Problem{directory, "no permission to make it",
                  fmt::format("ask who owns {}, or choose another with --public", above)};
  }

  static void tell(Output& output, const Roots& roots, bool isNew, bool isOwnNew, size_t projects) {
    const std::string state = isNew           ? "made"
                              : projects == 0 ? "is there"
                                              : "is there, with " + counted(projects, "project");
    for (const std::string& line :
         table({{"public root ", roots.publicRoot.path, " " + state},
                {"private root", roots.privateRoot.path, isOwnNew ? " made" : " is there"}})) {
      output.line(line);
    }
    output.line("both are in the profile now, and taken by every command");
    output.set("public", roots.publicRoot.path);
    output.set("private", roots.privateRoot.path);
    output.set("profile", foldapi::profilePath());
    output.set("made", isNew);
  }
};

// Every place, and why it was taken.
class Where : public Command {
 public:
  void declare(Options&) override {}
  void run(Session& session) override {
    output_ = &session.output();
    tell("user", os::accountName(), "the account");
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
    for (const std::string& each : open.archiveDirectories()) tell("archives", each, "VCSDIR");
    tell("configuration", open.configurationFile(), "of the project");
  }

  static std::string profileReason() {
    return os::environmentVariable("KSTR_INI") ? "KSTR_INI" : "the default place";
  }

  // A path that is too long for its column has the reason on the next line.
  void tell(const std::string& name, const std::string& path, const std::string& reason) {
    constexpr size_t kName = 16;
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

  Output* output_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> makeInit() { return makeCommand<Init>(); }
std::unique_ptr<Command> makeWhere() { return makeCommand<Where>(); }

}  // namespace cli
