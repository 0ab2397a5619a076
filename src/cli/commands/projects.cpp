// cli/commands/projects.cpp: project add, list, show, set and remove.
#include <fmt/format.h>

#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"

namespace cli {
namespace {

using Need = Options::Need;

class ProjectAdd : public Command {
 public:
  void declare(Options& options) override {
    options.word(&name_, "NAME", Need::kRequired, "its name");
    options.word(&directory_, "DIR", Need::kOptional, "your work directory; else this one");
    options.text(&archives_, "--archives", "DIR", "where its archives go");
    options.text(&teamWork_, "--team-work", "DIR", "the team's work directory");
    options.dryRun(&isDry_);
  }

  void run(Session& session) override {
    if (name_.find(']') != std::string::npos) {
      throw misuse(name_, "a project's name can't hold \"]\"");
    }
    const std::string top = session.absolute(directory_.empty() ? "." : directory_);
    refuseOther(top);
    if (isDry_) return sayDry(session);
    Database& database = session.database(Database::Making::kOnce);
    if (!os::makeDirectories(top)) throw Problem{top, "can't be made", "choose another directory"};
    Project project =
        database.add(name_, top, teamWork_.empty() ? "" : session.absolute(teamWork_));
    const std::string archives = archives_.empty()
                                     ? joined(os::parentOf(project.configurationFile()), "archives")
                                     : session.absolute(archives_);
    if (!os::makeDirectories(archives)) throw Problem{archives, "can't be made"};
    project.setArchiveDirectories(archives);
    shareAll(os::parentOf(project.configurationFile()));
    const Roots& roots = database.roots();
    if (isDefault(roots.publicRoot) && isDefault(roots.privateRoot)) storeRoots(roots);
    storeWorkDirectory({.top = top,
                        .project = name_,
                        .publicRoot = roots.publicRoot.path,
                        .privateRoot = roots.privateRoot.path});
    tell(session, top, archives);
  }

 private:
  void sayDry(Session& session) const {
    const Place root = session.roots().publicRoot;
    if (root.isRemembered || os::hasEntry(root.path.c_str())) session.database().refuseKnown(name_);
    session.output().result({{"name", name_}, {"action", "would create"}},
                            fmt::format("would create project {}", name_));
  }

  // What is made in a team's root is the team's.
  static void shareAll(const std::string& path) {
    if (os::shareWithGroup(path).empty() || !os::directoryState(path.c_str())) return;
    os::forEachEntry(path.c_str(), [&](const char* name) {
      if (std::string_view(name) != "." && std::string_view(name) != "..") {
        shareAll(joined(path, name));
      }
    });
  }

  void refuseOther(const std::string& top) const {
    const auto there = findWorkDirectory(top);
    if (there && there->top == top && there->project != name_) {
      throw misuse(top, fmt::format("belongs to project {} already", there->project),
                   "choose another directory");
    }
  }

  void tell(Session& session, const std::string& top, const std::string& archives) const {
    Output& output = session.output();
    const Roots& roots = session.database().roots();
    const bool isAlone = isBelow(os::parentOf(roots.privateRoot.path), roots.publicRoot.path);
    output.set("project", name_);
    output.result(
        {{"name", name_}, {"action", "created"}, {"work", top}, {"archives", archives}},
        fmt::format("created project {}{}", name_, isAlone ? ", which only you can reach" : ""));
    output.line(fmt::format("  work directory  {}", shown(top)));
    output.line(fmt::format("  archives        {}", shown(archives)));
    output.hint(
        "'trevault add .' puts what is in this directory under control; for a team see "
        "'trevault help init'");
  }

  std::string name_;
  std::string directory_;
  std::string archives_;
  std::string teamWork_;
  bool isDry_ = false;
};

class ProjectList : public Command {
 public:
  void declare(Options& options) override {
    options.flag(&isNull_, "-0,--null", "names alone, each ended by NUL");
  }
  void run(Session& session) override {
    std::vector<std::vector<std::string>> rows;
    std::vector<Fields> items;
    std::string names;
    for (const std::string& name : session.database().projects()) {
      names += name + '\0';
      const Project project = session.database().open(name);
      rows.push_back({shown(name), shown(project.workDirectory())});
      items.push_back({{"name", name},
                       {"work", project.workDirectory()},
                       {"team_work", project.teamWorkDirectory()}});
    }
    if (isNull_) return session.output().bytes(names);
    session.output().results(items, rows);
    if (rows.empty()) session.output().line("no projects");
  }

