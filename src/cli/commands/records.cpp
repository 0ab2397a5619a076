// cli/commands/records.cpp: remove, rename and import: which files a project has. Archives stay as
// they are.
#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/walk.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"

namespace cli {
namespace {

// For commands that change what the project says of files.
class RecordCommand : public FileCommand {
 protected:
  explicit RecordCommand(const char* name) : FileCommand(name, State::Use::kChange) {}

  // A file that somebody works on keeps its record and its name. A record whose archive is gone may
  // go.
  void refuseLocked(const FileRecord& file, const char* todo) const {
    if (!os::hasEntry(file.archive.c_str())) return;
    for (const LockInfo& lock : local().historyOf(file).locks()) {
      if (lock.user == local().user()) continue;
      throw Problem{shownPath(file), fmt::format("{} has locked {}", lock.user, lock.number), todo,
                    Exit::kFailed, TRVS_LOCKED};
    }
  }
};

class Remove : public RecordCommand {
 public:
  Remove() : RecordCommand("remove") {}

  void declare(Options& options) override {
    declareDry(options);
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    session().project().refuseCut();
    size_t removed = 0;
    forEach(chosen(), [&](const FileRecord& file) {
      if (remove(file)) ++removed;
    });
    if (removed > 1) tellCount(removed, kRemove);
    if (removed > 0) output().hint("the archives stay; 'trevault import' brings them back");
  }

  bool remove(const FileRecord& file) {
    refuseLocked(file, "it can't be removed before it is unlocked");
    const std::string path = shownPath(file);
    if (!isSure(file, question(file, path), "was not removed")) return false;
    if (!isDry_) {
      session().project().removeFile(file);
      local().forget(file);
    }
    output().result(
        {{"file", file.path}, {"action", said(kRemove)}, {"archive", file.archive}},
        fmt::format("{} {}, its archive stays at {}", said(kRemove), path, shown(file.archive)));
    return true;
  }

  std::string question(const FileRecord& file, const std::string& path) const {
    std::set<std::string> labels;
    if (os::hasEntry(file.archive.c_str())) {
      for (const RevisionInfo& each : local().historyOf(file).revisions()) {
        labels.insert(each.labels.begin(), each.labels.end());
      }
    }
    if (labels.empty()) return fmt::format("remove {} from {}", path, session().project().name());
    return fmt::format("{} has {}; check-outs of {} may no longer bring it; remove it", path,
                       counted(labels.size(), "label"), labels.size() == 1 ? "it" : "them");
  }

  static constexpr Verb kRemove{"remove", "removed"};
};

class Rename : public RecordCommand {
 public:
  Rename() : RecordCommand("rename") {}

  void declare(Options& options) override {
    declareDry(options);
    options.word(&old_, "OLD", Need::kRequired, "a file or a directory of the project");
    options.word(&new_, "NEW", Need::kRequired, "its new name, or a directory to put it in");
  }

 private:
  void work() override {
    session().project().refuseCut();
    const std::string from = local().fromTop(old_);
    const auto files = local().choose({old_});
    if (files.empty()) return;
    std::string to = local().fromTop(new_);
    const std::string& top = local().directory().top;
    if (os::directoryState(absolutePath(top, to).c_str())) to = joined(to, namePart(from));
    if (to.starts_with("./")) to.erase(0, 2);
    const auto moves = movesOf(files, from, to);
    size_t done = 0;
    for (const auto& [file, path] : moves) refuse(file, path);
    for (const auto& [file, path] : moves) {
      rename(file, path);
      ++done;
    }
    if (done > 1) output().line(counted(done, "file") + (isDry_ ? "" : " renamed"));
    output().hint("old labels come out under the new name");
  }

  using Move = std::pair<FileRecord, std::string>;

  static std::vector<Move> movesOf(const Files& files, const std::string& from,
                                   const std::string& to) {
    std::vector<Move> moves;
    for (const FileRecord* file : files) {
      const bool isIt = os::isSamePath(file->path, from);
      if (!isIt && !isBelow(from, file->path)) {
        throw misuse("rename", fmt::format("{} is a pattern", shown(from)),
                     "rename the files one by one");
      }
      moves.emplace_back(*file, isIt ? to : joined(to, file->path.substr(from.size() + 1)));
    }
    return moves;
  }

  std::string shownName(const std::string& path) const { return shownPath({path, "", ""}); }

  void refuse(const FileRecord& file, const std::string& path) const {
    refuseLocked(file, "wait until it is unlocked");
    const bool isKnown = std::any_of(local().files().begin(), local().files().end(),
                                     [&](const FileRecord& each) { return each.path == path; });
    const bool hasOld = local().stampOf(file) != Stamp();
    const bool hasNew = os::hasEntry(local().pathOf({path, "", ""}).c_str());
    // Who has moved the file already only wants the record to follow.
    if (isKnown || (hasOld && hasNew && !os::isSamePath(file.path, path))) {
      throw Problem{shownName(path), "is there already", "choose another name"};
    }
    local().refuseCrossing(path, file.path);
    refuseUnstorable(path);
  }

