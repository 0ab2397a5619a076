// cli/commands/importrcs.cpp: import-rcs: RCS files become files of the project.
//
// An archive is made under a name of its own, read again and compared, and only then gets its place
// and its record: so a command that was stopped left nothing that looks whole, and the next one
// goes on. What has its place and no record was stopped just between both: it is compared, and
// taken. A list of the names of their own is kept as long as they are at work: by it the next
// command removes what one left that was killed.
#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/newfiles.h"
#include "cli/local/walk.h"
#include "cli/moving/rcsimport.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"
#include "os/place.h"
#include "os/sibling.h"
#include "os/stop.h"

namespace cli {
namespace {

constexpr size_t kMostFiles = 32;  // That are at work together, and lost by a stop.
constexpr uint64_t kMostBytes = uint64_t{64} << 20;  // In which they are, if that is more than one.
constexpr const char* kDraftMark = ".import-";       // The name of each begins with it.

class ImportRcs : public FileCommand {
 public:
  ImportRcs() : FileCommand("import-rcs", State::Use::kChange) {}

  void declare(Options& options) override {
    options.text(&folder_, "-f,--folder", "NAME", "the folder that they go to");
    declareDry(options);
    declareNames(options, Need::kRequired, "RCS files, and directories that hold some", "FILE,v");
  }

 private:
  struct Job {
    Job(const std::string& source, const FileRecord& file, const std::string& typed)
        : import(source, file, typed) {}
    RcsImport import;
    std::string draft;  // The archive until it is whole; empty if it was there.
    bool isGood = true;
  };
  using Jobs = std::vector<std::unique_ptr<Job>>;

  // An RCS file.
  struct Found {
    std::string source;
    std::string typed;
    std::string path;  // From the directory of the shell on.
    bool isNamed;
  };

  void work() override {
    session().project().refuseCut();
    places_ = std::make_unique<NewFiles>(session(), folder_, local().files());
    for (const FileRecord& file : local().files()) known_[file.path] = file.archive;
    base_ = local().fromTop(".");
    if (base_ == ".") base_.clear();
    if (!isDry_) places_->askForPlace("import-rcs");
    scratch_ = absolutePath(local().directory().top, ".trevault/import");
    if (!isDry_) removeDrafts();
    for (const std::string& name : names_) collect(name);
    output().begin(found_.size());
    try {
      for (const Found& each : found_) {
        output().mayStop();
        if (!guarded([&] { take(each); })) output().step();
      }
      importGroup();
      output().end();
    } catch (const Problem& problem) {
      if (problem.exit != Exit::kCancelled) throw;
      output().end();
      output().stop(problem);
    }
    tellSum();
  }

  // A file of the directory "RCS" belongs to the directory above.
  void collect(const std::string& name) {
    const std::string whole = session().absolute(name);
    if (!os::hasEntry(whole.c_str())) {
      guarded([&] { throw Problem{name, "no such file", ""}; });
      return;
    }
    if (!os::directoryState(whole.c_str())) {
      found_.push_back({whole, name, std::string(namePart(whole)), true});
      return;
    }
    const PassedOver passed = walk(whole, ".", Ignoring::kNot, [&](const std::string& path) {
      if (!path.ends_with(",v")) return;
      std::string below;
      for (const std::string& part : split(path, '/')) {
        if (part != "RCS") below = joined(below, part);
      }
      found_.push_back({joined(whole, path), joined(name, path), below, false});
    });
    tellUnreadable(session(), passed);
  }

  bool guarded(const std::function<void()>& step) {
    try {
      step();
      return true;
    } catch (const Problem& problem) {
      if (problem.exit == Exit::kCancelled) throw;
      output().problem(problem);
      ++failed_;
      return false;
    }
  }

