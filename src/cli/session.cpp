// cli/session.cpp: from the directory of the shell to project, work directory and database.
#include "cli/session.h"

#include <fmt/format.h>

#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/shellword.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/environment.h"
#include "os/file.h"

namespace cli {
namespace {

// The option, else the variable.
std::optional<Place> said(const std::string& option, const char* name, const char* variable) {
  if (!option.empty()) return Place{option, fmt::format("the option --{}", name)};
  const auto value = os::environmentVariable(variable);
  if (value && !value->empty()) return Place{*value, variable};
  return {};
}

}  // namespace

Session::Session(Globals globals, Output& output)
    : globals_(std::move(globals)), output_(output), here_(os::currentDirectory()) {
  if (!globals_.start.empty()) {
    if (!os::changeDirectory(globals_.start)) {
      throw misuse(globals_.start, "no such directory, or it may not be entered");
    }
    here_ = os::currentDirectory();
  }
  if (here_.empty())
    throw misuse("trevault", "the directory of the shell is gone", "'cd' to another");
}

Session::~Session() = default;

std::string Session::absolute(const std::string& typed) const { return absolutePath(here_, typed); }

std::string Session::fromHere(const std::string& path) const {
  return isBelow(here_, path) ? relativePath(here_, path) : path;
}

std::string Session::placeToWrite(const std::string& typed) const {
  std::string path = absolute(typed);
  os::FileStatus status;
  if (os::readStatus(path.c_str(), &status) != os::FileResult::kDone) return path;
  if (!status.isRegular) throw Problem{typed, "is no file", "choose another name"};
  if (output_.ask(shown(typed) + " is there already; overwrite it")) return path;
  throw Problem{typed, "is there already", "overwrite with --yes", output_.exitOfNo()};
}

const std::optional<WorkDirectory>& Session::nearest() {
  if (!isLookedFor_) {
    isLookedFor_ = true;
    nearest_ = findWorkDirectory(here_);
  }
  return nearest_;
}

Roots Session::roots() {
  Roots roots = rootsOfProfile();
  if (const auto& near = nearest()) {
    const std::string reason = fmt::format("{} in {}", kMemory, near->top);
    for (auto [said, place] : {std::pair(&near->publicRoot, &roots.publicRoot),
                               std::pair(&near->privateRoot, &roots.privateRoot)}) {
      if (!said->empty() && *said != place->path) *place = {*said, reason, true};
    }
  }
  return chosen(std::move(roots));
}

Roots Session::ownRoots() const { return chosen(rootsOfProfile()); }

// What the options and the environment say comes before `roots`.
Roots Session::chosen(Roots roots) const {
  for (auto [option, name, variable, place] :
       {std::tuple(&globals_.publicRoot, "public", "TREVAULT_PUBLIC", &roots.publicRoot),
        std::tuple(&globals_.privateRoot, "private", "TREVAULT_PRIVATE", &roots.privateRoot)}) {
    if (const auto place2 = said(*option, name, variable)) {
      *place = {absolute(place2->path), place2->reason};
    }
  }
  return roots;
}

Database& Session::database(Database::Making making) {
  if (database_ == nullptr) database_ = std::make_unique<Database>(roots(), making);
  return *database_;
}

Place Session::projectName() {
  if (const auto place = said(globals_.project, "project", "TREVAULT_PROJECT")) return *place;
  if (const auto& near = nearest()) return {near->project, "of this work directory"};
  if (const auto holder = database().holderOf(here_)) {
    return {holder->project, fmt::format("has its work directory at {}", holder->top)};
  }
  throw misuse("not in a work directory", fmt::format("no project holds {}", shown(here_)),
               "'trevault project list', then 'trevault join' or -p");
}

bool Session::hasProject() {
  try {
    return !projectName().path.empty();
  } catch (const Problem&) {
    return false;
  }
}

Project& Session::project() {
  if (!project_) use(database().open(projectName().path));
  return *project_;
}

void Session::use(Project project) {
  output().set("project", project.name());
  project_ = std::move(project);
}

WorkDirectory& Session::work() {
  if (work_) return *work_;
  const std::string& name = project().name();
  if (nearest() && nearest()->project == name) return *(work_ = nearest());
  const std::string top = project().workDirectory();
  if (top.empty()) {
    throw misuse(name, "you have no work directory for it",
                 fmt::format("'trevault join {}' makes one", shellWord(name)));
  }
  auto stored = findWorkDirectory(top);
  if (stored && stored->top == top && stored->project == name) return *(work_ = stored);
  if (top == project().teamWorkDirectory()) {
    throw misuse(name,
                 fmt::format("its work directory {} is the team's word, not yours", shown(top)),
                 fmt::format("'trevault join {}' makes one of your own", shellWord(name)));
  }
  work_ = WorkDirectory{.top = top, .project = name};
  return *work_;
}

}  // namespace cli
