// bench/python_loop.cpp: what a loop over archives costs in Python, beside the C example.
//
//     python_loop [COUNT]    1,000 archives if it is not given
//
// python_loop.py asks of each archive what examples/walk.c asks. Both run as programs, in turn;
// from each is taken off what the same program costs for an empty database, so that the loops are
// compared and not how long an interpreter takes to start. That is shown as well.
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
using bench::costOfProcess;
using bench::Way;

size_t count = 1'000;

constexpr size_t kRounds = 15;

class Race {
 public:
  Race() {
    setenv("KSTR_INI", at("KSTR.INI").c_str(), 1);
    setenv("PYTHONPATH", PYTHON_PACKAGE, 1);
    for (size_t i = 0; i < count; ++i) {
      support::writeFile(at("work/f" + std::to_string(i) + ".c"), std::to_string(i) + "\n");
    }
    support::writeFile(at("empty_work/.keep"), "");
    for (const std::string prefix : {"empty_", ""}) {
      trevault(prefix, {"init", "--public", at(prefix + "pub"), "--private", at(prefix + "prv")});
      trevault(prefix, {"project", "add", "Big"});
    }
    trevault("", {"add", "."});
    trevault("", {"label", "REL"});
  }

  void run() {
    std::printf("\na loop over %zu archives\n", count);
    bench::printCostHead();
    race("whole process", 0, [this](const auto& words) { return full(words); });
    race("without the start", 3.0, [this](const auto& words) {
      const Cost all = full(words);
      const Cost start = costOfProcess(with(words, "empty_"), at("output"));
      return Cost{all.clock - start.clock, all.processor - start.processor};
    });
  }

 private:
  using Words = std::vector<std::string>;

  std::string at(const std::string& name) const { return directory_ / name; }

  void trevault(const std::string& prefix, Words words) const {
    words.insert(words.begin(), {TREVAULT, "-C", at(prefix + "work")});
    costOfProcess(words, at("output"));
  }

  // The program with the two roots of a database.
  Words with(Words words, const std::string& prefix) const {
    words.insert(words.end(), {at(prefix + "pub"), at(prefix + "prv")});
    return words;
  }

  Cost full(const Words& words) const {
    const Cost cost = costOfProcess(with(words, ""), at("output"));
    const std::string number = std::to_string(count);
    const std::string said = support::readFile(at("output"));
    const bool isPython = said == number + " " + number + " " + number + "\n";
    check(isPython || said.find("archives " + number + ", unreadable archives 0") != said.npos,
          "a walk");
    return cost;
  }

  template <typename Round>
  static void race(const char* what, double aim, const Round& round) {
    const Words python{PYTHON, "-B", PYTHON_LOOP};
    const Words c{WALK};
    std::vector<Way> ways{{"Python", [=] { return round(python); }},
                          {"examples/walk.c", [=] { return round(c); }}};
    for (size_t i = 0; i < kRounds; ++i) bench::runInTurn(&ways, i);
    bench::printRatio(what, ways[0], ways[1], aim);
  }

  support::TemporaryDirectory directory_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount > 1) count = std::strtoul(arguments[1], nullptr, 10);
  return bench::runAll([] { bench::runAndTellWhere([] { Race().run(); }); });
}
