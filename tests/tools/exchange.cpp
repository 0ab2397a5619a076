// tools/exchange.cpp: archives that travel between machines of different kinds.
//
//     exchange make DIRECTORY    makes an archive, or goes on with the one that is there, and makes
//                                plain copies of what it holds
//     exchange read DIRECTORY    compares the two, and fails if they differ
//
// The contents and their numbers are the same on every machine.
#include <filesystem>
#include <iostream>
#include <random>
#include <string>

#include "btkf520/btkf520.h"
#include "support/files.h"

namespace {

constexpr int kRevisions = 40;  // Of each who makes some.

std::string line(std::mt19937* random) { return "line " + std::to_string((*random)()) + '\n'; }

// A line in ten is another after each step.
std::string changed(std::string content, std::mt19937* random) {
  for (size_t at = content.find('\n'); at != std::string::npos; at = content.find('\n', at + 1)) {
    if ((*random)() % 10 == 0) content.insert(at + 1, line(random));
  }
  return content;
}

struct Paths {
  std::string archive, workfile, both, directory;
  explicit Paths(const std::string& in)
      : archive(in + "/file.c_v"),
        workfile(in + "/file.c"),
        both(archive + '(' + workfile + ')'),
        directory(in) {}
  std::string plain(int number) const { return directory + "/1." + std::to_string(number); }
  int revisions() const {
    int count = 0;
    while (std::filesystem::exists(plain(count))) ++count;
    return count;
  }
};

int32_t make(const Paths& paths) {
  const int first = paths.revisions();
  std::mt19937 random(static_cast<unsigned>(first));
  std::string content;
  int32_t status = 0;
  if (first == 0) {
    status =
        TrvsCreateArchive(paths.archive.c_str(), paths.workfile.c_str(), "Travels", nullptr, 0, 0);
    for (int i = 0; i < 500; ++i) content += line(&random);
  } else {
    content = changed(support::readFile(paths.plain(0)), &random);  // Each grows by a tenth.
  }
  for (int number = first; number < first + kRevisions && status == 0; ++number) {
    support::writeFile(paths.plain(number), content);
    support::writeFile(paths.workfile, content);
    status = TrvsPutRevision(TRVS_CONTEXT, 0, paths.both.c_str(), 0, nullptr, nullptr, nullptr,
                             "Next", nullptr, nullptr, 0, TRVS_PUT_KEEP_LOCK | TRVS_PUT_OLDER);
    content = changed(content, &random);
  }
  return status;
}

int32_t read(const Paths& paths) {
  int32_t status = TrvsVerifyArchive(TRVS_CONTEXT, paths.archive.c_str(), nullptr, 0);
  size_t size = 0;
  for (int number = 0; number < paths.revisions() && status == 0; ++number) {
    status = TrvsGetRevision(TRVS_CONTEXT, paths.both.c_str(), 0,
                             ("1." + std::to_string(number)).c_str(), nullptr, nullptr, 0, nullptr,
                             0, TRVS_GET_OVERWRITE);
    const std::string plain = support::readFile(paths.plain(number));
    if (status == 0 && support::readFile(paths.workfile) != plain) status = -1;
    size += plain.size();
  }
  // What revisions share is found on every kind of machine.
  return status == 0 && support::readFile(paths.archive).size() > size / 10 ? -2 : status;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc == 3 ? argv[1] : "";
  if (what != "make" && what != "read") {
    std::cerr << "usage: exchange make|read DIRECTORY\n";
    return 2;
  }
  TrvsInit("exchange");
  const int32_t status = what == "make" ? make(Paths(argv[2])) : read(Paths(argv[2]));
  if (status == -1) std::cerr << "exchange: a revision is not what was checked in\n";
  if (status == -2) std::cerr << "exchange: the archive is larger than a tenth of its revisions\n";
  if (status > 0) std::cerr << "exchange: " << TrvsStatusText(status) << '\n';
  return status == 0 ? 0 : 1;
}
