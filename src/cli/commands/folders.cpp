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
    session.project().addFolder({name_, place, isMine_});
    session.output().result(
        {{"name", name_}, {"action", "created"}, {"directory", place}},
        fmt::format("created folder {}{}", name_, isMine_ ? ", yours only" : ""));
    session.output().hint(
        place.empty()
            ? fmt::format("'trevault add -f {} FILE' puts files into it", name_)
            : fmt::format("files below {} that are added from now on belong to it", shown(place)));
  }

 private:
  std::string name_;
  std::string directory_;
  bool isMine_ = false;
};

class FolderList : public Command {
 public:
  void declare(Options&) override {}
  void run(Session& session) override {
    std::vector<std::vector<std::string>> rows;
    std::vector<Fields> items;
    for (const FolderRecord& each : session.project().folders()) {
      rows.push_back({shown(each.name), each.directory.empty() ? "." : shown(each.directory),
                      counted(each.files, "file"), each.isMine ? "yours only" : ""});
      items.push_back({{"name", each.name},
                       {"directory", each.directory},
                       {"mine", each.isMine},
                       {"files", each.files}});
    }
    session.output().results(items, rows);
    if (rows.empty()) session.output().line("no folders");
  }
};

class FolderRemove : public Command {
 public:
  void declare(Options& options) override {
    options.word(&name_, "NAME", Need::kRequired, "the folder");
  }

  void run(Session& session) override {
    Project& project = session.project();
    const auto folders = project.folders();
    const auto found = std::find_if(folders.begin(), folders.end(),
                                    [&](const FolderRecord& each) { return each.name == name_; });
    if (found == folders.end()) {
      std::vector<std::string> known;
      for (const FolderRecord& each : folders) known.push_back(each.name);
      const std::string near = nearest(name_, known);
      throw misuse(name_, "no such folder",
                   near.empty() ? "'trevault folder list' lists them"
                                : fmt::format("did you mean '{}'?", near));
    }
    beSure(session, "folder remove",
           fmt::format("remove folder {} with the records of {}; archives and files stay", name_,
                       counted(found->files, "file")),
           false);
    project.removeFolder(name_);
    session.output().result({{"name", name_}, {"action", "removed"}, {"files", found->files}},
                            fmt::format("removed folder {}", name_));
  }

 private:
  std::string name_;
};

}  // namespace

std::unique_ptr<Command> makeFolderAdd() { return makeCommand<FolderAdd>(); }
std::unique_ptr<Command> makeFolderList() { return makeCommand<FolderList>(); }
std::unique_ptr<Command> makeFolderRemove() { return makeCommand<FolderRemove>(); }

}  // namespace cli
