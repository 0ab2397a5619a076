// cli/commands/verify.cpp: verify: every byte of every archive is read, and archives are looked for
// that no project names.
#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <set>
#include <utility>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/local/walk.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"

namespace cli {
namespace {

std::string theText;           // What the engine said last of the archive at hand.
std::exception_ptr theThrown;  // Nothing may be thrown through the engine.

int32_t takeText(const char* text) {
  try {
    theText = text;
    return TRVS_GO_ON;
  } catch (...) {
    theThrown = std::current_exception();
    return TRVS_REFUSE;
  }
}

// Leaves in theText what the engine says of it.
int32_t verifyArchive(const std::string& archive, char* buffer, int32_t size) {
  theText.clear();
  theThrown = nullptr;
  attachEngine(TRVS_CALLBACK_TEXT, &takeText);
  const int32_t status = TrvsVerifyArchive(TRVS_CONTEXT, archive.c_str(), buffer, size);
  if (theThrown != nullptr) std::rethrow_exception(theThrown);
  return status;
}

class Verify : public FileCommand {
 public:
  Verify() : FileCommand("verify", State::Use::kRead) {
    takeArchives();
    looking_ = LocalFiles::Looking::kRecords;
  }

  void declare(Options& options) override {
    options.flag(&isEverywhere_, "--everywhere", "in all projects");
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    if (isEverywhere_ && !isWhole()) {
      throw misuse("verify", "--everywhere is about all files", "leave the names away");
    }
    isEverywhere_ ? verifyAll() : verifyHere();
    tell();
  }

  void verifyHere() {
    for (const FileRecord* file : chosen()) verify(*file, shownPath(*file));
    if (isWhole() && nameAll()) lookForUnnamed(session().project().archiveDirectories());
  }

  void verifyAll() {
    std::vector<std::string> directories;
    const bool areAll = forEachProject([&](const Project& project) {
      project.useConfiguration();
      attachEngine(trustsConfigurations);
      for (const FileRecord& file : project.files()) {
        named_.insert(file.archive);
        verify(file, fmt::format("{}: {}", shown(project.name()), shown(file.path)));
      }
      for (std::string& each : project.archiveDirectories()) directories.push_back(each);
    });
    if (areAll) lookForUnnamed(directories);
  }

  bool nameAll() {
    return forEachProject([&](const Project& project) {
      for (const FileRecord& file : project.files()) named_.insert(file.archive);
    });
  }

  // False, after it was told, if one can't be read: any archive may be one of its own.
  bool forEachProject(const std::function<void(const Project& project)>& take) {
    bool areAll = true;
    Database& database = session().database();
    for (const std::string& name : database.projects()) {
      try {
        take(database.open(name));
      } catch (const Problem& problem) {
        output().problem(problem);
        areAll = false;
      }
    }
    return areAll;
  }

  void verify(const FileRecord& file, const std::string& path) {
    ++files_;
    const Subject subject{.file = path, .archive = file.archive};
    std::vector<std::string> lost;
    int32_t status = TRVS_DONE;
    try {
      lost = fetchList(
          [&](char* buffer, int32_t size) {
            status = verifyArchive(file.archive, buffer, size);
            const bool isTold = status == TRVS_NOT_AN_ARCHIVE || status == TRVS_TORN_END;
            return isTold ? TRVS_DONE : status;
          },
          subject);
      if (status == TRVS_NOT_AN_ARCHIVE) return tellDamaged(file, path, lost);
      if (status == TRVS_TORN_END) return tellTorn(file, path);
      const size_t revisions = History(file.archive, path).revisions().size();
      revisions_ += revisions;
      output().result(
          {{"file", file.path}, {"state", "whole"}, {"revisions", revisions}, {"lost", lost}},
          output().manner().verbose ? fmt::format("{}  {}", path, counted(revisions, "revision"))
                                    : "");
    } catch (const Problem& problem) {
      const auto [count, state] = countedAs(problem.status);
      ++*count;
      output().result({{"file", file.path}, {"state", state}}, "");
      output().problem(problem);
    }
  }

  std::pair<size_t*, const char*> countedAs(int32_t status) {
    if (status == TRVS_NO_ARCHIVE) return {&missing_, "missing"};
    if (status == TRVS_CANNOT_OPEN) return {&unreadable_, "unreadable"};
    return {&damaged_, "damaged"};
  }

  void tellDamaged(const FileRecord& file, const std::string& path,
                   const std::vector<std::string>& lost) {
    ++damaged_;
    output().result({{"file", file.path}, {"state", "damaged"}, {"lost", lost}}, "");
    std::string why = theText.empty() ? "the archive is damaged" : shown(theText);
    if (!lost.empty()) why += fmt::format(", {} can't be checked out", listed(lost));
    std::string todo = fmt::format("restore {} from a back-up", shown(file.archive));
    if (!theText.empty()) todo += ", or lose its last changes: 'truncate -s' cuts it there";
    output().problem({path, why, todo, Exit::kFailed, TRVS_NOT_AN_ARCHIVE});
  }

  void tellTorn(const FileRecord& file, const std::string& path) {
    ++torn_;
    output().result({{"file", file.path}, {"state", "torn"}, {"lost", {}}}, "");
    output().problem({path, shown(theText), "see whether its last change is there", Exit::kFailed,
                      TRVS_TORN_END});
  }

  // Several projects may use a directory.
  void lookForUnnamed(const std::vector<std::string>& directories) {
    for (const std::string& directory : directories) {
      const auto take = [&](const std::string& below) {
        const std::string archive = joined(directory, below);
        char owner[256];
        const bool isArchive =
            TrvsGetOwner(TRVS_CONTEXT, archive.c_str(), owner, sizeof owner) == TRVS_DONE;
        if (named_.contains(archive) || !isArchive || !unnamed_.insert(archive).second) return;
        output().result(
            {{"archive", archive}, {"state", "unnamed"}},
            fmt::format("{}  in no project; 'trevault import' takes it", shown(archive)));
      };
      tellUnreadable(session(), walk(directory, ".", Ignoring::kNot, take));
    }
  }

  void tell() const {
    std::vector<std::string> faults;
    if (damaged_ > 0) faults.push_back(counted(damaged_, "file") + " damaged");
    if (torn_ > 0) faults.push_back(counted(torn_, "file") + " with a torn end");
    if (missing_ > 0) faults.push_back(counted(missing_, "archive") + " missing");
    if (unreadable_ > 0) faults.push_back(counted(unreadable_, "archive") + " not readable");
    if (files_ == 0 && output().hasProblems()) return;
    output().line(fmt::format("verified {}, {}: {}", counted(files_, "file"),
                              counted(revisions_, "revision"),
                              faults.empty() ? "all whole" : listed(faults)));
  }

  bool isEverywhere_ = false;
  size_t files_ = 0;
  size_t revisions_ = 0;
  size_t damaged_ = 0;
  size_t torn_ = 0;
  size_t missing_ = 0;
  size_t unreadable_ = 0;
  std::set<std::string> named_;  // Archives, by some project.
  std::set<std::string> unnamed_;
};

}  // namespace

std::unique_ptr<Command> makeVerify() { return makeCommand<Verify>(); }

}  // namespace cli
