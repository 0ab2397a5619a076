// cli/local/directory.h: a directory in which a user works on the files of a project.
//
// It is one by its ".trevault/directory", a text file with a line "name value" for each of the
// fields below. What else lies in ".trevault" is memory, and may be lost.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cli {

constexpr std::string_view kMemory = ".trevault";

// Whether a name in a work directory is that of our memory or of another program's: what is below
// it is no file of a project.
inline bool isMemory(std::string_view name) { return name == kMemory || name == ".git"; }

struct WorkDirectory {
  std::string top;  // An absolute path.
  std::string project;
  std::string publicRoot = {};
  std::string privateRoot = {};
  std::string follows = "trunk";  // Or a label, or a group, as the user names it.
  std::string group = {};         // The promotion group that is worked in; may be empty.
  bool isStored = false;          // Else it is known from the database alone.

  // "Pump in /home/ann/pump, follows the trunk, works in group development".
  std::string line(const char* verb = "follows") const;
};

// The nearest one at `start` or above it. Throws Problem for one that can't be read, and for one of
// another user: it says whose roots to work with, and in whose name.
std::optional<WorkDirectory> findWorkDirectory(const std::string& start);
// Throws Problem.
void storeWorkDirectory(const WorkDirectory& directory);

}  // namespace cli
