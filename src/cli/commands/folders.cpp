// cli/commands/folders.cpp: folder add, list and remove.
#include <fmt/format.h>

#include <algorithm>

#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"

namespace cli {
namespace {

using Need = Options::Need;

class FolderAdd : public Command {
 public:
  void declare(Options& options) override {
    options.word(&name_, "NAME", Need::kRequired, "its name");
    options.word(&directory_, "DIR", Need::kOptional, "its place in the work directory");
    options.flag(&isMine_, "--mine", "only you have it");
    options.dryRun(&isDry_);
  }

  void run(Session& session) override {
    if (name_.empty() || name_.find_first_of("]\n") != std::string::npos) {
      throw misuse(name_, "a folder's name can't hold \"]\" or a line end, nor be empty");
    }
    const WorkDirectory& work = session.work();
    std::string place;
    if (!directory_.empty()) {
      const std::string whole = session.absolute(directory_);
      if (!isBelow(work.top, whole)) {
        throw misuse(directory_, fmt::format("lies outside of {}", shown(work.top)));
      }
      place = whole == work.top ? "" : relativePath(work.top, whole);
    }
    session.project().refuseCut();
    session.project().refuseKnownFolder(name_);
    if (!isDry_) session.project().addFolder({name_, place, isMine_});
    const std::string verb = saidOf({"create", "created"}, isDry_);
    session.output().result(
        {{"name", name_}, {"action", verb}, {"directory", place}},
        fmt::format("{} folder {}{}", verb, name_, isMine_ ? ", yours only" : ""));
    if (isDry_) return;
    session.output().hint(
        place.empty()
            ? fmt::format("'trevault add -f {} FILE' puts files into it", name_)
            : fmt::format("files below {} that are added from now on belong to it", shown(place)));
  }

 private:
  std::string name_;
  std::string directory_;
  bool isMine_ = false;
  bool isDry_ = false;
};

class FolderList : public Command {
 public:
  void declare(Options& options) override {
    options.flag(&isNull_, "-0,--null", "names alone, each ended by NUL");
  }
  void run(Session& session) override {
    std::vector<std::vector<std::string>> rows;
    std::vector<Fields> items;
    std::string names;
    for (const FolderRecord& each : session.project().folders()) {
      names += each.name + '\0';
      rows.push_back({shown(each.name), each.directory.empty() ? "." : shown(each.directory),
                      counted(each.files, "file"), each.isMine ? "yours only" : ""});
      items.push_back({{"name", each.name},
                       {"directory", each.directory},
                       {"mine", each.isMine},
                       {"files", each.files}});
    }
    if (isNull_) return session.output().bytes(names);
    session.output().results(items, rows);
    if (rows.empty()) session.output().line("no folders");
  }

 private:
  bool isNull_ = false;
};

class FolderRemove : public Command {
 public:
  void declare(Options& options) override {
    options.word(&name_, "NAME", Need::kRequired, "the folder");
    options.dryRun(&isDry_);
  }

  void run(Session& session) override {
    Project& project = session.project();
    project.refuseCut();
    const FolderRecord folder = project.folder(name_);
    beSure(session, "folder remove",
           fmt::format("remove folder {} with the records of {}; archives and files stay", name_,
                       counted(folder.files, "file")),
           isDry_);
    if (!isDry_) project.removeFolder(name_);
    const std::string verb = saidOf({"remove", "removed"}, isDry_);
    session.output().result({{"name", name_}, {"action", verb}, {"files", folder.files}},
                            fmt::format("{} folder {}", verb, name_));
  }

 private:
  bool isDry_ = false;
  std::string name_;
};

}  // namespace

std::unique_ptr<Command> makeFolderAdd() { return makeCommand<FolderAdd>(); }
std::unique_ptr<Command> makeFolderList() { return makeCommand<FolderList>(); }
std::unique_ptr<Command> makeFolderRemove() { return makeCommand<FolderRemove>(); }

}  // namespace cli
