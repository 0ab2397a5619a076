// cli/commands/add.cpp: add: archives with first revisions, and the records of the files.
#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/newfiles.h"
#include "cli/local/walk.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"

namespace cli {
namespace {

class Add : public FileCommand {
 public:
  Add() : FileCommand("add", State::Use::kChange) {}

  void declare(Options& options) override {
    options.text(&message_, "-m,--message", "TEXT", "what the first revisions are");
    options.text(&label_, "-l,--label", "NAME", "a label for them");
    options.text(&group_, "-g,--group", "NAME", "the development group they are in");
    options.text(&folder_, "-f,--folder", "NAME", "the folder that they go to");
    options.text(&number_, "-r,--revision", "NUMBER", "their number, such as 2.0");
    options.text(&archive_, "--archive", "PATH", "where the archive of one file is to be");
    options.flag(&noIgnore_, "--no-ignore", "also what .trevaultignore names");
    declareDry(options);
    declareNames(options, Need::kRequired);
  }

 private:
  void work() override {
    session().project().refuseCut();
    for (const FileRecord& file : local().files()) known_.insert(os::foldedPath(file.path));
    for (const std::string& name : names_) collect(name);
    if (group_.empty()) group_ = local().directory().group;
    if (label_.empty()) label_ = local().followedLabel();
    addAll();
    tellSums();
  }

  void collect(const std::string& name) {
    const std::string path = local().fromTop(name);
    const std::string whole = absolutePath(local().directory().top, path);
    if (!os::hasEntry(whole.c_str())) {
      return output().problem({name, "no such file", ""});
    }
    const bool isNamed = !os::directoryState(whole.c_str());
    const PassedOver passed =
        walk(local().directory().top, path, noIgnore_ ? Ignoring::kNot : Ignoring::kByRules,
             [&](const std::string& each) { take(each, isNamed); });
    tellUnreadable(session(), passed);
    links_ += passed.links;
    others_ += passed.others;
  }

  void take(const std::string& path, bool isNamed) {
    if (known_.insert(os::foldedPath(path)).second) return chosen_.push_back(path);
    if (isNamed && std::find(chosen_.begin(), chosen_.end(), path) == chosen_.end()) {
      output().line(fmt::format("skipped {}, under control already", shown(path)));
    }
  }

  void addAll() {
    const NewFiles places(session(), folder_, local().files());
    if (!isDry_ && archive_.empty() && !chosen_.empty()) places.askForPlace("add");
    if (!archive_.empty() && chosen_.size() > 1) {
      throw misuse("--archive", "is for one file", "add the files one by one");
    }
    const std::vector<FileRecord> records = recordsOfChosen(places);
    Files files;
    for (const FileRecord& file : records) files.push_back(&file);
    forEach(
        files, [&](const FileRecord& file) { create(file); }, [&] { tellMade(); });
  }

  void tellMade() {
    if (!isDry_) store();
    for (const Made& each : made_) {
      if (!isDry_) local().noteStored(each.file, firstNumber(), each.before, false);
      tell(each.file, said({"add", "added"}), firstNumber(), "",
           {{"archive", each.file.archive}, {"before", nullptr}});
    }
  }

  std::vector<FileRecord> recordsOfChosen(const NewFiles& places) const {
    std::vector<FileRecord> records;
    for (const std::string& path : chosen_) {
      try {
        local().refuseCrossing(path);
        records.push_back(
            places.record(path, archive_.empty() ? "" : session().absolute(archive_)));
      } catch (const Problem& problem) {
        output().problem(problem);
      }
    }
    return records;
  }

  // The records of what was made, in one edit, and their places in the list of a label.
  void store() {
    std::vector<FileRecord> files;
    for (const Made& each : made_) files.push_back(each.file);
    std::set<std::string> lost;
    session().project().addFiles(files, [&](const FileRecord& file, const Problem& problem) {
      output().problem(problem);
      takeBack(file);
      lost.insert(file.path);
    });
    std::erase_if(made_, [&](const Made& each) { return lost.contains(each.file.path); });
    std::vector<LabelledFile> labelled;
    for (const auto& [file, before] : made_) {
      labelled.push_back({file.path, file.archive, firstNumber()});
    }
    local().listLabelled(label_, labelled);
  }