  void rename(const FileRecord& file, const std::string& path) const {
    const FileRecord renamed{path, file.archive, file.folder};
    if (!isDry_) {
      session().project().renameFile(file, path);
      move(file, renamed);
      local().rename(file, renamed);
    }
    const std::string verb = said({"rename", "renamed"});
    output().result({{"file", path}, {"action", verb}, {"before", file.path}},
                    fmt::format("{} {} to {}", verb, shownPath(file), shownName(path)));
  }

  void move(const FileRecord& file, const FileRecord& renamed) const {
    const std::string from = local().pathToWrite(file);
    const std::string to = local().pathToWrite(renamed);
    if (!os::hasEntry(from.c_str())) return;
    const bool isMoved =
        os::makeDirectories(os::parentOf(to)) && os::moveFile(from, to) == os::FileResult::kDone;
    if (isMoved) return;
    session().project().renameFile(renamed, file.path);
    throw Problem{shownPath(file), fmt::format("can't be moved to {}", shown(to)),
                  "see who owns both directories"};
  }

  std::string old_;
  std::string new_;
};

// The name of the file that an archive was made for.
std::string ownName(const std::string& archive, const std::string& typed) {
  constexpr std::string_view kHeading = "Workfile:";
  const auto lines = linesOf(
      [&] {
        return TrvsLog(TRVS_CONTEXT, archive.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr, TRVS_LOG_BRIEF);
      },
      {.file = typed, .archive = archive});
  for (const std::string& line : lines) {
    if (!line.starts_with(kHeading)) continue;
    const size_t begin = line.find_first_not_of(' ', kHeading.size());
    if (begin != std::string::npos) return std::string(namePart(line.substr(begin)));
  }
  throw Problem{typed, "tells no name of its file", "name it with --as"};
}

class Import : public FileCommand {
 public:
  Import() : FileCommand("import", State::Use::kChange) {}

  void declare(Options& options) override {
    options.text(&as_, "--as", "FILE", "what the file of one archive is to be called");
    options.text(&folder_, "-f,--folder", "NAME", "the folder that they go to");
    declareDry(options);
    declareNames(options, Need::kRequired, "archives, and directories of them", "ARCHIVE");
  }

 private:
  void work() override {
    for (const FileRecord& file : local().files()) {
      paths_.insert(file.path);
      archives_.insert(file.archive);
    }
    for (const std::string& name : names_) collect(name);
    if (!as_.empty() && found_.size() > 1) {
      throw misuse("--as", "is for one archive", "import the archives one by one");
    }
    if (!isDry_) {
      session().project().addFiles(found_, [&](const FileRecord& file, const Problem& problem) {
        output().problem(problem);
        failed_.insert(file.path);
      });
    }
    std::erase_if(found_, [&](const FileRecord& file) { return failed_.contains(file.path); });
    for (const FileRecord& file : found_) tell(file);
    if (found_.size() > 1 || (found_.empty() && !output().hasProblems())) {
      output().line(counted(found_.size(), "file") + (isDry_ ? "" : " imported"));
    }
    if (!found_.empty()) output().hint("'trevault checkout' brings them here");
  }

  void collect(const std::string& name) {
    const std::string path = session().absolute(name);
    if (!os::hasEntry(path.c_str())) {
      return output().problem({name, "no such file", ""});
    }
    if (!os::directoryState(path.c_str())) return take(path, "", name);
    const PassedOver passed = walk(path, ".", Ignoring::kNot, [&](const std::string& below) {
      const std::string archive = joined(path, below);
      if (looksLikeArchive(archive)) {
        take(archive, std::string(directoryPart(below)), joined(name, below));
      }
    });
    tellUnreadable(session(), passed);
  }

  static bool looksLikeArchive(const std::string& path) {
    char owner[256];
    return TrvsGetOwner(TRVS_CONTEXT, path.c_str(), owner, sizeof owner) == TRVS_DONE;
  }

  void take(const std::string& archive, const std::string& directory, const std::string& typed) {
    try {
      if (archives_.contains(archive)) return skip(typed);
      const std::string own = ownName(archive, typed);  // Fails for what is no archive.
      const std::string path = as_.empty() ? joined(directory, own) : local().fromTop(as_);
      if (paths_.contains(path)) {
        throw Problem{typed,
                      fmt::format("would be the file {}, which has another archive", shown(path)),
                      "name it with --as"};
      }
      local().refuseCrossing(path);
      paths_.insert(path);
      archives_.insert(archive);
      found_.push_back({path, archive, folder_});
    } catch (const Problem& problem) {
      output().problem(problem);
    }
  }

  void skip(const std::string& typed) const {
    output().line(fmt::format("skipped {}, in the project already", shown(typed)));
  }

  void tell(const FileRecord& file) const {
    const std::string verb = said({"import", "imported"});
    output().result(
        {{"file", file.path}, {"action", verb}, {"archive", file.archive}},
        fmt::format("{} {} as {}", verb, shown(session().fromHere(file.archive)), shownPath(file)));
  }

  std::string as_;
  std::string folder_;
  std::set<std::string> paths_;
  std::set<std::string> archives_;
  std::set<std::string> failed_;
  std::vector<FileRecord> found_;
};

}  // namespace

std::unique_ptr<Command> makeRemove() { return makeCommand<Remove>(); }
std::unique_ptr<Command> makeRename() { return makeCommand<Rename>(); }
std::unique_ptr<Command> makeImport() { return makeCommand<Import>(); }

}  // namespace cli
