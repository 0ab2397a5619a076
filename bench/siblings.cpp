// bench/siblings.cpp: what the other archives of a project add to a call about one of them.
//
// Clients make such calls in loops, so their cost has to follow the call and not the project: the
// peer is the same call in a project of 100 archives in the same database. Destroying an archive
// cuts its record out of the data file, or writes all records anew if another change came before,
// so its peer is a program that writes the bytes of the file anew and syncs them.
#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "bigproject.h"

namespace {

constexpr int kMany = 100000;
constexpr int kFew = 100;
constexpr int kFinds = 1000;
constexpr int kChanges = 10;

// A project that is open, with the names of its archives by the order of its data file.
class Project {
 public:
  Project(TVHandle* root, const char* name, int count, const bench::BigDatabase& database)
      : handle_(FindProject(root, name)) {
    for (int i = 0; i < count; ++i) documents_.push_back(database.document(i));
    bench::check(OpenProject(handle_) > 0, "the project opens");
  }

  double findAll(TVHandle* (*find)(TVHandle*, const char*),
                 std::string bench::Document::*name) const {
    int found = 0;
    const double seconds = bench::secondsOf([&] {
      for (size_t i = 0; i < kFinds; ++i) {
        const bench::Document& document = documents_[i * 7919 % documents_.size()];
        found += find(handle_, (document.*name).c_str()) != nullptr ? 1 : 0;
      }
    });
    bench::check(found == kFinds, "all archives found");
    return seconds;
  }

  double addNew() {
    std::vector<bench::Document> fresh(kChanges, documents_.front());
    for (bench::Document& each : fresh) {
      each.workName = "added" + std::to_string(added_++) + ".c";
      each.archiveName = each.workName + "_v";
    }
    const double seconds = add(fresh);
    for (const bench::Document& each : fresh) {
      bench::check(FindArchiveByWorkName(handle_, each.workName.c_str()) != nullptr, "the new one");
    }
    return seconds;
  }
  double addKnown() const { return add({documents_.begin(), documents_.begin() + kChanges}); }

  double setDirectory() {
    const double seconds = bench::secondsOf([&] {
      for (int i = 0; i < kChanges; ++i) SetProjectPrivateDir(handle_, directory(++changes_));
    });
    bench::check(GetProjectPrivateDir(handle_) == std::string(directory(changes_)),
                 "the directory set last");
    return seconds;
  }

  double destroyOne() {
    TVHandle* const archive = FindArchiveByQualWorkName(handle_, path(documents_.back()).c_str());
    documents_.pop_back();
    bench::check(archive != nullptr, "the archive to destroy");
    return bench::secondsOf([&] { DestroyArchive(archive); });
  }

 private:
  static const char* directory(int number) { return number % 2 == 0 ? "/home/ann" : "/home/bob"; }
  static std::string path(const bench::Document& document) {
    return document.workDirectory + "\\" + document.workName;
  }

  double add(const std::vector<bench::Document>& documents) const {
    return bench::secondsOf([&] {
      for (const bench::Document& each : documents) {
        AddExistingArchive(handle_, path(each).c_str(),
                           (each.archiveDirectory + "\\" + each.archiveName).c_str());
      }
    });
  }

  TVHandle* handle_;
  std::vector<bench::Document> documents_;
  int added_ = 0;
  int changes_ = 0;
};

double writeAnew(const std::string& path) {
  const std::string bytes = support::readFile(path);
  const std::string fresh = path + "~";
  const double seconds = bench::secondsOf([&] {
    const int file = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bench::check(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
                     fsync(file) == 0 && close(file) == 0,
                 "the bytes written anew");
  });
  unlink(fresh.c_str());
  return seconds;
}

void addSmallProject(TVHandle* root, const bench::BigDatabase& database) {
  CreateProject(root, "Small", "V:\\work\\small", "V:\\work\\small");
  TVHandle* const project = FindProject(root, "Small");
  for (int i = 0; i < kFew; ++i) {
    const bench::Document each = database.document(i);
    AddExistingArchive(project, (each.workDirectory + "\\" + each.workName).c_str(),
                       database.textPath(each).c_str());
  }
}

void run() {
  // Each update fires one, and their texts would bury the rows.
  const support::ScopedEnvironment quiet("TRVS_ASSERTIONS", "none");
  const bench::BigDatabase database(kMany, false);
  TVHandle* const root = Init(nullptr, nullptr);
  OpenProjectRoot(root);
  addSmallProject(root, database);
  Project large(root, "Big", kMany, database);
  Project small(root, "Small", kFew, database);
  const auto row = [&](const char* what, int items, const auto& call) {
    bench::compare(what, items, [&] { return call(large); },
                   {{"the same among 100", [&] { return call(small); }, 3.0}});
  };
  bench::printHead();
  row("find by workfile", kFinds,
      [](Project& in) { return in.findAll(FindArchiveByWorkName, &bench::Document::workName); });
  row("find by archive", kFinds, [](Project& in) {
    return in.findAll(FindArchiveByArchiveName, &bench::Document::archiveName);
  });
  row("add an archive", kChanges, [](Project& in) { return in.addNew(); });
  row("add the same again", kChanges, [](Project& in) { return in.addKnown(); });
  row("set a directory", kChanges, [](Project& in) { return in.setDirectory(); });
  bench::compare(
      "destroy an archive", 1, [&] { return large.destroyOne(); },
      {{"write the file anew, sync", [&] { return writeAnew(database.dataFile()); }, 3.0}});
  bench::compare("the same after an addition", 1,
                 [&] {
                   large.addNew();
                   return large.destroyOne();
                 },
                 {{"write the file anew, sync", [&] { return writeAnew(database.dataFile()); }}});
}

}  // namespace

int main() { return bench::runAll(run); }
