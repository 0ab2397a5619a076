// cli/options.h: the command line, from words to the fields of a command.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/terminal/output.h"

namespace CLI {
class App;
}

namespace cli {

// What every command may be told.
struct Globals {
  std::string project;
  std::string start;  // The directory to start in.
  std::string publicRoot;
  std::string privateRoot;
  bool help = false;
  bool version = false;
  bool noPager = false;
  Output::Manner manner;
};

// The options of one command. What is named here is filled when the words are read: the fields have
// to outlive that. Letters mean the same in all commands that have them.
class Options {
 public:
  explicit Options(CLI::App* app) : app_(app) {}
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;

  void flag(bool* to, const char* names, const char* help);
  // `value` names what stands after it.
  void text(std::string* to, const char* names, const char* value, const char* help);
  void texts(std::vector<std::string>* to, const char* names, const char* value, const char* help);
  // The option of all commands that change something.
  void dryRun(bool* to) { flag(to, "-n,--dry-run", "say what would be done"); }
  // Words without a dash, in their order.
  enum class Need { kOptional, kRequired };
  void word(std::string* to, const char* name, Need need, const char* help);
  // None are required where `instead`, the value of an option, says where to find them.
  void words(std::vector<std::string>* to, const char* name, Need need, const char* help,
             const std::string* instead = nullptr);

  // Gives each field its words. Throws Problem for too few and for too many.
  void take(const std::string& command, const std::vector<std::string>& words) const;
  // What the words are called, for the help: "NAME [FILE]...", a line about each, and one about
  // each option.
  std::string usage() const;
  std::string legendOfWords() const;
  std::string legend() const;

 private:
  // Names of files may look like anything, so the parser of options gets none to see.
  struct Field {
    std::string* one;                // Either this or the next.
    std::vector<std::string>* many;  // Takes all that are left.
    std::string name;
    Need need;
    std::string help;
    const std::string* instead;
  };

  void note(std::string names, const std::string& value, const char* help);

  CLI::App* app_;
  std::vector<Field> fields_;
  std::vector<std::vector<std::string>> rows_;  // Of the legend.
};

class Command;

// A command line that was read.
struct Invocation {
  Globals globals;
  std::string name;                  // Of the command, as "project add"; empty for none.
  std::unique_ptr<Command> command;  // Null where only help or the version is wanted.
  std::string help;                  // The page of the command or of the program.
  std::string manual;                // The page of the manual, if that is wanted.
};

// Throws Problem for a command or an option that there is not.
Invocation readCommandLine(const std::vector<std::string>& words);

}  // namespace cli
