// btkf520/operations/journal.h: the journal and the event triggers of the configuration, and all
// others who learn what is done.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/configuration.h"
#include "btkf520/operations/names.h"

namespace btkf {

// What an operation did, for triggers, the journal and the client.
struct Event {
  std::string name;  // Upper case; such as "CHECKIN".
  std::string what;  // A revision, a label, a group; may be empty.
};

// What is done to which archive.
struct Account {
  std::string event;
  std::string archive;   // Path texts.
  std::string workfile;  // May be empty.
  std::string what;
  std::string user;  // Empty: the present one, who is asked for only if need be.
};

// What is told when an operation is done, which may be later: by then the configuration may be
// another one.
struct News {
  Target names;
  std::string user;  // As in Account.
  Demand journal;
  std::map<std::string, std::string> commandsAfter;  // Of triggers, by event.
  std::vector<Event> events;

  // Tells the journal, the triggers after the events, and the client. What is done is done,
  // whatever they say: neither memory that is short nor a function of the client that throws ends
  // this.
  void tell() const noexcept;
  Account accountOf(const Event& event) const;
};

// Fills *command with what to run at `event`, such as "PRECHECKIN", empty for nothing.
// TRVS_TRIGGER_FAILED if neither the file that says so nor the client lets it run.
[[nodiscard]] TrvsStatus findTrigger(const std::string& event, std::string* command);

// Runs a command, unless it is empty, and waits for its end. `account` is of that event.
// TRVS_TRIGGER_REFUSED if its exit code isn't 0, TRVS_TRIGGER_FAILED if it could not be run.
[[nodiscard]] TrvsStatus runTrigger(const std::string& command, const Account& account);

}  // namespace btkf
