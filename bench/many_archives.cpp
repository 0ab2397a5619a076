// bench/many_archives.cpp: what a change costs that is made in all archives of a project at once.
//
//     many_archives [COUNT]    10,000 if it is not given
//
// A batch of labels is compared with a floor: a program that opens each file, locks it, reads its
// end, adds as many bytes as a label does and closes it, and syncs all of them at once. Creating
// archives and checking them out is compared with git on the same tree, which syncs all it writes
// by `core.fsync=all` and, where the file system can, at once too.
//
// Runs in $TMPDIR, else in /tmp. Each round begins when the disk has nothing left to write.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"
#include "materials.h"
#include "processes.h"
#include "support/files.h"

namespace {

using bench::check;
using bench::Cost;
using bench::costOf;
using bench::costOfProcess;
using bench::Way;

size_t count = 10'000;

constexpr size_t kRounds = 3;
constexpr size_t kInDirectory = 100;
constexpr size_t kEnd = 256;  // Of a file, as far as the floor reads it.

void checkDone(int32_t status, const std::string& what) {
  check(status == TRVS_DONE, what + ": status " + std::to_string(status));
}

// The same tree of small files three times: for the floor, for git, and with an archive for each
// file.
class Project {
 public:
  Project() {
    bench::SourceText source(1);
    const std::string text = source.next();
    for (size_t i = 0; i < count; ++i) {
      names_.push_back("d" + std::to_string(i / kInDirectory) + "/f" + std::to_string(i) + ".c");
      contents_.push_back(text.substr(i * 997 % (text.size() / 2), 500 + i * 7919 % 7000));
    }
    git({"init", "-q", "."});
    writeTree("work");
    writeTree("git");
    for (const std::string& name : names_) {
      std::filesystem::create_directories(std::filesystem::path(at("vault", name)).parent_path());
    }
  }

  void run() {
    std::printf("\n%zu archives of small files, all in one batch\n", count);
    bench::printCostHead();
    create();
    label();
    checkOut();
  }

 private:
  std::string at(const char* tree, const std::string& name) const {
    return directory_ / (tree + ("/" + name));
  }
  std::string archive(const std::string& name) const { return at("vault", name) + "_v"; }

  void writeTree(const char* tree) const {
    for (size_t i = 0; i < count; ++i) support::writeFile(at(tree, names_[i]), contents_[i]);
  }

  // What git costs in its tree.
  Cost git(std::vector<std::string> words) const {
    words.insert(words.begin(),
                 {"git", "-C", directory_ / "git", "-c", "core.fsync=all", "-c",
                  "core.fsyncMethod=batch", "-c", "user.name=ann", "-c", "user.email=ann@here",
                  "-c", "gc.auto=0", "-c", "maintenance.auto=false"});
    std::filesystem::create_directories(directory_ / "git");
    return costOfProcess(words);
  }

  // What it costs to do `change` for each file in one batch.
  template <typename Change>
  Cost batch(const char* what, const Change& change) const {
    return costOf([&] {
      checkDone(TrvsBeginBatch(TRVS_CONTEXT), what);
      for (const std::string& name : names_) checkDone(change(name), what);
      checkDone(TrvsEndBatch(TRVS_CONTEXT), what);
    });
  }

  template <typename Round>
  static Cost quiet(const Round& round) {
    sync();
    return round();
  }

  void create() {
    std::vector<Way> ways{
        {"our batch",
         [&] {
           for (const std::string& name : names_) std::filesystem::remove(archive(name));
           return quiet([&] {
             return batch("a creation", [&](const std::string& name) {
               return TrvsCreateWithRevision(
                   TRVS_CONTEXT, archive(name).c_str(), at("work", name).c_str(), nullptr, nullptr,
                   nullptr, nullptr, "new", nullptr, nullptr, 0, TRVS_PUT_READ_ONLY);
             });
           });
         }},
        {"git add, git commit", [&] {
           std::filesystem::remove_all(directory_ / "git/.git");
           git({"init", "-q", "."});
           return quiet([&] {
             const Cost add = git({"add", "-A"});
             const Cost commit = git({"commit", "-q", "-m", "new"});
             return Cost{add.clock + commit.clock, add.processor + commit.processor};
           });
         }}};
    for (size_t round = 0; round < kRounds; ++round) bench::runInTurn(&ways, round);
    printRatio("create with a revision", ways[0], ways[1], 1.0);
  }

