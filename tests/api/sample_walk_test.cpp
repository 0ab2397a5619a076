// The C interface over a database as a team's file server holds it: drive letters and a share, file
// names in mixed case, Latin-1 bytes, odd records, damaged archives.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

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

// The records, in no particular order: a walk sorts.
support::Project motorProject() {
  const string motor = "V:\\vault\\motor";
  const string docs = "V:\\vault\\docs";
  return {.name = "Motor Control",
          .directory = "motorcon.prj",
          .publicWorkDirectory = "V:\\work\\motor",
          .privateWorkDirectory = "V:\\work\\ann\\motor",
          .configuration = {"VCSDIR=V:\\vault\\motor;V:\\vault\\docs"},
          .folders = {{.name = "src",
                       .directory = "src",
                       .workDirectory = "src",
                       .isOverlaid = true,
                       .documents = {{motor, "trip.c_v", "safety", "trip.c"},
                                     {motor, "pid.c_v", "control", "pid.c"},
                                     {motor, "ramp.c_v", "", "ramp.c"},
                                     {motor, "pid.h_v", "control", "pid.h"},
                                     {motor, "stop.c_v", "..\\safety\\.", "stop.c"}}},
                      {.name = "docs",
                       .directory = "docs",
                       .workDirectory = "V:\\shared\\docs",
                       .documents = {{docs, "gone.doc_v", "user", "gone.doc"},
                                     {docs, "guide.doc_v", "user", "guide.doc"},
                                     {docs, "short.doc_v", "V:\\elsewhere", "short;1.doc"},
                                     {docs, "damaged.doc_v", "", "damaged.doc"},
                                     {"X:\\nowhere", "far.doc_v", "", "far.doc"}}},
                      {.name = "scratch",
                       .directory = "scratch",
                       .workDirectory = "scratch",
                       .isPrivate = true,
                       .documents = {{motor, "ramp.c_v", "", "copy of ramp.c"}}}},
          .documents = {{"\\\\fs1\\tools", "plan.txt_v", "", "plan.txt"}},
          .publicLines = {"[DOCUMENT=too;few]", "[REMARK=nobody knows it]", "Key=value", "noise"},
          .privateLines = {"[FOLDER=lost]", "DIR=lost", "WKDIR=lost", "OWNERSHIP=PUBLIC"}};
}

void writeSample(const support::Database& database, const string& me) {
  writeArchives(database, me);
  database.writeProjects(
      {{.name = "Master Project", .directory = "master.prj", .publicWorkDirectory = "V:\\work"},
       motorProject(),
       {.name = "B\xfcro",
        .directory = "b_ro.prj",
        .publicWorkDirectory = "V:\\work\\b",
        .privateWorkDirectory = ""}});
  database.writeProfile();
  support::writeFile(database.profile(), support::readFile(database.profile()) +
                                             "\\\\fs1\\tools=" + database.path("tools") + "\r\n");
  const string privateRoot = database.path("prv/trvsproj.prv");
  support::writeFile(privateRoot, support::readFile(privateRoot) +
                                      "[Project=Only Mine]\r\nCFG=x\r\nDIR=x\r\nWKDIR=x\r\n");
  for (const auto& [from, to] : {std::pair{"pub/trvsproj.pub", "pub/TRVSPROJ.PUB"},
                                 {"prv/motorcon.prj", "prv/MOTORCON.PRJ"},
                                 {"pub/motorcon.prj/src", "pub/motorcon.prj/Src"}}) {
    std::filesystem::rename(database.path(from), database.path(to));
  }
}

// In the golden file <me> stands for the current user.
void expectSample(const string& text) {
  string sample =
      support::readFile(std::filesystem::path(__FILE__).replace_filename("sample_walk.expected"));
  for (size_t at; (at = sample.find("<me>")) != string::npos;) {
    sample.replace(at, 4, support::currentUser());
  }
  EXPECT_EQ(text, sample);
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
