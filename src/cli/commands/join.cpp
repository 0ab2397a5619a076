// cli/commands/join.cpp: join and follow: what a work directory is for.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/archives/promotion.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/fetch.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"

namespace cli {
namespace {

// What can't be followed: it stays where it is, or means something else in each file.
void refuseUnmarked(const std::string& text) {
  const bool isNumber = text.find_first_not_of("0123456789.") == std::string::npos;
  const bool isDate = text.find('@') != std::string::npos;
  const bool isRange = text.find("..") != std::string::npos;
  if (isNumber || isDate || isRange || text == "here" || text == "followed" || text == "tip") {
    throw misuse(text, "can't be followed", "name a label, a group, or 'trunk'");
  }
}

void refuseUnusedLabel(const std::string& label, const std::vector<FileRecord>& files) {
  std::vector<std::string> known;
  for (const FileRecord& file : files) {
    try {
      const History history(file.archive, file.path);
      if (history.withLabel(label) != nullptr) return;
      const auto marks = history.marks();
      known.insert(known.end(), marks.begin(), marks.end());
    } catch (const Problem&) {
      continue;  // It is told when its turn comes.
    }
  }
  throw unknownLabel(label, known);
}

// The trunk, a group of the model, or a label that some file has: with what the user may have
// written before it.
void refuseUnknown(const std::string& text, const PromotionModel& model, const Project& project) {
  if (text == "trunk") return;
  refuseUnmarked(text);
  const bool saysGroup = text.starts_with("group:");
  const bool saysLabel = text.starts_with("label:");
  const std::string name = saysGroup || saysLabel ? text.substr(text.find(':') + 1) : text;
  if (!saysLabel && model.has(name)) return;
  saysGroup ? model.refuseUnknown(name) : refuseUnusedLabel(name, project.files());
}

// Puts files into a work directory, and says so.
class Bringing : public FileCommand {
 protected:
  explicit Bringing(const char* name) : FileCommand(name, State::Use::kChange) {}

  void checkOut(const FileRecord& file, const RevisionInfo& wanted) const {
    const std::string number = wanted.number;
    const bool isMine = wanted.isLockedBy(local().user());
    if (!isDry_) {
      fetch(local(), file, number, isMine ? uint32_t{TRVS_GET_WRITABLE} : 0);
      local().note(file, number, isMine);
    }
    tell(file, said({"check out", "checked out"}), number);
  }

  void remove(const FileRecord& file, const std::string& reason) const {
    const std::string path = local().pathToWrite(file);
    if (!isDry_ && os::removeFile(path.c_str()) != os::FileResult::kDone) {
      throw Problem{shownPath(file), "can't be removed", "see who owns its directory"};
    }
    if (!isDry_) local().forget(file);
    tell(file, said({"remove", "removed"}), "", reason);
  }

  void setPlace(const WorkDirectory& directory) const {
    output().set("project", directory.project);
    output().set("work", directory.top);
    output().set("follows", directory.follows);
    output().set("group", directory.group);
  }
};

class Join : public Bringing {
 public:
  Join() : Bringing("join") {}

  void declare(Options& options) override {
    options.text(&follows_, "--follow", "REV", "a label or a group; else the trunk");
    options.text(&group_, "-g,--group", "NAME", "the development group to work in");
    options.flag(&isEmpty_, "--no-checkout", "leave the directory as it is");
    declareDry(options);
    options.word(&name_, "PROJECT", Need::kRequired, "the project");
    options.word(&directory_, "DIR", Need::kOptional, "else this one");
  }

 private:
  void work() override {
    top_ = session().absolute(directory_.empty() ? "." : directory_);
    goOn();
    session().use(session().database().open(name_));
    Project& project = session().project();
    project.useConfiguration();
    const PromotionModel model = PromotionModel::present();
    group_ = model.chosen(group_, name_);
    if (follows_.empty()) follows_ = "trunk";
    refuseUnknown(follows_, model, project);
    if (!isDry_) makeWorkDirectory(project);
    const Roots& roots = session().database().roots();
    WorkDirectory directory{.top = top_,
                            .project = name_,
                            .publicRoot = roots.publicRoot.path,
                            .privateRoot = roots.privateRoot.path,
                            .follows = follows_,
                            .group = group_,
                            .isStored = true};
    if (!isDry_) storeWorkDirectory(directory);
    session().use(std::move(directory));
    if (isEmpty_) return tellPlace();
    forEach(local().choose({}), [&](const FileRecord& file) { bring(file); });
    tellPlace();
  }

  // A directory that was joined before follows what it followed, unless the user says otherwise.
  void goOn() {
    const auto there = findWorkDirectory(top_);
    if (!there || there->top != top_) return;
    if (there->project != name_) {
      throw misuse(top_, fmt::format("belongs to project {} already", there->project),
                   "choose another directory");
    }
    if (follows_.empty()) follows_ = there->follows;
    if (group_.empty()) group_ = there->group;
  }

  // The first one of a user is known to the database, further ones by themselves.
  void makeWorkDirectory(Project& project) const {
    if (!os::makeDirectories(top_)) {
      throw Problem{top_, "can't be made", "choose another directory"};
    }
    const std::string known = project.workDirectory();
    if (known.empty() || known == project.teamWorkDirectory()) project.setWorkDirectory(top_);
  }

