// btkf520/operations/journal.cpp: one line, or one command, for each thing done to an archive.
#include "btkf520/operations/journal.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "btkf520/configuration/text.h"
#include "btkf520/operations/attempt.h"
#include "btkf520/operations/plaintext.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/times.h"
#include "dates/packedtime.h"
#include "os/file.h"
#include "os/program.h"

namespace btkf {

namespace {

std::string userOf(const Account& account) {
  return account.user.empty() ? userId().value_or("") : account.user;
}

// "2026-11-21 04:05:46\tann": other files are none of ours.
bool isJournal(std::string_view start) {
  constexpr std::string_view kForm = "0000-00-00 00:00:00\t";
  std::string form(start.substr(0, kForm.size()));
  std::replace_if(form.begin(), form.end(), isDigit, '0');
  return form == kForm;
}

// Adds a line to the journal, if there is one. One that can't be written, or may not be, fails
// nothing, and the client is told. Fields are separated by tabs, so none has one.
void writeJournal(const Demand& journal, const Account& account) {
  if (journal.text.empty()) return;
  std::string line = dates::isoText(presentTime());
  for (const std::string& field : {userOf(account), account.event, account.archive, account.what}) {
    line += '\t' + plainText(field);
  }
  const auto path = systemPath(journal.text);
  const bool isWritten =
      path && client().permits("JOURNAL", journal) &&
      os::appendToFile(path->c_str(), line + "\n", isJournal) == os::FileResult::kDone;
  if (!isWritten) client().message(TRVS_NO_JOURNAL);
}

}  // namespace

Account News::accountOf(const Event& event) const {
  return {event.name, names.archive, names.workfile, event.what, user};
}

void News::tell() const noexcept {
  for (const Event& event : events) {
    if (!attempt([&] { writeJournal(journal, accountOf(event)); })) {
      attempt([] { client().message(TRVS_NO_JOURNAL); });
    }
    attempt([&] {
      const auto command = commandsAfter.find(event.name);
      if (command == commandsAfter.end()) return;
      static_cast<void>(runTrigger(command->second, accountOf({"POST" + event.name, event.what})));
    });
    attempt([&] { client().done(event.name, names.archive, names.workfile, event.what); });
  }
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
                                                           {"BTKF_USER", userOf(account)}});
  constexpr int kNoSuchCommand = 127;
  if (!code || *code == kNoSuchCommand) return TRVS_TRIGGER_FAILED;
  return *code == 0 ? TRVS_DONE : TRVS_TRIGGER_REFUSED;
}

}  // namespace btkf
