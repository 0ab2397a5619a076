// btkf520/operations/journal.h: the journal and the event triggers of the configuration.
#pragma once

#include <string>

#include "btkf520/btkf520.h"

namespace btkf {

// What is done to which archive; by whom, the surroundings know.
struct Account {
  std::string event;
  std::string archive;   // Path texts.
  std::string workfile;  // May be empty.
  std::string what;
};

// Adds a line to the journal, if there is one. What was done is done: a journal that can't be
// written, or may not be, fails nothing, and the client is told.
void writeJournal(const Account& account);

// Fills *command with what to run at `event`, such as "PRECHECKIN", empty for nothing.
// TRVS_TRIGGER_FAILED if neither the file that says so nor the client lets it run.
[[nodiscard]] TrvsStatus findTrigger(const std::string& event, std::string* command);

// Runs a command, unless it is empty, and waits for its end. `account` is of that event.
// TRVS_TRIGGER_REFUSED if its exit code isn't 0, TRVS_TRIGGER_FAILED if it could not be run.
[[nodiscard]] TrvsStatus runTrigger(const std::string& command, const Account& account);

}  // namespace btkf
