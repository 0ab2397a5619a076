// cli/command.h: what a command is: fields that its options fill, and what it does then.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/options.h"

namespace cli {

class Session;

// One command line's worth of a command.
class Command {
 public:
  virtual ~Command() = default;
  virtual void declare(Options& options) = 0;
  // Throws Problem for what keeps all of it from being done.
  virtual void run(Session& session) = 0;
};

struct CommandEntry {
  std::string_view name;  // Of one or two words, as "lock" and "project add".
  std::string_view alias;
  std::string_view summary;
  std::unique_ptr<Command> (*make)();
};

// In the order of the help.
const std::vector<CommandEntry>& theCommands();

// What its page says besides its options; of a first word that several commands share, what they
// are about. Empty for a name that there is not.
std::string_view manualOf(std::string_view name);

template <typename Kind>
std::unique_ptr<Command> makeCommand() {
  return std::make_unique<Kind>();
}

}  // namespace cli
