// cli/commands/help.cpp: help.
#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/session.h"

namespace cli {
namespace {

class Help : public Command {
 public:
  void declare(Options& options) override {
    options.words(&words_, "COMMAND", Options::Need::kOptional, "the command");
  }
  void run(Session& session) override {
    std::vector<std::string> words = words_;
    words.emplace_back("-h");
    session.output().line(readCommandLine(words).help);
  }

 private:
  std::vector<std::string> words_;
};

}  // namespace

std::unique_ptr<Command> makeHelp() { return makeCommand<Help>(); }

}  // namespace cli