  void label() {
    for (const std::string& name : names_) {
      std::filesystem::create_directories(std::filesystem::path(at("floor", name)).parent_path());
      std::filesystem::copy_file(archive(name), at("floor", name));
    }
    const std::string first = archive(names_.front());
    size_t round = 0;
    size_t grown = 0;
    std::vector<Way> ways{
        {"our batch",
         [&] {
           const auto before = std::filesystem::file_size(first);
           const std::string label = "REL_" + std::to_string(round);
           const Cost cost = quiet([&] {
             return batch("a label", [&](const std::string& name) {
               return TrvsSetLabel(TRVS_CONTEXT, archive(name).c_str(), label.c_str(), "1.0", 0);
             });
           });
           grown = std::filesystem::file_size(first) - before;
           return cost;
         }},
        {"open, lock, read, append, sync",
         [&] { return quiet([&] { return costOf([&] { appendToAll(grown); }); }); }}};
    for (; round < kRounds; ++round) {
      for (Way& way : ways) way.run();  // The floor adds what the label has added.
    }
    std::printf("a label adds %zu bytes\n", grown);
    printRatio("label", ways[0], ways[1], 2.0);
  }

  void appendToAll(size_t size) const {
    const std::string bytes(size, 'x');
    char end[kEnd];
    for (const std::string& name : names_) {
      const int file = open(at("floor", name).c_str(), O_RDWR | O_CLOEXEC);
      struct stat status {};
      check(flock(file, LOCK_EX | LOCK_NB) == 0 && fstat(file, &status) == 0, "a lock");
      check(pread(file, end, kEnd, std::max<off_t>(status.st_size - off_t{kEnd}, 0)) > 0, "an end");
      check(pwrite(file, bytes.data(), size, status.st_size) == static_cast<ssize_t>(size) &&
                close(file) == 0,
            "an addition");
    }
    const int any = open(directory_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    check(syncfs(any) == 0 && close(any) == 0, "a sync");
  }

  void checkOut() {
    std::vector<Way> ways{
        {"our calls",
         [&] {
           removeFiles("work");
           return quiet([&] {
             return costOf([&] {
               for (const std::string& name : names_) {
                 const std::string both = archive(name) + "(" + at("work", name) + ")";
                 checkDone(TrvsGetRevision(TRVS_CONTEXT, both.c_str(), 0, nullptr, nullptr, nullptr,
                                           0, nullptr, 0, TRVS_GET_OVERWRITE),
                           "a check-out");
               }
             });
           });
         }},
        {"git checkout", [&] {
           removeFiles("git");
           return quiet([&] { return git({"checkout", "-q", "--", "."}); });
         }}};
    for (size_t round = 0; round < kRounds; ++round) bench::runInTurn(&ways, round);
    for (size_t i = 0; i < count; ++i) {
      check(support::readFile(at("work", names_[i])) == contents_[i], "a workfile");
    }
    printRatio("check out", ways[0], ways[1], 1.25);
  }

  void removeFiles(const char* tree) const {
    for (const std::string& name : names_) std::filesystem::remove(at(tree, name));
  }

  support::TemporaryDirectory directory_;
  std::vector<std::string> names_;
  std::vector<std::string> contents_;
};

void run() {
  bench::runAndTellWhere([] { Project().run(); });
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount > 1) count = std::strtoul(arguments[1], nullptr, 10);
  return bench::runAll(run);
}
