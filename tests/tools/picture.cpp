// tests/tools/picture.cpp: draws made-up histories: picture SEED REVISIONS
//
// Branches come and go, people lock, and what texts hold is as awkward as the seed wants it.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "cli/pictures/treepicture.h"

namespace {

class Story {
 public:
  explicit Story(unsigned seed) : random_(seed) {}

  void tell(size_t count) {
    add("1", "1.0");
    std::string branch = "1";
    while (numbers_.size() < count) {
      if (chance(10)) {
        const std::string& start =
            numbers_[numbers_.size() - 1 - below(std::min<size_t>(numbers_.size(), 20))];
        branch = start + '.' + std::to_string(++branchesAt_[start]);
        add(branch, branch + ".0");
      } else {
        const std::string chosen = chance(3) ? branch : "1";
        add(chosen, chosen + '.' + std::to_string(next_[chosen]));
      }
    }
  }

  std::string drawn() {
    std::vector<cli::RevisionInfo> revisions;
    append("1", &revisions);
    return cli::svgOf({.title = text(),
                       .revisions = revisions,
                       .locks = locks_,
                       .here = numbers_[below(numbers_.size())]});
  }

 private:
  size_t below(size_t limit) { return random_() % limit; }
  bool chance(size_t inAll) { return below(inAll) == 0; }

  std::string text() {
    static const std::vector<std::string> kWords = {
        "Stop",        "when",         "the",         "tank",
        "is",          "full",         "and",         "close",
        "valve",       "slowly",       "WWWWWW",      "<script>alert(1)</script>",
        "\"onload=\"", "]]>",          "&amp;",       "--",
        "\xFF\xFE",    "\x1B[2J",      "Prüfung",     "水位",
        "\U0001F680",  "\xEF\xBF\xBF", "line\nsecond"};
    std::string text;
    for (size_t i = below(14); ++i < 15;)
      text += kWords[below(chance(9) ? kWords.size() : 10)] + ' ';
    return text;
  }

  void add(const std::string& branch, const std::string& number) {
    cli::RevisionInfo& revision = branches_[branch].emplace_back();
    revision.number = number;
    revision.branch = branch;
    const size_t minutes = numbers_.size() * 7;
    char time[64];
    std::snprintf(time, sizeof time, "2026-%02zu-%02zu %02zu:%02zu:00", 1 + minutes / 40320,
                  1 + minutes / 1440 % 28, minutes / 60 % 24, minutes % 60);
    revision.time = time;
    if (chance(40)) revision.time = "2020-01-01 00:00:00";  // A clock that is wrong.
    revision.author =
        chance(30) ? text() : std::vector<std::string>{"ann", "bob", "carla"}[below(3)];
    revision.message = text();
    for (size_t i = chance(8) ? below(7) : 0; i > 0; --i) {
      revision.labels.push_back(chance(9) ? text() : "REL_" + std::to_string(below(1000)));
    }
    if (chance(50)) revision.groups.push_back("production");
    if (chance(60)) {
      revision.lockers = {"bob", "eve"};
      locks_.push_back({number, "bob", "2026-11-23 10:02:00", text()});
    }
    numbers_.push_back(number);
    ++next_[branch];
  }

  // As an archive tells them: each branch after the revision where it starts.
  void append(const std::string& branch, std::vector<cli::RevisionInfo>* to) {
    for (const cli::RevisionInfo& each : branches_[branch]) {
      to->push_back(each);
      for (int i = 1; i <= branchesAt_[each.number]; ++i) {
        append(each.number + '.' + std::to_string(i), to);
      }
    }
  }

  std::mt19937 random_;
  std::vector<std::string> numbers_;
  std::map<std::string, std::vector<cli::RevisionInfo>> branches_;
  std::map<std::string, int> branchesAt_;
  std::map<std::string, int> next_;
  std::vector<cli::LockInfo> locks_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  Story story(static_cast<unsigned>(std::atoi(argv[1])));
  story.tell(static_cast<size_t>(std::atoi(argv[2])));
  std::cout << story.drawn();
}
