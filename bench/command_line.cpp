// bench/command_line.cpp: what a user of trevault waits for, beside a user of git on the same tree.
//
//     command_line [COUNT]    10,000 files if it is not given
//
// Both are run as programs, in turn. Both sync what they write: git by `core.fsync=all` and, where
// the file system can, at once. A label has no peer that writes as much: its floor is a program
// that adds to each archive and syncs all of them at once.
//
// Runs in $TMPDIR, else in /tmp. Each round begins when the disk has nothing left to write.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

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
constexpr size_t kAddedByLabel = 64;

class Race {
 public:
  Race() {
    bench::SourceText source(1);
    const std::string text = source.next();
    for (size_t i = 0; i < count; ++i) {
      names_.push_back("d" + std::to_string(i / kInDirectory) + "/f" + std::to_string(i) + ".c");
      contents_.push_back(text.substr(i * 997 % (text.size() / 2), 500 + i * 7919 % 7000));
    }
    writeTree("git");
  }

  void run() {
    std::printf("\nstart-up\n");
    bench::printCostHead();
    startUp();
    std::printf("\n%zu small files\n", count);
    bench::printCostHead();
    add();
    status();
    checkOut();
    label();
  }

 private:
  std::string at(const std::string& tree) const { return directory_ / tree; }
  std::string at(const std::string& tree, const std::string& name) const {
    return at(tree) + "/" + name;
  }
  std::string home() const { return at("home" + std::to_string(projects_)); }
  std::string work() const { return at("work" + std::to_string(projects_)); }
  std::string output() const { return at("output"); }

  void writeTree(const std::string& tree) const {
    for (size_t i = 0; i < count; ++i) support::writeFile(at(tree, names_[i]), contents_[i]);
  }

  Cost trevault(std::vector<std::string> words) const {
    words.insert(words.begin(), {TREVAULT, "-C", work()});
    return costOfProcess(words, output());
  }

  Cost git(std::vector<std::string> words) const {
    words.insert(words.begin(),
                 {"git", "-C", at("git"), "-c", "core.fsync=all", "-c", "core.fsyncMethod=batch",
                  "-c", "user.name=ann", "-c", "user.email=ann@here", "-c", "gc.auto=0", "-c",
                  "maintenance.auto=false"});
    return costOfProcess(words, output());
  }

  // Whose home and tree the next commands of trevault are about.
  void makeProject() {
    ++projects_;
    writeTree(work().substr(at("").size()));
    std::filesystem::create_directories(home());
    setenv("HOME", home().c_str(), 1);
    for (const char* each : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "KSTR_INI"}) unsetenv(each);
    trevault({"-q", "project", "add", "Race"});
  }

  static Cost quiet(const std::function<Cost()>& round) {
    sync();
    return round();
  }

  static void race(const char* what, double aim, std::vector<Way> ways, size_t rounds = kRounds) {
    for (size_t round = 0; round < rounds; ++round) bench::runInTurn(&ways, round);
    bench::printRatio(what, ways[0], ways[1], aim);
  }

  void startUp() {
    race("--version", 0,
         {{"trevault",
           [&] {
             return costOfProcess({TREVAULT, "--version"}, output());
           }},
          {"git --version",
           [&] {
             return costOfProcess({"git", "--version"}, output());
           }}},
         20);
  }

  void add() {
    race("add", 1.2,
         {{"trevault add",
           [&] {
             makeProject();
             return quiet([&] { return trevault({"add", "."}); });
           }},
          {"git add, git commit", [&] {
             std::filesystem::remove_all(at("git", ".git"));
             git({"init", "-q", "."});
             return quiet([&] {
               const Cost add = git({"add", "-A"});
               const Cost commit = git({"commit", "-q", "-m", "new"});
               return Cost{add.clock + commit.clock, add.processor + commit.processor};
             });
           }}});
  }

  void status() {
    const std::string whole = " files as checked out\n";
    const auto ours = [&](std::vector<std::string> words) {
      words.insert(words.begin(), "status");
      const Cost cost = trevault(words);
      check(support::readFile(output()).ends_with(whole), "a status");
      return cost;
    };
    ours({});  // The first one looks into every archive.
    const Way peer{"git status", [&] { return git({"status"}); }};
    race("status, nothing changed", 1.5, {{"trevault status", [&] { return ours({}); }}, peer}, 15);
    race("status --fast", 1.0, {{"trevault status --fast", [&] { return ours({"--fast"}); }}, peer},
         15);
  }

  void checkOut() {
    race("checkout", 1.5,
         {{"trevault checkout",
           [&] {
             removeFiles(work());
             return quiet([&] { return trevault({"checkout"}); });
           }},
          {"git checkout", [&] {
             removeFiles(at("git"));
             return quiet([&] { return git({"checkout", "-q", "--", "."}); });
           }}});
    for (size_t i = 0; i < count; ++i) {
      check(support::readFile(work() + "/" + names_[i]) == contents_[i], "a file");
    }
  }

  void removeFiles(const std::string& tree) const {
    for (const std::string& name : names_) std::filesystem::remove(tree + "/" + name);
  }

  void label() {
    for (const std::string& name : names_) {
      std::filesystem::create_directories(std::filesystem::path(at("floor", name)).parent_path());
      support::writeFile(at("floor", name), std::string(2000, 'x'));
    }
    size_t number = 0;
    race("label", 0,
         {{"trevault label",
           [&] {
             return quiet([&] { return trevault({"label", "REL_" + std::to_string(++number)}); });
           }},
          {"add to each, one sync",
           [&] { return quiet([&] { return costOf([&] { addToAll(); }); }); }}});
  }

  void addToAll() const {
    const std::string bytes(kAddedByLabel, 'x');
    for (const std::string& name : names_) {
      const int file = open(at("floor", name).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
      check(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
                close(file) == 0,
            "an addition");
    }
    const int any = open(at("floor").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    check(syncfs(any) == 0 && close(any) == 0, "a sync");
  }

  support::TemporaryDirectory directory_;
  size_t projects_ = 0;
  std::vector<std::string> names_;
  std::vector<std::string> contents_;
};

void run() {
  bench::runAndTellWhere([] { Race().run(); });
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount > 1) count = std::strtoul(arguments[1], nullptr, 10);
  return bench::runAll(run);
}
