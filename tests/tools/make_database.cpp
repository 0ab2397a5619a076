// make_database: writes the project database of a small team, for the demo and for trying things
// out.
//
//     make_database DIR [--user NAME] [--documents N]
//
// KSTR_INI=DIR/KSTR.INI then tells any client where it is. NAME is who "dkranz" is to be: with the
// own account name, her locks are one's own. --documents adds a project "Big" of N documents.
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include "support/database.h"

namespace {

using support::Database;
using support::Project;

void writeArchives(const Database& database, const std::string& me) {
  const struct {
    const char* path;
    support::Archive archive;
  } archives[] = {
      {"vault/turbine/governor.c_v",
       {.revisions = 41,
        .lockers = {"ahuber", me},
        .access = "ahuber,bkoch," + me,
        .description = "Speed governor: keeps the shaft at its set speed under changing load.\r\n"
                       "Valid for all machines since series 4.",
        .created = {1996, 2, 12, 8, 15, 30}}},
      {"vault/turbine/governor.h_v",
       {.revisions = 17,
        .lockers = {me},
        .access = "ahuber,bkoch," + me,
        .description = "Interface of the governor",
        .attributes = support::kExclusiveLocks,
        .created = {1996, 2, 12, 8, 16, 2}}},
      {"vault/turbine/ramp.c_v",
       {.revisions = 9,
        .lockers = {"bkoch"},
        .description = "Start and stop ramps",
        .created = {1997, 11, 3, 17, 40, 58}}},
      {"vault/turbine/trip.c_v",
       {.revisions = 0,
        .description = "Emergency trip (not checked in yet)",
        .created = {1999, 12, 31, 23, 59, 58}}},
      {"vault/docs/operator manual.doc_v",
       {.revisions = 6,
        .lockers = {"evogt"},
        .access = "evogt",
        .description = "Operator's manual, German edition for M\xfcnchen",
        .attributes = support::kExclusiveLocks,
        .created = {1998, 6, 1, 12, 0, 0}}},
      {"vault/docs/wiring.dwg_v", {.revisions = 3, .created = {2001, 3, 9, 10, 5, 0}}},
      {"vault/station/uplink.cpp_v",
       {.revisions = 128, .description = "Telemetry uplink", .created = {2000, 2, 29, 6, 30, 0}}},
      {"vault/plan.txt_v", {.revisions = 2, .description = "Milestones"}},
  };
  for (const auto& [path, archive] : archives) database.writeArchive(path, archive);
}

Project turbineProject(const Database& database) {
  const std::string code = database.text("vault/turbine");
  const std::string docs = database.text("vault/docs");
  return {.name = "Turbine Control",
          .directory = "turbinec.prj",
          .publicWorkDirectory = database.text("work/turbine"),
          .privateWorkDirectory = database.text("home/dkranz/turbine"),
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
  writeArchives(database, me);
  Project master = plainProject(database, "Master Project", "master.prj", "work");
  Project station = plainProject(database,
                                 "Bodenstation S\xfc"
                                 "d",
                                 "bodensta.prj", "work/station");
  station.documents = {{database.text("vault/station"), "uplink.cpp_v", "radio", "uplink.cpp"}};
  std::vector<support::BigProject> big;
  if (documents > 0) big.push_back({.documents = documents});
  database.writeProjects({master, turbineProject(database), station}, big);
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
