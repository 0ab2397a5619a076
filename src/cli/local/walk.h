// cli/local/walk.h: what lies in a work directory.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "os/entries.h"

namespace cli {

class Session;

// What a walk passes over.
struct PassedOver {
  size_t links = 0;   // Nobody can check these in.
  size_t others = 0;  // Sockets, pipes and devices.
  // The whole paths of directories that can't be read, or not to their ends.
  std::vector<std::string> unreadable;
};
void tellUnreadable(Session& session, const PassedOver& passed);

// Knows directories without reading them. Asked only where no rule ignores anything.
class Familiar {
 public:
  using Entries = std::vector<std::pair<std::string, os::EntryKind>>;  // By their names.

  virtual ~Familiar() = default;
  // The paths of the directories to enter, if nothing else is to be looked for in this one.
  virtual std::optional<std::vector<std::string>> below(const std::string& directory) = 0;
  // It was read to its end, and has no rules.
  virtual void read(const std::string& directory, const Entries& entries) = 0;
};

enum class Ignoring { kByRules, kNot };

// Calls `take` with the path from `top` of each file at or below `start`, a path from there too,
// in the order of their names. `mayEnter` is asked about each directory below `start`; null: all.
// `familiar` may be null, too.
// What the rules name is passed over, and so are ".trevault" and ".git".
PassedOver walk(const std::string& top, const std::string& start, Ignoring ignoring,
                const std::function<void(const std::string& path)>& take,
                const std::function<bool(const std::string& directory)>& mayEnter = nullptr,
                Familiar* familiar = nullptr);

// Whether nothing is in the directory, or the directory is not there. Throws Problem where that
// can't be told.
bool isEmptyDirectory(const std::string& directory);

}  // namespace cli
