// btkf520/operations/journal.cpp: one line, or one command, for each thing done to an archive.
#include "btkf520/operations/journal.h"

#include <optional>
#include <utility>

#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/times.h"
#include "dates/packedtime.h"
#include "os/file.h"
#include "os/program.h"

namespace btkf {

// Fields are separated by tabs, which no name has; a tab or a line end in a path becomes a blank.
void writeJournal(const Account& account) {
  const std::string& journal = configuration().journal().text;
  if (journal.empty()) return;
  std::string line = dates::isoText(presentTime());
  const std::string user = userId().value_or("");
  for (std::string field : {user, account.event, account.archive, account.what}) {
    for (char& c : field) c = static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    line += '\t' + field;
  }
  const auto path = systemPath(journal);
  if (!path || os::appendToFile(path->c_str(), line + "\n") != os::FileResult::kDone)
    client().message(TRVS_NO_JOURNAL);
}

TrvsStatus findTrigger(const std::string& event, std::string* command) {
  Demand trigger = configuration().eventTrigger(event);
  if (!client().permits(event, trigger)) return TRVS_TRIGGER_FAILED;
  *command = std::move(trigger.text);
  return TRVS_DONE;
}

TrvsStatus runTrigger(const std::string& command, const Account& account) {
  if (command.empty()) return TRVS_DONE;
  const std::optional<int> code = os::runCommand(command, {{"BTKF_EVENT", account.event},
                                                           {"BTKF_ARCHIVE", account.archive},
                                                           {"BTKF_WORKFILE", account.workfile},
                                                           {"BTKF_WHAT", account.what},
                                                           {"BTKF_USER", userId().value_or("")}});
  constexpr int kNoSuchCommand = 127;
  if (!code || *code == kNoSuchCommand) return TRVS_TRIGGER_FAILED;
  return *code == 0 ? TRVS_DONE : TRVS_TRIGGER_REFUSED;
}

}  // namespace btkf
