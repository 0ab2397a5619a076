// bench/bigproject.h: a database with one big project, seen through the C interface.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "rounds.h"
#include "support/database.h"
#include "support/files.h"

namespace bench {

// One record of the data file.
struct Document {
  std::string archiveDirectory, archiveName, workDirectory, workName;
};

// A generated database on drive "V:" with one project "Big": each document in one of 500 module
// directories, their records in an order that looks random. The drive makes each path go through
// the path map, as on a team's file server.
class BigDatabase {
 public:
  // `archives`: writes an archive for each document as well.
  BigDatabase(int documents, bool archives)
      : size_(documents), database_(directory_ / "db"), profile_("KSTR_INI", database_.profile()) {
    database_.writeProfile();
    const std::string record =
        "[Project=Big]\r\nCFG=V:\\pub\\big.prj\\big.cfg\r\nDIR=big.prj\r\nWKDIR=V:"
        "\\work\\big\r\n\r\n";
    support::writeFile(database_.path("pub/trvsproj.pub"), std::string(kHead) + record);
    support::writeFile(database_.path("prv/trvsproj.prv"), kHead);
    support::writeFile(configuration(), "# VERSION TRVS Trevault_5.2.00\r\n");
    std::mt19937_64 random(kSeed);
    std::string records = kHead;
    for (int i = 0; i < size_; ++i) {
      const Document each = document(i);
      records += "[DOCUMENT=" + each.archiveDirectory + ";" + each.archiveName + ";" +
                 each.workDirectory + ";" + each.workName + "]\r\n";
      if (archives) support::writeFile(nativePath(each), archiveBytes(randomArchive(random)));
    }
    support::writeFile(dataFile(), records);
  }

  int size() const { return size_; }
  // In the order of the data file.
  Document document(int index) const {
    // A stride without a common divisor visits every number once.
    uint64_t stride = 7919 + 2 * kSeed;
    const auto count = static_cast<uint64_t>(size_);
    while (std::gcd(stride, count) != 1) ++stride;
    const auto number = (static_cast<uint64_t>(index) * stride + kSeed) % count;
    const std::string module = "module" + padded(number % 500, 3);
    const std::string name = "file" + padded(number, 6) + ".c";
    return {database_.text("vault/" + module), name + "_v", module, name};
  }
  // An archive's path for the operating system, and as the library names it.
  std::string nativePath(const Document& document) const {
    return database_.path("vault/" + document.workDirectory + "/" + document.archiveName);
  }
  std::string textPath(const Document& document) const {
    return document.archiveDirectory + "\\" + document.archiveName;
  }
  // The data file of the project.
  std::string dataFile() const { return database_.path("pub/big.prj/trvsfold.pub"); }
  std::string configuration() const { return database_.path("pub/big.prj/big.cfg"); }

 private:
  static constexpr uint64_t kSeed = 1;
  static constexpr const char* kHead = "[FORMAT=TRVS_GUI]\r\nVersion=5.2\r\n\r\n";

  static std::string padded(uint64_t number, size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
  }
  // Anything from no revision to a hundred, and from no lock to three.
  static support::Archive randomArchive(std::mt19937_64& random) {
    static const char* const kUsers[] = {"ann", "bob", "cy", "dana", "eli"};
    const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    support::Archive archive;
    archive.revisions = below(101);
    for (int locks = std::max(0, below(6) - 2); locks > 0; --locks) {
      archive.lockers.emplace_back(kUsers[below(5)]);
    }
    if (below(3) == 0) archive.access = "ann,bob,cy";
    archive.attributes = below(2) * support::kExclusiveLocks;
    archive.description = std::string(static_cast<size_t>(below(200)), 'd');
    archive.created = {1980 + below(60), 1 + below(12), 1 + below(28),
                       below(24),        below(60),     2 * below(30)};
    return archive;
  }

  const int size_;
  support::TemporaryDirectory directory_;
  support::Database database_;
  support::ScopedEnvironment profile_;
};

// The big project, opened from cold: nothing of it is in memory before.
class OpenBigProject {
 public:
  OpenBigProject() {
    root_ = Init(nullptr, nullptr);
    OpenProjectRoot(root_);
    project_ = FindProject(root_, "Big");
    check(OpenProject(project_) == 1, "the project opens");
  }
  OpenBigProject(const OpenBigProject&) = delete;
  OpenBigProject& operator=(const OpenBigProject&) = delete;
  ~OpenBigProject() {
    CloseProject(project_);
    CloseProjectRoot(root_);
  }

  TVHandle* handle() const { return project_; }
  std::vector<TVHandle*> archives() const {
    std::vector<TVHandle*> all;
    for (TVHandle* archive = GetFirstArchive(project_); archive != nullptr;
         archive = GetNextArchive(project_)) {
      all.push_back(archive);
    }
    return all;
  }

 private:
  TVHandle* root_;
  TVHandle* project_;
};

}  // namespace bench
