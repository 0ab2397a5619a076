// cli/local/walk.h: what lies in a work directory.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace cli {

// What a walk passes over, as nobody can check it in.
struct PassedOver {
  size_t links = 0;
  size_t others = 0;  // Sockets, pipes and devices.
};

enum class Ignoring { kByRules, kNot };

// Calls `take` with the path from `top` of each file at or below `start`, a path from there too,
// in the order of their names. `mayEnter` is asked about each directory below `start`; null: all.
// What the rules name is passed over, and so are ".trevault" and ".git".
PassedOver walk(const std::string& top, const std::string& start, Ignoring ignoring,
                const std::function<void(const std::string& path)>& take,
                const std::function<bool(const std::string& directory)>& mayEnter = nullptr);

}  // namespace cli
