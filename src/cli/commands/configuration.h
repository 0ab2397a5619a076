// cli/commands/configuration.h: what a project's configuration settles, and which line says so.
#pragma once

#include <string>
#include <vector>

namespace cli {

struct Setting {
  std::string name;
  std::string value;
  std::string file;  // The operating system's path. Empty: the default, which no file says.
  int line = 0;

  // "Pump.cfg:2", or "default".
  std::string place() const;
};

// All that the configuration in use settles. Throws Problem.
std::vector<Setting> presentSettings();

}  // namespace cli
