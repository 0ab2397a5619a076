// team: the project database of a small team, and a day's work in it. A client of both C
// interfaces.
//
//     team FILES DIRECTORY [--user NAME]
//
// FILES holds the team's old projects, as they stand on its file server. They are copied to a new
// directory, and their archives made year by year, as their owners did; then the team works for a
// day at a new project. KSTR_INI=DIRECTORY/KSTR.INI then tells any client where the database is,
// and DIRECTORY/day.txt what was done that day: standard output is where the library's assertions
// go. NAME is who "dkranz" is to be: with the own account name, her locks are one's own. Exit
// codes: 0 done, 1 failed, 2 misused.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "teamday.h"
#include "teamwork.h"

namespace {

using team::File;
using team::Moment;
using team::Place;
using team::Teamwork;

struct PastArchive {
  const char* name;
  std::string owner;
  const char* description;
  Moment created;
  int revisions;  // One a year, by the owner.
  const char* branchAt = nullptr;
  bool isExclusive = false;
  std::vector<std::string> allowed = {};
  std::vector<std::pair<std::string, const char*>> locks = {};
};

// All but the one that the projects name and nobody finds: "lost.doc_v".
std::vector<PastArchive> pastArchives(const std::string& me) {
  return {
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
      {.name = "docs/wiring.dwg",
       .owner = "evogt",
       .description = "",
       .created = {2001, 3, 9, 10, 5, 0},
       .revisions = 3},
      {.name = "station/uplink.cpp",
       .owner = "bkoch",
       .description = "Telemetry uplink",
       .created = {2000, 2, 29, 6, 30, 0},
       .revisions = 3},
      {.name = "plan.txt",
       .owner = me,
       .description = "Milestones",
       .created = {1996, 5, 17, 9, 30, 42},
       .revisions = 2},
  };
}

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
    time.day = std::min(time.day, 28);  // Not every February has more.
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

// Copies the data files; where they say "dkranz" the copies name `me`.
void copyFiles(const std::string& files, const Place& place, const std::string& me) {
  const std::string who = "dkranz";
  for (const auto& entry : std::filesystem::recursive_directory_iterator(files)) {
    if (!entry.is_regular_file()) continue;
    std::string text = team::readFile(entry.path().string());
    for (size_t at = 0; (at = text.find(who, at)) != std::string::npos; at += me.size()) {
      text.replace(at, who.size(), me);
    }
    team::writeFile(place.path(entry.path().lexically_relative(files).string()), text);
  }
}

void makeDatabase(const std::string& files, const Place& place, const std::string& me) {
  team::writeFile(place.path("KSTR.INI"),
                  "[TRVSGUI]\nVERSION=TRVS Trevault_5.2.00\nTRVSPROJ=" + place.text("pub") +
                      "\nTRVSPRIV=" + place.text("prv") + "\n[TRVSPATHS]\nV:=" + place.path("") +
                      "\n");
  team::setVariable("KSTR_INI", place.path("KSTR.INI"));
  copyFiles(files, place, me);
  Teamwork team(place);
  for (const PastArchive& archive : pastArchives(me)) makeArchive(team, archive);
  team::writeFile(place.path("day.txt"), team::spendDay(place, me));
}

}  // namespace

int main(int argc, char** argv) {
  const bool namesUser = argc == 5 && std::strcmp(argv[3], "--user") == 0;
  if (argc != 3 && !namesUser) {
    std::cerr << "usage: team FILES DIRECTORY [--user NAME]\n";
    return 2;
  }
  const std::string directory = argv[2];
  if (std::filesystem::exists(directory) && !std::filesystem::is_empty(directory)) {
    std::cerr << "team: " << directory << " is not empty\n";
    return 1;
  }
  try {
    makeDatabase(argv[1], Place(directory), namesUser ? argv[4] : "dkranz");
  } catch (const std::exception& error) {
    std::cerr << "team: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
