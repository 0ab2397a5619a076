// cli/session.h: one run of the program: where it was started, what was asked of it, and the
// database, the project and the work directory that this leads to. Each is looked for when a
// command first wants it, as most cost something. All throw Problem.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cli/database/database.h"
#include "cli/local/directory.h"
#include "cli/options.h"
#include "cli/terminal/output.h"

namespace cli {

class Session {
 public:
  Session(Globals globals, Output& output);
  ~Session();

  const Globals& globals() const { return globals_; }
  Output& output() { return output_; }
  // The directory that relative names begin in, absolute.
  const std::string& here() const { return here_; }
  // A path as it was typed, absolute; and an absolute one as it is shown.
  std::string absolute(const std::string& typed) const;
  std::string fromHere(const std::string& path) const;
  // The absolute path of a file that the user wants made, or written anew, which is asked about.
  // Throws if something else than a file has the name: putting a file in the place of a device
  // would take it from everybody.
  std::string placeToWrite(const std::string& typed) const;

  // The roots by the options, the environment, the nearest work directory, the profile; and those
  // that the user has everywhere, whatever work directory is near.
  Roots roots();
  Roots ownRoots() const;
  Database& database(Database::Making making = Database::Making::kNot);

  // The project that the command is about, and why that one. Misuse if there is none.
  Place projectName();
  bool hasProject();
  Project& project();
  // Where the user's files of that project are.
  WorkDirectory& work();
  // The nearest ".trevault", if there is one.
  const std::optional<WorkDirectory>& nearest();

  void use(Project project);  // For commands that make one, as the next.
  void use(WorkDirectory directory) { work_ = std::move(directory); }

 private:
  Roots chosen(Roots roots) const;

  Globals globals_;
  Output& output_;
  std::string here_;
  bool isLookedFor_ = false;
  std::optional<WorkDirectory> nearest_;
  std::optional<WorkDirectory> work_;
  std::unique_ptr<Database> database_;
  std::optional<Project> project_;
};

}  // namespace cli
