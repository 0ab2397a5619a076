// bench/line_differences.cpp: what it costs to compare two texts of 20,000 lines.
//
// The peer is GNU diff, whole process against whole process; both write a unified report to a file.
// How many lines the report must have as changed, `diff --minimal` says.
#include <cstdio>
#include <string>
#include <vector>

#include "materials.h"
#include "processes.h"
#include "support/files.h"

namespace {

using bench::check;
using bench::costOfProcess;

constexpr unsigned kPieces = 8;  // Of 2,500 lines.
constexpr size_t kRounds = 41;

class Race {
 public:
  void run() {
    std::string changed;
    std::string other;
    std::string text;
    for (unsigned piece = 0; piece < kPieces; ++piece) {
      bench::SourceText source(piece);
      text += source.next();
      changed += source.next();
      other += bench::SourceText(piece + kPieces).next();
    }
    support::writeFile(first_, text);
    bench::printCostHead();
    race("20,000 lines, 1% changed", changed, 0.8);
    race("no line in common", other, 1.0);
  }

 private:
  void race(const char* what, const std::string& second, double aim) {
    support::writeFile(second_, second);
    costOfProcess({"diff", "--minimal", "-U0", first_, second_}, report_, 1);
    const size_t want = changedLines();
    std::vector<bench::Way> ways = {
        {"ours",
         [&] {
           return costOfProcess({ARCHIVE_CLIENT, "diff", first_, second_}, report_);
         }},
        {"diff -u", [&] {
           return costOfProcess({"diff", "-u", first_, second_}, report_, 1);
         }}};
    for (size_t round = 0; round < kRounds; ++round) bench::runInTurn(&ways, round);
    bench::printRatio(what, ways[0], ways[1], aim);
    ways[0].run();
    check(changedLines() == want, "a report");
  }

  // Of the last report. The material has no line that begins with "+" or "-".
  size_t changedLines() const {
    size_t count = 0;
    bool isStart = true;
    for (const char c : support::readFile(report_)) {
      count += isStart && (c == '+' || c == '-') ? 1 : 0;
      isStart = c == '\n';
    }
    return count;
  }

  support::TemporaryDirectory directory_;
  std::string first_ = directory_ / "first";
  std::string second_ = directory_ / "second";
  std::string report_ = directory_ / "report";
};

void run() {
  bench::runAndTellWhere([] { Race().run(); });
}

}  // namespace

int main() { return bench::runAll(run); }
