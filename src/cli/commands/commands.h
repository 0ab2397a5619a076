// cli/commands/commands.h: what the list of commands knows of each file here.
#pragma once

#include <memory>

#include "cli/command.h"

namespace cli {

std::unique_ptr<Command> makeInit();
std::unique_ptr<Command> makeWhere();
std::unique_ptr<Command> makeJoin();
std::unique_ptr<Command> makeFollow();
std::unique_ptr<Command> makeProjectAdd();
std::unique_ptr<Command> makeProjectList();
std::unique_ptr<Command> makeProjectShow();
std::unique_ptr<Command> makeProjectSet();
std::unique_ptr<Command> makeProjectRemove();
std::unique_ptr<Command> makeFolderAdd();
std::unique_ptr<Command> makeFolderList();
std::unique_ptr<Command> makeFolderRemove();
std::unique_ptr<Command> makeAdd();
std::unique_ptr<Command> makeImport();
std::unique_ptr<Command> makeRemove();
std::unique_ptr<Command> makeRename();
std::unique_ptr<Command> makeList();
std::unique_ptr<Command> makeStatus();
std::unique_ptr<Command> makeCheckOut();
std::unique_ptr<Command> makeCheckIn();
std::unique_ptr<Command> makeLock();
std::unique_ptr<Command> makeUnlock();
std::unique_ptr<Command> makeLocks();
std::unique_ptr<Command> makeRevert();
std::unique_ptr<Command> makeLog();
std::unique_ptr<Command> makeDiff();
std::unique_ptr<Command> makeCat();
std::unique_ptr<Command> makeTree();
std::unique_ptr<Command> makeLabel();
std::unique_ptr<Command> makeLabels();
std::unique_ptr<Command> makePromote();
std::unique_ptr<Command> makeGroups();
std::unique_ptr<Command> makeConfigGet();
std::unique_ptr<Command> makeConfigList();
std::unique_ptr<Command> makeConfigSet();
std::unique_ptr<Command> makeDescribe();
std::unique_ptr<Command> makeDelete();
std::unique_ptr<Command> makeAccess();
std::unique_ptr<Command> makeAttributes();
std::unique_ptr<Command> makeVerify();
std::unique_ptr<Command> makeExport();
std::unique_ptr<Command> makeImportRcs();
std::unique_ptr<Command> makePages();
std::unique_ptr<Command> makeServe();
std::unique_ptr<Command> makeHelp();
std::unique_ptr<Command> makeCompletion();

}  // namespace cli
