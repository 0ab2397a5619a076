// cli/database/database.cpp: the roots, and the list of projects by way of the library's classes.
#include "cli/database/database.h"

#include <fmt/format.h>

#include <new>

#include "cli/database/handles.h"
#include "cli/database/messages.h"
#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/shellword.h"
#include "cli/text/text.h"
#include "core/lockscope.h"
#include "domain/projectroot.h"
#include "os/directory.h"
#include "os/file.h"
#include "store/format52.h"
#include "store/profile.h"
#include "toolkit/bracket.h"

namespace cli {
namespace {

using foldapi::Side;
using foldapi::TVHandle;
using foldapi::TVProjectFolder;
using foldapi::TVProjectFolderHandle;
using foldapi::TVProjectRootHandle;
using foldapi::VPathString;
using foldapi::VString;

constexpr const char* kDefaultPlace = "the default place";

std::string resolved(const std::string& directory) {
  return directory.empty() ? "" : os::realPath(directory);
}

// A share that isn't mounted looks like a database that nobody has made, and a server that is away
// like neither.
void refuseMissing(const Place& root) {
  os::FileStatus status;
  const os::FileResult found =
      os::readEntryStatus(listOfProjects(root.path, Side::kPublic).c_str(), &status);
  if (found == os::FileResult::kDone) return;
  if (found != os::FileResult::kMissing) {
    throw Problem{root.path, "the project database can't be reached",
                  "see whether its share is mounted, and who may read it"};
  }
  throw misuse(root.path, "there is no project database",
               isDefault(root) ? "'trevault init' or 'trevault project add' makes one"
                               : "is its share mounted? 'trevault init' makes a new one");
}

}  // namespace

std::string listOfProjects(const std::string& root, Side side) {
  return native(VString(joined(root, side == Side::kPublic ? "trvsproj.pub" : "trvsproj.prv")));
}

Roots rootsOfProfile() {
  Roots roots;
  for (const auto& [key, place] :
       {std::pair("TRVSPROJ", &roots.publicRoot), std::pair("TRVSPRIV", &roots.privateRoot)}) {
    const auto value = foldapi::profileValue("[TRVSGUI]", key);
    *place = value ? Place{native(VString(*value)), "the profile", true}
                   : Place{joined(foldapi::userDataDirectory(), key), kDefaultPlace};
  }
  return roots;
}

void storeRoots(const Roots& roots) {
  foldapi::TVHandle context(&Messages::instance(), nullptr);
  for (const auto& [key, place] :
       {std::pair("TRVSPROJ", &roots.publicRoot), std::pair("TRVSPRIV", &roots.privateRoot)}) {
    Messages::instance().forget();
    foldapi::writeProfile(VPathString(foldapi::profilePath()), nullptr, key, VString(place->path),
                          context);
    if (foldapi::profileValue("[TRVSGUI]", key) == place->path) continue;
    throw Problem{foldapi::profilePath(), withMessages("can't be written"), "see who owns it"};
  }
}

bool isDefault(const Place& root) { return root.reason == kDefaultPlace; }

struct Database::Impl {
  TVProjectRootHandle root;
};

Database::Database(Roots roots, Making making)
    : roots_(std::move(roots)), impl_(std::make_unique<Impl>()) {
  const bool isAgain = making == Making::kOnce && roots_.publicRoot.isRemembered;
  if (making == Making::kNot || isAgain) refuseMissing(roots_.publicRoot);
  Messages& messages = Messages::instance();
  foldapi::SetGlobalHandler(&messages);
  if (!foldapi::EnableToolkit(messages)) throw Problem{"trevault", "no memory to start"};
  foldapi::registerFormat52();
  impl_->root = TVProjectRootHandle::create(roots_.publicRoot.path, roots_.privateRoot.path,
                                            foldapi::theNullHandle(),
                                            {.sink = &messages, .version = foldapi::kFormat52});
  messages.forget();
  impl_->root.open();
  const std::string list = listOfProjects(roots_.publicRoot.path, Side::kPublic);
  if (!os::hasEntry(list.c_str())) {
    throw Problem{roots_.publicRoot.path, withMessages("can't be made"),
                  "ask who owns the directory above, or choose another with --public"};
  }
  if (os::checkAccess(list.c_str(), os::File::Access::kUpdate) == os::FileResult::kRefused) {
    throw Problem{list, "you may not write it, and so not work with its projects",
                  "ask who owns it to let you into its group"};
  }
  if (projects().empty() && !messages.areNone()) {
    throw Problem{list, withMessages("can't be read"), "try again, or restore it from a back-up"};
  }
}

Database::~Database() = default;

std::vector<std::string> Database::projects() const {
  std::vector<std::string> names;
  forEach<TVProjectFolder>(impl_->root, [&](TVHandle& child) {
    names.push_back(child.as<TVProjectFolder>()->folderName().str());
  });
  return names;
}

namespace {

TVProjectFolderHandle findProject(TVProjectRootHandle& root, const std::string& name) {
  TVProjectFolderHandle found;
  forEach<TVProjectFolder>(root, [&](TVHandle& child) {
    if (child.as<TVProjectFolder>()->folderName().str() == name) {
      found = TVProjectFolderHandle(child);
    }
  });
  return found;
}

}  // namespace

Project Database::open(const std::string& name) {
  Project project;
  project.impl_ = std::make_unique<Project::Impl>();
  project.impl_->handle = findProject(impl_->root, name);
  if (project.impl_->handle.isNull()) {
    throw misuse(name, "no such project",
                 offerNearest(name, projects(), "'trevault project list' lists them"));
  }
  Messages::instance().forget();
  // Reads the configuration: what is wrong there, the list might not be read by.
  static_cast<void>(project.impl_->handle.effectiveConfig());
  project.impl_->noteDamage();
  return project;
}

Project Database::openMaster() {
  const std::string name = "Master Project";
  if (!findProject(impl_->root, name).isNull()) return open(name);
  throw Problem{name, "there is none, so no file of all projects",
                fmt::format("'trevault project add \"{}\" DIR' makes it", name)};
}

void Database::refuseKnown(const std::string& name) const {
  if (findProject(impl_->root, name).isNull()) return;
  throw misuse(name, "there is such a project already",
               fmt::format("'trevault join {}' to work in it", shellWord(name)));
}

Project Database::add(const std::string& name, const std::string& work,
                      const std::string& teamWork) {
  refuseKnown(name);
  Messages::instance().forget();
  TVProjectFolderHandle::create(name, foldapi::TVProjectConfig(), work, teamWork, impl_->root);
  if (findProject(impl_->root, name).isNull()) {
    throw Problem{name, withMessages("could not be created"), "choose another name or place"};
  }
  return open(name);
}

void Database::remove(const std::string& name) {
  TVProjectFolderHandle project = findProject(impl_->root, name);
  Messages::instance().forget();
  project.destroy(foldapi::theNoLock());
  if (!findProject(impl_->root, name).isNull()) {
    throw Problem{name, withMessages("could not be removed"), "try again"};
  }
}

std::optional<Database::Holder> Database::holderOf(const std::string& directory) {
  std::optional<Holder> best;
  const std::string place = resolved(directory);
  forEach<TVProjectFolder>(impl_->root, [&](TVHandle& child) {
    const auto& project = *child.as<TVProjectFolder>();
    for (const VString* each : {&project.privateWorkDir(), &project.publicWorkDir()}) {
      const std::string top = resolved(native(*each));
      const bool isDeeper = !best || top.size() > best->top.size();
      if (!top.empty() && isBelow(top, place) && isDeeper) {
        best = Holder{project.folderName().str(), top};
      }
    }
  });
  return best;
}

bool trustsConfigurations() {
  try {
    return foldapi::profileAllows("TRVSTRIGGERS");
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace cli