  void take(const Found& found) {
    std::string path = found.path;
    if (path.ends_with(",v")) path.resize(path.size() - 2);
    path = joined(base_, path);
    const FileRecord file = places_->record(path);
    const auto known = known_.find(path);
    if (known != known_.end()) {
      // The same command goes on after it was stopped: what it has done is done.
      if (!found.isNamed && known->second == file.archive) {
        ++skipped_;
        return output().step();
      }
      throw Problem{shownPath(file), "in the project already", ""};
    }
    static_cast<void>(local().pathOf(file));
    local().refuseCrossing(path);
    auto job = std::make_unique<Job>(found.source, file, found.typed);
    job->import.tryOut();
    known_[path] = file.archive;
    bytes_ += job->import.size();
    jobs_.push_back(std::move(job));
    if (jobs_.size() == kMostFiles || bytes_ >= kMostBytes) importGroup();
  }

  void importGroup() {
    if (!isDry_) {
      fill();
      for (const auto& job : jobs_) {
        if (job->isGood) job->isGood = guarded([&] { finish(*job); });
      }
      store();
    }
    for (const auto& job : jobs_) {
      if (!job->draft.empty() && !job->isGood)
        static_cast<void>(os::removeFile(job->draft.c_str()));
      if (job->isGood) tellFile(job->import);
      if (job->isGood || !os::isStopWanted()) output().step();
    }
    clear(scratch_);
    jobs_.clear();
    bytes_ = 0;
    output().mayStop();
  }

  // A change of each file in turn: the engine brings those of one round to the disk together.
  void fill() {
    clear(scratch_);
    std::vector<Job*> active;
    for (const auto& job : jobs_) {
      const FileRecord& file = job->import.file();
      if (os::hasEntry(file.archive.c_str())) continue;
      job->isGood = guarded([&] { makePlaceOf(file); });
      if (!job->isGood) continue;
      const size_t hash = std::hash<std::string>()(file.archive);
      job->draft = joined(os::parentOf(file.archive), fmt::format("{}{:016x}", kDraftMark, hash));
      static_cast<void>(os::removeFile(job->draft.c_str()));
      active.push_back(job.get());
    }
    listDrafts(active);
    static_cast<void>(TrvsBeginBatch(TRVS_CONTEXT));
    while (!active.empty() && !os::isStopWanted()) {
      std::erase_if(active, [&](Job* job) {
        bool goesOn = false;
        const std::string scratch = joined(scratch_, namePart(job->draft));
        job->isGood = guarded([&] { goesOn = job->import.step(job->draft, scratch); });
        return !goesOn;
      });
    }
    static_cast<void>(TrvsEndBatch(TRVS_CONTEXT));  // What it undoes the comparison finds.
    for (Job* job : active) job->isGood = false;
  }

  std::string draftList() const { return joined(scratch_, "drafts"); }

  // Without the list only a killed command leaves something.
  void listDrafts(const std::vector<Job*>& jobs) const {
    std::string list;
    for (const Job* job : jobs) list += job->draft + '\0';
    os::Place place;
    if (!os::makeDirectories(scratch_)) return;
    if (os::Place::of(draftList(), &place) != os::FileResult::kDone) return;
    static_cast<void>(os::replaceFile(place, nullptr, list, nullptr));
  }

  // Who made them has ended: one command at a time works in this directory.
  void removeDrafts() const {
    std::string list;
    static_cast<void>(os::readFile(draftList().c_str(), kMostBytes, &list));
    for (const std::string& draft : split(list, '\0')) {
      const std::string name(namePart(draft));
      if (!name.starts_with(kDraftMark)) continue;
      static_cast<void>(os::removeFile(draft.c_str()));
      const std::string sibling = os::nameBeside(name, os::kSiblingMark, 0);
      static_cast<void>(os::removeFile(joined(os::parentOf(draft), sibling).c_str()));
    }
  }

  void finish(Job& job) {
    const FileRecord& file = job.import.file();
    revisions_ += job.import.revisions();
    if (job.draft.empty()) {
      try {
        return job.import.compare(file.archive, &compared_);
      } catch (const Problem&) {
        throw Problem{shownPath(file),
                      fmt::format("there is another archive {}", shown(file.archive)),
                      "take it with 'trevault import', or see whose it is"};
      }
    }
    job.import.compare(job.draft, &compared_);
    output().count(job.import.size());
    if (os::moveFile(job.draft, file.archive) != os::FileResult::kDone) {
      throw Problem{shownPath(file), fmt::format("{} can't be made", shown(file.archive)),
                    "see who owns the directory"};
    }
    job.draft = file.archive;
    os::shareWithGroup(file.archive);
  }