  // A file without a record is as it was before: what was just made from it goes.
  void takeBack(const FileRecord& file) const {
    static_cast<void>(os::removeFile(file.archive.c_str()));
    static_cast<void>(os::setWritable(local().pathOf(file).c_str(), true));
  }

  std::string firstNumber() const { return number_.empty() ? "1.0" : number_; }

  void create(const FileRecord& file) {
    const Stamp before = local().stampOf(file);
    if (!isDry_) createArchive(file);
    later([this, &file, before] {
      if (!isDry_) os::shareWithGroup(file.archive);
      made_.push_back({file, before});
    });
  }

  void createArchive(const FileRecord& file) {
    const std::string workfile = local().pathToWrite(file);
    makePlaceOf(file);
    const std::string message = message_.empty() ? "First version" : message_;
    const int32_t status = TrvsCreateWithRevision(
        TRVS_CONTEXT, file.archive.c_str(), workfile.c_str(), nullptr, number_.c_str(),
        label_.c_str(), nullptr, message.c_str(), group_.c_str(), nullptr, 0, TRVS_PUT_READ_ONLY);
    if (status == TRVS_ARCHIVE_EXISTS && isLeftOver(file, workfile)) {
      return later([workfile] { static_cast<void>(os::setWritable(workfile.c_str(), false)); });
    }
    if (status == TRVS_ARCHIVE_EXISTS && named_.contains(file.archive)) {
      throw Problem{file.path, fmt::format("{} is another file's archive", shown(file.archive)),
                    "choose a place with --archive"};
    }
    check(status, {.file = file.path,
                   .archive = file.archive,
                   .workfile = workfile,
                   .revision = number_,
                   .label = label_,
                   .group = group_});
  }

  // Whether it is the archive of an earlier add of this file that was stopped before its record was
  // stored: then that is all that lacks.
  bool isLeftOver(const FileRecord& file, const std::string& workfile) {
    if (named_.empty()) nameArchives();
    char number[256];
    return !named_.contains(file.archive) &&
           TrvsFindContent(TRVS_CONTEXT, target(file.archive, workfile).c_str(), number,
                           sizeof number) == TRVS_DONE &&
           number == firstNumber() && local().historyOf(file).revisions().size() == 1;
  }

  void nameArchives() {
    Database& database = session().database();
    for (const std::string& name : database.projects()) {
      for (const FileRecord& file : database.open(name).files()) named_.insert(file.archive);
    }
    named_.insert("");  // So that they are looked up once.
  }

  void tellSums() const {
    Output& output = session().output();
    const bool isRefused = made_.empty() && output.hasProblems();
    if (made_.size() != 1 && !isRefused)
      output.line(fmt::format("{} added", counted(made_.size(), "file")));
    if (links_ > 0) output.line(fmt::format("{} skipped", counted(links_, "link")));
    if (others_ > 0) output.line(fmt::format("{} skipped", counted(others_, "special file")));
    if (made_.size() > 0 && !isDry_) {
      output.hint("they are read-only now; 'trevault lock FILE' before you edit one");
    }
  }

  std::string message_;
  std::string label_;
  std::string group_;
  std::string number_;
  std::string archive_;
  bool noIgnore_ = false;
  std::set<std::string> known_;
  std::set<std::string> named_;  // Archives that projects have.
  std::vector<std::string> chosen_;
  size_t links_ = 0;
  size_t others_ = 0;
  // Files with archives, and how they looked before.
  struct Made {
    FileRecord file;
    Stamp before;
  };
  std::vector<Made> made_;
};

}  // namespace

std::unique_ptr<Command> makeAdd() { return makeCommand<Add>(); }

}  // namespace cli