 private:
  bool isNull_ = false;
};

class ProjectShow : public Command {
 public:
  void declare(Options& options) override {
    options.word(&name_, "NAME", Need::kOptional, "else the one of this directory");
  }
  void run(Session& session) override {
    if (!name_.empty()) session.use(session.database().open(name_));
    const Project& project = session.project();
    const size_t files = project.files().size();
    const auto archives = project.archiveDirectories();
    std::vector<std::vector<std::string>> rows = {
        {"project", shown(project.name())},
        {"work directory", shown(project.workDirectory())},
        {"team's directory", shown(project.teamWorkDirectory())}};
    for (const std::string& each : archives) rows.push_back({"archives", shown(each)});
    rows.push_back({"configuration", shown(project.configurationFile())});
    rows.push_back({"files", number(files)});
    session.output().result({{"name", project.name()},
                             {"work", project.workDirectory()},
                             {"team_work", project.teamWorkDirectory()},
                             {"archives", archives},
                             {"configuration", project.configurationFile()},
                             {"files", files}},
                            "");
    for (const std::string& line : table(rows)) session.output().line(line);
  }

 private:
  std::string name_;
};

class ProjectSet : public Command {
 public:
  void declare(Options& options) override {
    options.word(&name_, "NAME", Need::kOptional, "else the one of this directory");
    options.text(&work_, "--work", "DIR", "your work directory");
    options.text(&archives_, "--archives", "DIR",
                 "where new archives go; those that are there stay");
    options.text(&teamWork_, "--team-work", "DIR", "the team's work directory");
    options.dryRun(&isDry_);
  }
  void run(Session& session) override {
    if (work_.empty() && archives_.empty() && teamWork_.empty()) {
      throw misuse("project set", "what is to be set?", "give --work, --archives or --team-work");
    }
    if (!name_.empty()) session.use(session.database().open(name_));
    Project& project = session.project();
    const std::string verb = saidOf({"set", "set"}, isDry_);
    for (const auto& [what, place, change] :
         {std::tuple("work", &work_, &Project::setWorkDirectory),
          std::tuple("team_work", &teamWork_, &Project::setTeamWorkDirectory),
          std::tuple("archives", &archives_, &Project::setArchiveDirectories)}) {
      if (place->empty()) continue;
      const std::string path = session.absolute(*place);
      if (!isDry_) (project.*change)(path);
      session.output().result(
          {{"name", project.name()}, {"action", verb}, {what, path}},
          fmt::format("{} {} of {} to {}", verb, what, project.name(), shown(path)));
    }
  }

 private:
  std::string name_;
  std::string work_;
  std::string archives_;
  std::string teamWork_;
  bool isDry_ = false;
};

class ProjectRemove : public Command {
 public:
  void declare(Options& options) override {
    options.word(&name_, "NAME", Need::kRequired, "the project");
    options.dryRun(&isDry_);
  }
  void run(Session& session) override {
    const std::string question =
        fmt::format("take {} with {} off the list; its archives and files stay where they are",
                    name_, filesOf(session.database().open(name_)));
    beSure(session, "project remove", question, isDry_);
    if (!isDry_) session.database().remove(name_);
    const std::string verb = saidOf({"remove", "removed"}, isDry_);
    session.output().result({{"name", name_}, {"action", verb}},
                            fmt::format("{} project {}", verb, name_));
  }

 private:
  // A project whose list is lost or damaged may go, too.
  static std::string filesOf(const Project& project) {
    try {
      return counted(project.files().size(), "file");
    } catch (const Problem&) {
      return "nobody knows how many files";
    }
  }

  bool isDry_ = false;
  std::string name_;
};

}  // namespace

std::unique_ptr<Command> makeProjectAdd() { return makeCommand<ProjectAdd>(); }
std::unique_ptr<Command> makeProjectList() { return makeCommand<ProjectList>(); }
std::unique_ptr<Command> makeProjectShow() { return makeCommand<ProjectShow>(); }
std::unique_ptr<Command> makeProjectSet() { return makeCommand<ProjectSet>(); }
std::unique_ptr<Command> makeProjectRemove() { return makeCommand<ProjectRemove>(); }

}  // namespace cli
