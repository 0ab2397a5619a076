// describe: writes to a file all that the C interface tells about the database that the profile
// names: describe FILE. Standard output is where the library's assertions go.
//
// A line for each project and folder, two for each archive, below one another as they stand in the
// tree.
#include <cstdio>
#include <string>

#include "support/client.h"

namespace {

using support::escaped;
using support::walk;

std::string hex(int32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "%x", static_cast<unsigned>(value));
  return text;
}

// All that can be asked of an archive, on two lines.
std::string describeArchive(TVHandle* archive, const std::string& indent) {
  std::string tests;
  for (const auto test : {ArchiveHasChildren, ArchiveLockedByMe, ArchiveLockedByOther,
                          ArchiveLockedExclusive, ArchiveLockedMultiple}) {
    tests += std::to_string(test(archive));
  }
  std::string description = escaped(GetArchiveDescription(archive));
  if (description.size() > 99) description = std::to_string(description.size()) + " characters";
  return indent + GetWorkfileName(archive) + " | " + GetQualWorkfileName(archive) + " | " +
         GetFullQualWorkfileName(archive) + " | " + GetArchiveName(archive) + " | " +
         GetQualArchiveName(archive) + "\n" + indent + "  status " +
         hex(GetArchiveStatus(archive)) + " " + tests + ", " +
         std::to_string(GetNumRevisions(archive)) + " revisions, " +
         std::to_string(GetNumLocks(archive)) + " locks (" + GetLockerList(archive) +
         "), access (" + GetAccessList(archive) + "), created " + hex(GetCreationTime(archive)) +
         ", (" + description + ")\n";
}

std::string describeArchives(TVHandle* parent, const std::string& indent) {
  std::string text;
  for (TVHandle* archive : walk(parent, GetFirstArchive, GetNextArchive)) {
    text += describeArchive(archive, indent);
  }
  return text;
}

std::string describeProject(TVHandle* project) {
  std::string text = escaped(GetProjectName(project)) + " | " + GetProjectCfgFile(project) + " | " +
                     GetProjectVCSDirs(project) + " | " + GetProjectPublicDir(project) + " | " +
                     GetProjectPrivateDir(project) + "\n";
  OpenProject(project);
  for (TVHandle* folder : walk(project, GetFirstFolder, GetNextFolder)) {
    text += std::string("  ") + GetFolderName(folder) + "\n";
    OpenFolder(folder);
    text += describeArchives(folder, "    ");
    CloseFolder(folder);
  }
  text += describeArchives(project, "  ");
  CloseProject(project);
  return text;
}

std::string describeRoot(TVHandle* root) {
  std::string text = std::string(GetRootPublicDir(root)) + " | " + GetRootPrivateDir(root) + "\n";
  OpenProjectRoot(root);
  for (TVHandle* project : walk(root, GetFirstProject, GetNextProject)) {
    text += describeProject(project);
  }
  CloseProjectRoot(root);
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  support::writeFile(argv[1], describeRoot(Init("", "")));
  return 0;
}