  // Names are on the disk before records speak of them.
  void store() {
    std::map<std::string, const std::string*> latest;  // By directory.
    std::vector<FileRecord> records;
    for (const auto& job : jobs_) {
      if (!job->isGood) continue;
      records.push_back(job->import.file());
      latest[os::parentOf(job->import.file().archive)] = &job->import.file().archive;
    }
    for (const auto& [directory, archive] : latest) {
      os::Place place;
      os::File file;
      if (os::Place::of(*archive, &place) == os::FileResult::kDone &&
          file.open(place, os::File::Access::kRead) == os::FileResult::kDone) {
        file.syncName();
      }
    }
    session().project().addFiles(records, [&](const FileRecord& file, const Problem& problem) {
      output().problem(problem);
      ++failed_;
      for (const auto& job : jobs_) {
        if (job->import.file().path == file.path) job->isGood = false;
      }
    });
    storeLabels();
  }

  void storeLabels() {
    std::map<std::string, std::vector<LabelledFile>> labelled;
    for (const auto& job : jobs_) {
      if (!job->isGood) continue;
      const FileRecord& file = job->import.file();
      for (const RcsImport::Label& each : job->import.labels()) {
        labelled[each.name].push_back({file.path, file.archive, each.revision});
      }
    }
    for (const auto& [label, files] : labelled) {
      guarded([&, &name = label, &all = files] { local().listLabelled(name, all); });
    }
  }

  static void clear(const std::string& directory) {
    os::forEachEntry(directory.c_str(), [&](const char* name) {
      const std::string path = joined(directory, name);
      os::directoryState(path.c_str()) ? clear(path)
                                       : static_cast<void>(os::removeFile(path.c_str()));
    });
    os::removeDirectory(directory);
  }

  void tellFile(const RcsImport& done) {
    ++imported_;
    std::string counts = counted(done.revisions(), "revision");
    if (done.branches() > 0) counts += ", " + counted(done.branches(), "branch");
    if (!done.labels().empty()) counts += ", " + counted(done.labels().size(), "label");
    const char* const verb = isDry_ ? "would import" : "imported";
    output().result({{"file", done.file().path},
                     {"action", verb},
                     {"revision", done.tip()},
                     {"before", nullptr},
                     {"archive", done.file().archive},
                     {"revisions", done.revisions()},
                     {"branches", done.branches()},
                     {"labels", done.labels().size()},
                     {"notes", done.notes()}},
                    fmt::format("{} {}: {}", verb, shownPath(done.file()), counts));
    for (const std::string& note : done.notes()) output().line("  " + note);
  }

  void tellSum() const {
    if (skipped_ > 0) {
      output().line(fmt::format("{} skipped, in the project already", counted(skipped_, "file")));
    }
    if (isDry_) {
      output().line(counted(imported_, "file"));
    } else if (revisions_ > 0) {
      output().line(fmt::format("{} imported, {} of {} compared", counted(imported_, "file"),
                                number(compared_), counted(revisions_, "revision")));
      output().hint("'trevault checkout' brings them here");
    } else if (failed_ + skipped_ == 0) {
      tellNothing("nothing to import");
    }
    if (failed_ > 0 && failed_ + imported_ > 1) {
      output().problem(
          {"import-rcs",
           fmt::format("{} of {} failed", number(failed_), counted(failed_ + imported_, "file")),
           ""});
    }
  }

  std::string folder_;
  std::unique_ptr<NewFiles> places_;
  std::map<std::string, std::string> known_;  // Archives, by path.
  std::string base_;                          // Where the files go, from the top.
  std::string scratch_;
  std::vector<Found> found_;
  Jobs jobs_;
  uint64_t bytes_ = 0;
  size_t imported_ = 0;
  size_t failed_ = 0;
  size_t skipped_ = 0;
  size_t revisions_ = 0;
  size_t compared_ = 0;
};

}  // namespace

std::unique_ptr<Command> makeImportRcs() { return makeCommand<ImportRcs>(); }

}  // namespace cli
