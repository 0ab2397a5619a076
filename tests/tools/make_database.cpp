// make_database: writes the project database of a small team, for the demo and for trying things
// out: old projects, as files, and one day's work at a new one, through the C interfaces.
//
//     make_database DIR [--user NAME] [--documents N]
//
// KSTR_INI=DIR/KSTR.INI then tells any client where it is, and DIR/day.txt what was done that day:
// standard output is where the library's assertions go. NAME is who "dkranz" is to be: with the own
// account name, her locks are one's own. --documents adds a project "Big" of N documents.
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "support/database.h"
#include "tools/teamday.h"
#include "tools/teamwork.h"

namespace {

using support::Database;
using support::Moment;
using support::Project;
using team::File;
using team::Teamwork;

struct PastArchive {
  const char* name;
  const char* owner;
  const char* description;
  Moment created;
  int revisions;  // One a year, by the owner.
  const char* branchAt = nullptr;
  bool isExclusive = false;
  std::vector<std::string> allowed = {};
  std::vector<std::pair<std::string, const char*>> locks = {};
};

void makeArchive(Teamwork& team, const PastArchive& past) {
  const File file = {std::string("vault/") + past.name + "_v",
                     std::string("work/") + std::filesystem::path(past.name).filename().string()};
  team.create(past.owner, file, past.description, past.created);
  if (past.isExclusive) team.lockExclusively(file);
  for (const std::string& member : past.allowed) team.allow(file, member);
  Moment time = past.created;
  std::string parent;
  for (int i = 0; i < past.revisions; ++i) {
    const std::string number = "1." + std::to_string(i);
    ++time.year;
    team.checkIn(past.owner, file, {number.c_str(), i == 0 ? nullptr : parent.c_str(), "The next"},
                 time);
    parent = number;
  }
  if (past.branchAt != nullptr) {
    const std::string number = std::string(past.branchAt) + ".1.0";
    team.checkIn(past.owner, file, {number.c_str(), past.branchAt, "A repair"}, time);
  }
  for (const auto& [member, revision] : past.locks) team.lock(member, file, revision);
}

void makeArchives(const Database& database, const std::string& me) {
  Teamwork team(database);
  const PastArchive archives[] = {
      {.name = "turbine/governor.c",
       .owner = "ahuber",
       .description = "Speed governor: keeps the shaft at its set speed under changing load.\r\n"
                      "Valid for all machines since series 4.",
       .created = {1996, 2, 12, 8, 15, 30},
       .revisions = 4,
       .branchAt = "1.1",
       .allowed = {"ahuber", "bkoch", me},
       .locks = {{"ahuber", "1.3"}, {me, "1.2"}}},
      {.name = "turbine/governor.h",
       .owner = "ahuber",
       .description = "Interface of the governor",
       .created = {1996, 2, 12, 8, 16, 2},
       .revisions = 2,
       .isExclusive = true,
       .allowed = {"ahuber", "bkoch", me},
       .locks = {{me, "1.1"}}},
      {.name = "turbine/ramp.c",
       .owner = "bkoch",
       .description = "Start and stop ramps",
       .created = {1997, 11, 3, 17, 40, 58},
       .revisions = 2,
       .locks = {{"bkoch", "1.1"}}},
      {.name = "turbine/trip.c",
       .owner = "bkoch",
       .description = "Emergency trip (not checked in yet)",
       .created = {1999, 12, 31, 23, 59, 58},
       .revisions = 0},
      {.name = "docs/operator manual.doc",
       .owner = "evogt",
       .description = "Operator's manual, German edition for M\xfcnchen",
       .created = {1998, 6, 1, 12, 0, 0},
       .revisions = 1,
       .isExclusive = true,
       .allowed = {"evogt"},
       .locks = {{"evogt", "1.0"}}},
      {.name = "plan.txt",
       .owner = me.c_str(),
       .description = "Milestones",
       .created = {},
       .revisions = 2},
  };
  for (const PastArchive& archive : archives) makeArchive(team, archive);
  // Archives of which only the summary is whole, and one that isn't there at all: "lost.doc_v".
  database.writeArchive("vault/docs/wiring.dwg_v",
                        {.revisions = 3, .created = {2001, 3, 9, 10, 5, 0}});
  database.writeArchive(
      "vault/station/uplink.cpp_v",
      {.revisions = 128, .description = "Telemetry uplink", .created = {2000, 2, 29, 6, 30, 0}});
}

Project turbineProject(const Database& database, const std::string& me) {
  const std::string code = database.text("vault/turbine");
  const std::string docs = database.text("vault/docs");
  return {.name = "Turbine Control",
          .directory = "turbinec.prj",
          .publicWorkDirectory = database.text("work/turbine"),
          .privateWorkDirectory = database.text("home/" + me + "/turbine"),
          .configuration = {"VCSDIR=" + code + ";" + docs, ""},
          .folders = {{.name = "Controller",
                       .directory = "controll",
                       .workDirectory = "src",
                       .isOverlaid = true,
                       .documents = {{code, "governor.c_v", "control", "governor.c"},
                                     {code, "governor.h_v", "control", "governor.h"},
                                     {code, "ramp.c_v", "control", "ramp.c"},
                                     {code, "trip.c_v", "safety", "trip.c"}}},
                      {.name = "Documents",
                       .directory = "document",
                       .workDirectory = database.text("shared/docs"),
                       .documents = {{docs, "operator manual.doc_v", "", "operator manual.doc"},
                                     {docs, "wiring.dwg_v", "cabinet", "wiring.dwg"},
                                     {docs, "lost.doc_v", "", "lost.doc"}}},
                      {.name = "My experiments",
                       .directory = "myxprmnt",
                       .workDirectory = "try",
                       .isPrivate = true,
                       .documents = {{code, "ramp.c_v", "", "ramp with jerk limit.c"}}}},
          .documents = {{database.text("vault"), "plan.txt_v", "", "plan.txt"}}};
}

Project plainProject(const Database& database, const std::string& name,
                     const std::string& directory, const std::string& workDirectory) {
  return {.name = name,
          .directory = directory,
          .publicWorkDirectory = database.text(workDirectory),
          .privateWorkDirectory = database.text(workDirectory)};
}

void writeTeam(const std::string& directory, const std::string& me, int documents) {
  const Database database(directory);
  database.writeProfile();
  const support::ScopedEnvironment profile("KSTR_INI", database.profile());
  makeArchives(database, me);
  Project master = plainProject(database, "Master Project", "master.prj", "work");
  Project station = plainProject(database,
                                 "Bodenstation S\xfc"
                                 "d",
                                 "bodensta.prj", "work/station");
  station.documents = {{database.text("vault/station"), "uplink.cpp_v", "radio", "uplink.cpp"}};
  std::vector<support::BigProject> big;
  if (documents > 0) big.push_back({.documents = documents});
  database.writeProjects({master, turbineProject(database, me), station}, big);
  support::writeFile(database.path("day.txt"), team::spendDay(database, me));
}

}  // namespace

int main(int argc, char** argv) {
  std::string directory;
  std::string user = "dkranz";
  int documents = 0;
  bool misused = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--user") == 0 && i + 1 < argc) {
      user = argv[++i];
    } else if (std::strcmp(argv[i], "--documents") == 0 && i + 1 < argc) {
      documents = std::atoi(argv[++i]);
    } else if (argv[i][0] != '-' && directory.empty()) {
      directory = argv[i];
    } else {
      misused = true;
    }
  }
  if (misused || directory.empty()) {
    std::cerr << "usage: make_database DIR [--user NAME] [--documents N]\n";
    return 2;
  }
  if (std::filesystem::exists(directory) && !std::filesystem::is_empty(directory)) {
    std::cerr << "make_database: " << directory << " is not empty\n";
    return 1;
  }
  try {
    writeTeam(directory, user, documents);
  } catch (const std::exception& error) {
    std::cerr << "make_database: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
