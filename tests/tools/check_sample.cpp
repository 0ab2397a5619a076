// check_sample: walks the database that the profile names, and compares every answer of the C
// interface with a list of expected ones: check_sample EXPECTED_JSON.
//
// Prints each difference, and gives 1 if there is one or if the walk met too few or too many items.
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "foldapi/foldapi.h"

namespace {

using nlohmann::json;

int checks = 0;
int failures = 0;

// The data files' bytes are Latin-1 and JSON is UTF-8.
std::string utf8(const char* text) {
  std::string result;
  for (; *text; ++text) {
    const auto c = static_cast<unsigned char>(*text);
    if (c >= 0x80) result += static_cast<char>(0xc0 | c >> 6);
    result += static_cast<char>(c < 0x80 ? c : 0x80 | (c & 0x3f));
  }
  return result;
}

void expect(const std::string& where, const json& got, const json& want) {
  ++checks;
  if (got == want) return;
  ++failures;
  std::cout << where << ": " << got << " instead of " << want << "\n";
}

// Creation times are compared as the 32 bits that they are.
uint32_t bits(int64_t value) { return static_cast<uint32_t>(value); }

void checkArchive(TVHandle* archive, const json& want) {
  const std::string where = utf8(GetQualWorkfileName(archive)) + " ";
  const std::pair<const char*, const char* (*)(TVHandle*)> texts[] = {
      {"archive", GetArchiveName},
      {"qual_archive", GetQualArchiveName},
      {"workfile", GetWorkfileName},
      {"qual_workfile", GetQualWorkfileName},
      {"full_workfile", GetFullQualWorkfileName},
      {"lockers", GetLockerList},
      {"access", GetAccessList},
      {"description", GetArchiveDescription},
  };
  for (const auto& [key, get] : texts) expect(where + key, utf8(get(archive)), want.at(key));
  expect(where + "revisions", GetNumRevisions(archive), want.at("revisions"));
  expect(where + "locks", GetNumLocks(archive), want.at("locks"));
  expect(where + "status", GetArchiveStatus(archive), want.at("status"));
  expect(where + "creation_time", bits(GetCreationTime(archive)),
         bits(want.at("creation_time").get<int64_t>()));
}

// Walks the children of a parent, which are told apart by the JSON value `key`.
template <typename Check>
void checkChildren(const std::string& where, TVHandle* parent, TVHandle* (*first)(TVHandle*),
                   TVHandle* (*next)(TVHandle*), const char* (*name)(TVHandle*), const json& wanted,
                   const char* key, Check check) {
  std::map<std::string, json> missing;
  for (const json& want : wanted) missing[want.at(key)] = want;
  for (TVHandle* child = first(parent); child; child = next(parent)) {
    const auto found = missing.find(utf8(name(child)));
    if (found == missing.end()) {
      expect(where, "unexpected " + utf8(name(child)), "nothing");
      continue;
    }
    check(child, found->second);
    missing.erase(found);
  }
  for (const auto& [child, want] : missing) expect(where, "no " + child, child);
}

void checkArchives(const std::string& where, TVHandle* parent, const json& wanted) {
  checkChildren(where, parent, GetFirstArchive, GetNextArchive, GetQualWorkfileName, wanted,
                "qual_workfile", checkArchive);
}

void checkFolder(TVHandle* folder, const json& want) {
  OpenFolder(folder);
  checkArchives(utf8(GetFolderName(folder)), folder, want.at("archives"));
  CloseFolder(folder);
}

void checkProject(TVHandle* project, const json& want) {
  const std::string where = utf8(GetProjectName(project)) + " ";
  expect(where + "cfg", utf8(GetProjectCfgFile(project)), want.at("cfg"));
  expect(where + "public_dir", utf8(GetProjectPublicDir(project)), want.at("public_dir"));
  expect(where + "private_dir", utf8(GetProjectPrivateDir(project)), want.at("private_dir"));
  OpenProject(project);
  checkChildren(where, project, GetFirstFolder, GetNextFolder, GetFolderName, want.at("folders"),
                "name", checkFolder);
  checkArchives(where, project, want.at("archives"));
  CloseProject(project);
}

}  // namespace

int main(int argc, char** argv) {
  std::ifstream in(argc == 2 ? argv[1] : "");
  const json want = json::parse(in, nullptr, false);
  if (want.is_discarded()) {
    std::cerr << "check_sample: no list of expected answers\n";
    return 2;
  }
  TVHandle* root = Init("", "");
  if (OpenProjectRoot(root) != 1) {
    std::cerr << "check_sample: the root can't be opened\n";
    return 1;
  }
  expect("public_root", utf8(GetRootPublicDir(root)), want.at("public_root"));
  expect("private_root", utf8(GetRootPrivateDir(root)), want.at("private_root"));
  checkChildren("projects", root, GetFirstProject, GetNextProject, GetProjectName,
                want.at("projects"), "name", checkProject);
  CloseProjectRoot(root);
  std::cout << checks << " answers compared, " << failures << " differ\n";
  return failures ? 1 : 0;
}