  // What is there already stays; what is equal belongs to the project from now on.
  void bring(const FileRecord& file) {
    const RevisionInfo* const wanted = local().followedOf(file);
    if (wanted == nullptr) return;
    if (!os::hasEntry(local().pathOf(file).c_str())) {
      checkOut(file, *wanted);
    } else if (local().isThere(file, wanted->number)) {
      local().note(file, wanted->number, wanted->isLockedBy(local().user()));
      tell(file, said({"take on", "took on"}), wanted->number);
    } else {
      local().noteChanged(file, wanted->number);
      tell(file, said({"keep", "kept"}), "", ", changed from " + wanted->number);
    }
    ++done_;
  }

  void tellPlace() const {
    setPlace({.top = top_, .project = name_, .follows = follows_, .group = group_});
    const std::string count = isEmpty_ ? "nothing checked out" : counted(done_, "file");
    output().line(
        fmt::format("{} {} in {}: {}", said({"join", "joined"}), name_, shown(top_), count));
  }

  std::string follows_;
  std::string group_;
  bool isEmpty_ = false;
  std::string name_;
  std::string directory_;
  std::string top_;
  size_t done_ = 0;
};

class Follow : public Bringing {
 public:
  Follow() : Bringing("follow") {}

  void declare(Options& options) override {
    options.text(&group_, "-g,--group", "NAME", "the development group to work in");
    declareDry(options);
    options.word(&follows_, "REV", Need::kOptional, "a label, a group, or trunk");
  }

 private:
  void work() override {
    const bool isChange = !follows_.empty() || !group_.empty();
    if (!isChange) return tellPlace(session().work());
    const WorkDirectory before = local().directory();
    if (!group_.empty()) group_ = local().promotion().chosen(group_, before.project);
    const std::string group = group_.empty() ? before.group : group_;
    if (follows_.empty()) {
      if (!isDry_) local().follow(before.follows, group);
    } else {
      refuseUnknown(follows_, local().promotion(), session().project());
      go(group);
    }
    if (!isDry_) return tellPlace(local().directory());
    WorkDirectory after = before;
    if (!follows_.empty()) after.follows = follows_;
    after.group = group;
    tellPlace(after);
  }

  // All files are looked at first: the directory goes on as a whole, or stays.
  void go(const std::string& group) {
    std::vector<Plan> plans;
    bool areAll = true;
    for (const FileRecord* file : local().choose({})) {
      output().mayStop();
      try {
        plans.push_back(planOf(*file));
      } catch (const Problem& problem) {
        output().problem(problem);
        areAll = false;
      }
    }
    if (!areAll) throw Problem{"follow", "nothing was changed", ""};
    if (!isDry_) local().follow(follows_, group);
    Files files;
    for (const Plan& plan : plans) files.push_back(plan.file);
    size_t place = 0;
    forEach(files, [&](const FileRecord&) { carryOut(plans[place++]); });
  }

  struct Plan {
    const FileRecord* file;
    const RevisionInfo* wanted;  // Null: the target has none.
    const RevisionInfo* here;
    Standing standing;
  };

  const RevisionInfo* wantedOf(const FileRecord& file) {
    if (follows_ == "trunk") return local().historyOf(file).tipOf("1");
    return local().markedOf(file, follows_);
  }

  Plan planOf(const FileRecord& file) {
    Plan plan{&file, wantedOf(file), local().hereOf(file), local().standingOf(file)};
    const bool isOther = plan.wanted != nullptr && plan.wanted != plan.here;
    if (!isOther) return plan;
    const std::string path = shownPath(file);
    if (plan.standing == Standing::kUnknown && !local().isThere(file, plan.wanted->number)) {
      throw Problem{path, "is there, and no revision is known that it came from",
                    "move it away, and follow again"};
    }
    const bool isMine = plan.here != nullptr && plan.here->isLockedBy(local().user());
    if (plan.standing != Standing::kChanged && !isMine) return plan;
    throw Problem{
        path,
        fmt::format("{}, and {} has {} instead of {}", isMine ? "locked by you" : "changed",
                    follows_, plan.wanted->number, plan.here->number),
        "check it in or revert it first"};
  }

  void carryOut(const Plan& plan) const {
    const bool isThere = plan.standing != Standing::kNone && plan.standing != Standing::kMissing;
    if (plan.wanted != nullptr) {
      const bool isDone = isThere && (plan.wanted == plan.here);
      if (!isDone) checkOut(*plan.file, *plan.wanted);
      return;
    }
    if (!isThere) return;
    const bool isMine = plan.here != nullptr && plan.here->isLockedBy(local().user());
    const std::string reason = fmt::format("not in {}", follows_);
    if (plan.standing == Standing::kSame && !isMine) {
      return remove(*plan.file, ", " + reason);
    }
    if (plan.standing == Standing::kUnknown) return;
    tell(*plan.file, "kept", "",
         fmt::format(", {} and {}", isMine ? "locked by you" : "changed", reason));
  }

  void tellPlace(const WorkDirectory& directory) const {
    setPlace(directory);
    output().line(directory.line(isDry_ ? "would follow" : "follows"));
  }

  std::string follows_;
  std::string group_;
};

}  // namespace

std::unique_ptr<Command> makeJoin() { return makeCommand<Join>(); }
std::unique_ptr<Command> makeFollow() { return makeCommand<Follow>(); }

}  // namespace cli
