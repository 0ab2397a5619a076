// cli/commands/commands.cpp: the list of all commands.
#include "cli/commands/commands.h"

namespace cli {

const std::vector<CommandEntry>& theCommands() {
  static const std::vector<CommandEntry> commands = {
      {"init", "", "make the roots of a database, and remember them", makeInit},
      {"where", "", "every place, and why it was taken", makeWhere},
      {"join", "", "make a directory your work directory, and check out", makeJoin},
      {"follow", "", "have the work directory follow a label, a group or the trunk", makeFollow},
      {"project add", "", "make a project", makeProjectAdd},
      {"project list", "", "the projects, and your work directories", makeProjectList},
      {"project show", "", "all about a project", makeProjectShow},
      {"project set", "", "change a project's directories", makeProjectSet},
      {"project remove", "", "take a project off the list", makeProjectRemove},
      {"folder add", "", "make a folder of the project", makeFolderAdd},
      {"folder list", "", "the folders of the project", makeFolderList},
      {"folder remove", "", "take a folder and its records off", makeFolderRemove},
      {"add", "", "put files under control", makeAdd},
      {"import", "", "records for archives that are there", makeImport},
      {"remove", "", "take files off the project", makeRemove},
      {"rename", "", "give a file another name", makeRename},
      {"list", "", "the files of the project", makeList},
      {"status", "", "how the files here stand to the project", makeStatus},
      {"checkout", "co", "bring files to what is followed", makeCheckOut},
      {"checkin", "ci", "make new revisions of changed files", makeCheckIn},
      {"lock", "", "take the lock of files, to edit them", makeLock},
      {"unlock", "", "give locks back", makeUnlock},
      {"locks", "", "who has locked what", makeLocks},
      {"revert", "", "drop changes, and give locks back", makeRevert},
      {"log", "", "the revisions of files", makeLog},
      {"diff", "", "what is different", makeDiff},
      {"cat", "", "the content of a revision", makeCat},
      {"tree", "", "branches and marks of a file, drawn", makeTree},
      {"label", "", "give revisions a label", makeLabel},
      {"labels", "", "the labels of the project", makeLabels},
      {"promote", "", "take revisions to the next group", makePromote},
      {"groups", "", "the promotion model", makeGroups},
      {"config get", "", "what a directive of the configuration says, and where", makeConfigGet},
      {"config set", "", "change a directive of the project's configuration", makeConfigSet},
      {"config list", "", "what the configuration says, and where", makeConfigList},
      {"describe", "", "descriptions of files, messages of revisions", makeDescribe},
      {"delete", "", "delete revisions for good", makeDelete},
      {"access", "", "who may use files", makeAccess},
      {"attributes", "", "how archives treat their files", makeAttributes},
      {"verify", "", "read every byte of every archive", makeVerify},
      {"pages", "", "the projects as pages for a browser, in a directory", makePages},
      {"serve", "", "the same pages, live", makeServe},
      {"export", "", "the project's history for git", makeExport},
      {"import-rcs", "", "files and histories from RCS files", makeImportRcs},
      {"completion", "", "a script that completes words in a shell", makeCompletion},
      {"help", "", "what a command does, and its options", makeHelp},
  };
  return commands;
}

}  // namespace cli
