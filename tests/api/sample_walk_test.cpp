// The C interface over a database as a team's file server holds it: drive letters and a share, file
// names in mixed case, Latin-1 bytes, odd records, damaged archives. Its data files are in sample/,
// their records in no particular order: a walk sorts.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "foldapi/foldapi.h"
#include "support/describe.h"

namespace {

using std::string;
using support::Archive;

void writeArchives(const support::Database& database, const string& me) {
  const auto write = [&](const char* path, const Archive& archive) {
    database.writeArchive(path, archive);
  };
  write("vault/motor/pid.c_v", {.revisions = 12,
                                .lockers = {"ann.m", "bob.k"},
                                .access = "ann.m,bob.k",
                                .description = "PID controller"});
  write("vault/motor/PID.H_V",
        {.revisions = 3, .lockers = {"ann.m"}, .attributes = support::kExclusiveLocks});
  write("vault/motor/ramp.c_v", {.revisions = 0, .created = {1980, 1, 1, 0, 0, 0}});
  write("vault/motor/trip.c_v", {.revisions = 65535, .lockers = {me, me}});
  write("vault/motor/stop.c_v",
        {.lockers = {me}, .attributes = support::kExclusiveLocks, .contents = 0});
  write("vault/docs/guide.doc_v", {.lockers = {"ann.m", me},
                                   .description = string(40000, 'd'),
                                   .created = {2107, 12, 31, 23, 59, 58}});
  write("tools/plan.txt_v", {.revisions = 1,
                             .description = "M\xfc"
                                            "ller's plan"});
  support::writeFile(database.path("vault/docs/short.doc_v"), string("\4\0\0\0", 4));
  string damaged = support::archiveBytes({});
  damaged[damaged.size() - 9] = 5;
  support::writeFile(database.path("vault/docs/damaged.doc_v"), damaged);
}

const std::filesystem::path kHere = std::filesystem::path(__FILE__).parent_path();

void writeSample(const support::Database& database, const string& me) {
  for (const char* side : {"pub", "prv"}) {
    std::filesystem::copy(kHere / "sample" / side, database.path(side),
                          std::filesystem::copy_options::recursive);
  }
  writeArchives(database, me);
  database.writeProfile();
  support::writeFile(database.profile(), support::readFile(database.profile()) +
                                             "\\\\fs1\\tools=" + database.path("tools") + "\r\n");
}

// In the golden file <me> stands for the current user.
void expectSample(const string& text) {
  const string sample = support::readFile(kHere / "sample_walk.expected");
  EXPECT_EQ(text, support::replaced(sample, "<me>", support::currentUser()));
}

TEST(SampleWalk, ShowsAllThatTheFilesSay) {
  const support::TemporaryDirectory directory;
  const support::Database database(directory.path());
  const support::ScopedEnvironment profile("KSTR_INI", database.profile());
  writeSample(database, support::currentUser());
  expectSample(support::describeRoot(Init("V:\\pub", "V:\\prv")));
  // From memory and the caches now, with the roots of the profile.
  TVHandle* const root = Init("", "");
  expectSample(support::describeRoot(root));
  OpenProjectRoot(root);
  EXPECT_STREQ(GetProjectName(FindProject(root, "motor CONTROL")), "Motor Control");
  CloseProjectRoot(root);
}

}  // namespace
